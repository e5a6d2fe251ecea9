# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=sh
# Delivery: installation, Debian packages, and checks of the binary interface.

cmd_install() {
    prefix=$(of_caller "${1:-$HOME/.local}")
    build_programs plugins/all
    logged build/native/build.log cmake --install build/native --prefix "$prefix"
    say "installed in $prefix; guides and examples are in $prefix/share/doc/cabinaudio"
    case :$PATH: in *":$prefix/bin:"*) ;; *) say "$prefix/bin is not in the PATH" ;; esac
}

cmd_abi() {
    [ $# -le 1 ] || bad_usage "too many arguments of abi"
    case ${1:-} in '' | --update) ;; *) bad_usage "unknown argument '$1' of abi" ;; esac
    need abi
    differs=
    for machine in x86_64 arm; do
        if [ "$machine" = arm ]; then kind=armhf; else kind=native; fi
        if [ "$kind" = native ] && [ "$(uname -m)" != "$machine" ]; then
            say "this machine is not $machine: left out"
            continue
        fi
        build "$kind" cabinaudio
        abi/check.sh "$machine" "build/$kind/libcabinaudio.so.2" "$@" || differs=yes
    done
    [ $# -eq 0 ] || abi/symbols.py "$(dpkg-parsechangelog -S Version)" \
        debian/libcabinaudio2.symbols tests/abi/exports-arm.txt tests/abi/exports-x86_64.txt
    [ -z "$differs" ] || die "the binary interface has changed: see abi/README.md"
}

cmd_package() {
    try=
    built=
    kinds=
    for word; do
        case $word in
            --test) try=yes ;;
            --built) built=yes ;;
            native | armhf) kinds="$kinds $word" ;;
            *) bad_usage "unknown argument '$word' of package" ;;
        esac
    done
    kinds=${kinds:-native}
    case "$try$kinds" in
        *native* | " armhf"*) ;;
        *) bad_usage "--test needs the native packages, too" ;;
    esac
    [ -z "$built" ] || [ -n "$try" ] || bad_usage "--built is for --test"
    # shellcheck disable=SC2086  # a list of names
    [ -n "$built" ] || build_packages $kinds
    [ -n "$try" ] || return 0
    need chroot
    set -- build/package/native
    case "$kinds" in *armhf*) set -- "$@" build/package/armhf ;; esac
    for directory; do
        [ -e "$directory/complete" ] || die "no packages in $directory: leave out --built"
    done
    as_root packaging/debian/chroot.sh "$@"
}

# build_packages KIND...
build_packages() {
    need build package
    own_tree build/package
    for kind; do
        if [ "$kind" = armhf ]; then
            need armhf pkgarm
            unpack_target
        fi
        packaging/debian/build.sh "$kind" "build/package/$kind"
    done
}
