#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# build.sh native|armhf DIRECTORY: makes the Debian packages of the sources as they are, and looks at
# them with lintian. DIRECTORY is made anew; the packages lie in it, beside build.log.
#
# The sources are copied first: building packages leaves files in its tree.
set -eu
here=$(dirname -- "$(readlink -f -- "$0")")
root=$(readlink -f -- "$here/../..")
kind=$1
out=$2

rm -rf "$out"
mkdir -p "$out"
out=$(readlink -f -- "$out")
log=$out/build.log
version=$(dpkg-parsechangelog -l "$root/debian/changelog" -S Version)
source=$out/cabinaudio-$version

say() { printf '%s\n' "package: $*"; }
fail() {
    printf '%s\n' "package: $*" >&2
    exit 1
}

# What git knows or would take, and is there; in a tree without git, everything but the builds.
list_sources() {
    if git rev-parse --is-inside-work-tree >/dev/null 2>&1; then
        git ls-files --cached --others --exclude-standard | while read -r file; do
            [ ! -e "$file" ] || printf '%s\n' "$file"
        done
    else
        find . -path ./build -prune -o -path ./.git -prune -o -type f -print
    fi
}

# -d: what is missing was installed by ./cabin; for the target the C library's headers are those of
# the cross compiler, and no package that dpkg would count.
set -- -us -uc -d
case $kind in
    native) set -- "$@" --build=binary ;;
    armhf) set -- "$@" --build=any --host-arch=armhf ;;
    *) fail "packages for '$kind' are unknown" ;;
esac

# Packages of the target that cannot be installed here, unpacked by ./cabin.
export CABINAUDIO_UNPACKED="$root/build/armhf-packages/files"
mkdir "$source"
(cd "$root" && list_sources | tar -T - -cf -) | tar -C "$source" -xf -
say "building for $kind (output: $log)"
(cd "$source" && CMAKE_COLOR_DIAGNOSTICS=OFF dpkg-buildpackage "$@") >"$log" 2>&1 </dev/null || {
    tail -n 40 "$log" >&2
    fail "failed; all of it: $log"
}
rm -rf "$source"

# Errors fail. The other tags are shown: most of them speak of what only a publication has.
say "lintian"
lintian --allow-root --fail-on error --tag-display-limit 0 "$out"/*.changes >"$out/lintian.log" 2>&1 || {
    cat "$out/lintian.log" >&2
    fail "lintian found errors"
}
cat "$out/lintian.log"
"$here/contents.sh" "$out"
: >"$out/complete"  # the last build got as far as this
