#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# contents.sh DIRECTORY: looks into the packages there: what has to be in which one, what must not
# be in two, and the fields that let architectures live side by side.
set -eu
cd "$1"
failed=
complain() {
    printf '%s\n' "package: $*" >&2
    failed=yes
}
# package NAME: its file, empty when there is none.
package() {
    for file in "$1"_*.deb; do
        [ ! -e "$file" ] || printf '%s\n' "$file"
    done
}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# has PACKAGE PATTERN...: each extended expression matches a whole path in it.
has() {
    name=$1
    shift
    file=$(package "$name")
    [ -n "$file" ] || {
        complain "no package $name"
        return 0
    }
    dpkg-deb --fsys-tarfile "$file" | tar -tf - | sed 's|^\.||' >"$work/$name.list"
    for pattern; do
        grep -qxE "$pattern" "$work/$name.list" || complain "$name has no $pattern"
    done
}

# field PACKAGE NAME EXPRESSION: the field's value matches it.
field() {
    file=$(package "$1")
    [ -n "$file" ] || return 0
    dpkg-deb -f "$file" "$2" | grep -qE "$3" ||
        complain "$1: $2 is '$(dpkg-deb -f "$file" "$2")', which does not match '$3'"
}

lib="/usr/lib/[a-z0-9_-]+"
has libcabinaudio2 "$lib/libcabinaudio\.so\.2" "$lib/libcabinaudio\.so\.2\.[0-9.]+"
has libcabinaudio-dev "$lib/libcabinaudio\.so" "$lib/pkgconfig/cabinaudio\.pc" \
    "$lib/cmake/cabinaudio/cabinaudioConfig\.cmake" '/usr/include/cabinaudio/client/ClientTrack\.h' \
    /usr/share/doc/libcabinaudio-dev/examples/play.cpp
has libcabinaudio-testing-dev "$lib/libcabinaudio_testing\.a" \
    "$lib/cmake/cabinaudio/cabinaudioTesting(Targets)?\.cmake" \
    "$lib/cmake/cabinaudio/CabinaudioDiscoverTests\.cmake" \
    '/usr/include/cabinaudio/testing/Matchers\.h'
has libcabinaudio-board "$lib/cabinaudio/libcabinaudio-board\.so"
has cabinaudio-tools /usr/bin/cabinaudio /usr/share/bash-completion/completions/cabinaudio \
    /usr/share/cabinaudio/cabinaudio.schema.json \
    /usr/share/zsh/vendor-completions/_cabinaudio "$lib/wireshark/plugins/cabinaudio\.lua" \
    '/usr/share/man/man1/cabinaudio\.1\.gz'
has cabinaudio-devkit /usr/bin/cabinaudio-run /usr/bin/cabinaudio-server \
    '/usr/share/man/man1/cabinaudio-(run|server)\.1\.gz'
has libcabinaudio-board "$lib/alsa-lib/libasound_module_pcm_cabinaudio-devkit\.so" \
    "$lib/cabinaudio/libcabinaudio-with-board\.so" /etc/alsa/conf.d/51-cabinaudio-devkit.conf
has libasound2-plugin-cabinaudio "$lib/alsa-lib/libasound_module_pcm_cabinaudio\.so" \
    "$lib/alsa-lib/libasound_module_ctl_cabinaudio\.so" \
    /usr/share/alsa/alsa.conf.d/50-cabinaudio.conf /etc/alsa/conf.d/50-cabinaudio.conf \
    /usr/share/doc/libasound2-plugin-cabinaudio/99-cabinaudio-default.conf.example
has gstreamer1.0-cabinaudio "$lib/gstreamer-1.0/libgstcabinaudio\.so" \
    "$lib/cabinaudio/libcabinaudio-gstreamer\.so"
has python3-cabinaudio '/usr/lib/python3/dist-packages/cabinaudio/_cabinaudio\.cpython-.*\.so' \
    '/usr/lib/python3/dist-packages/cabinaudio/_(board|hear)\.cpython-.*\.so' \
    /usr/lib/python3/dist-packages/cabinaudio/testing/__init__.py \
    '/usr/lib/python3/dist-packages/cabinaudio-[0-9.]+\.dist-info/entry_points\.txt'
for name in libcabinaudio2 libcabinaudio-board cabinaudio-tools cabinaudio-devkit \
    libasound2-plugin-cabinaudio gstreamer1.0-cabinaudio python3-cabinaudio; do
    has "$name-dbgsym" '/usr/lib/debug/\.build-id/.*\.debug'
done
if ls ./*_amd64.changes >/dev/null 2>&1; then
    has cabinaudio-doc '/usr/share/doc/cabinaudio-doc/docs/protocol\.md.*' \
        '/usr/share/doc/cabinaudio-doc/html/index\.html'
fi

field libcabinaudio2 Multi-Arch '^same$'
field libcabinaudio-dev Multi-Arch '^same$'
field libcabinaudio-testing-dev Multi-Arch '^same$'
field libcabinaudio-testing-dev Depends 'libcabinaudio-dev \(= .*libgmock-dev'
field libcabinaudio-board Multi-Arch '^same$'
field libasound2-plugin-cabinaudio Multi-Arch '^same$'
field libasound2-plugin-cabinaudio Depends 'libasound2 .*libcabinaudio2 '
field gstreamer1.0-cabinaudio Multi-Arch '^same$'
field gstreamer1.0-cabinaudio Depends 'libcabinaudio2 .*libgstreamer-plugins-base1\.0-0 '
field python3-cabinaudio Depends 'python3 .*libcabinaudio2 '
field cabinaudio-tools Multi-Arch '^foreign$'
field cabinaudio-devkit Multi-Arch '^foreign$'
field libcabinaudio2 Depends 'android-liblog .*libc6 '
field libcabinaudio-dev Depends 'libcabinaudio2 \(= '
field cabinaudio-tools Depends 'libcabinaudio2 \(>= '
field cabinaudio-devkit Depends 'libcabinaudio-board \(= .*libcabinaudio2 \(>= '

# Directories are shared, files are not.
cat "$work"/*.list | grep -v '/$' | sort | uniq -d >"$work/twice"
[ ! -s "$work/twice" ] || complain "in more than one package: $(tr '\n' ' ' <"$work/twice")"
# What is below the path of an architecture and what every architecture has must not be mixed up.
for name in libcabinaudio2 libcabinaudio-dev libcabinaudio-board libasound2-plugin-cabinaudio \
    gstreamer1.0-cabinaudio; do
    ! grep -E '^/usr/(bin|lib/cabinaudio)/' "$work/$name.list" ||
        complain "$name cannot be installed for two architectures"
done

[ -z "$failed" ] || exit 1
ls -- *.deb
