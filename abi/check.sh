#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# check.sh MACHINE LIBRARY [--update]: compares the binary interface of a build of the library with
# the one that is recorded here. MACHINE is x86_64 or arm. The build needs debug information.
#
# Three records are compared, because each of them sees what the others do not:
#   abi/MACHINE.abi                 types, sizes, offsets, slots of virtual operations (abidw)
#   tests/abi/exports-MACHINE.txt   names that leave the library, its SONAME and its version node
#   debian/libcabinaudio2.symbols   since which version a name has been there
#
# The exit status is 0 when nothing differs, 1 when something does, 2 for wrong usage. --update
# writes the first two anew, shows what has changed, and is followed by symbols.py.
set -eu

here=$(dirname -- "$(readlink -f -- "$0")")
root=$(dirname -- "$here")

say() { printf '%s\n' "abi: $*"; }
usage() {
    printf '%s\n' 'usage: check.sh x86_64|arm LIBRARY [--update]' >&2
    exit 2
}

case $# in 2 | 3) ;; *) usage ;; esac
machine=$1
library=$2
update=${3:-}
case $machine in
    x86_64) debian=amd64 ;;
    arm) debian=armhf ;;
    *) usage ;;
esac
case $update in '' | --update) ;; *) usage ;; esac
[ -r "$library" ] || {
    printf '%s\n' "abi: no library $library" >&2
    exit 2
}

library=$(readlink -f -- "$library")
recorded=$here/$machine.abi
exports=$root/tests/abi/exports-$machine.txt
symbols=$root/debian/libcabinaudio2.symbols
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fresh=$work/fresh.abi
failed=

# Only what the public headers declare; nothing that depends on where or when it was built.
describe() {
    abidw --headers-dir "$root/include/cabinaudio" --drop-private-types \
        --exported-interfaces-only --no-corpus-path --no-comp-dir-path --no-show-locs --short-locs \
        --no-parameter-names --type-id-style hash --out-file "$fresh" "$library"
    # Without debug information abidw describes nothing, and nothing differs from nothing.
    grep -q "<class-decl name='ClientTrack'" "$fresh" || {
        printf '%s\n' "abi: $library has no debug information" >&2
        exit 2
    }
}

# abidiff's status is a mask: 1 error, 2 usage, 4 a difference, 8 one that breaks programs.
compare_types() {
    status=0
    abidiff --no-show-locs "$recorded" "$fresh" >"$work/report" || status=$?
    [ $((status & 3)) -eq 0 ] || {
        cat "$work/report" >&2
        printf '%s\n' "abi: abidiff failed with status $status" >&2
        exit 2
    }
    [ "$status" -ne 0 ] || return 0
    cat "$work/report"
    if [ $((status & 8)) -ne 0 ]; then
        say "$machine: programs that were linked before BREAK: undo it, or change the SONAME"
    else
        say "$machine: differs; what has another size or offset breaks programs, additions do not"
    fi
    failed=yes
}

compare_exports() {
    python3 "$root/tests/abi/check_exports.py" "$library" "$exports" >"$work/exports" ||
        { cat "$work/exports"; failed=yes; }
}

# dpkg-gensymbols reads debian/control and debian/changelog of the directory it runs in.
compare_symbols() {
    version=$(dpkg-parsechangelog -l "$root/debian/changelog" -S Version)
    (cd "$root" && dpkg-gensymbols -c4 -plibcabinaudio2 -v"$version" -a"$debian" \
        -I"$symbols" -e"$library" -O"$work/symbols") >"$work/gensymbols" 2>&1 ||
        { cat "$work/gensymbols"; failed=yes; }
}

describe
if [ -n "$update" ]; then
    [ ! -e "$recorded" ] || compare_types
    cp "$fresh" "$recorded"
    python3 "$root/tests/abi/check_exports.py" "$library" "$exports" --update
    say "$machine: recorded anew; look at the difference before you commit it"
    exit 0
fi
compare_types
compare_exports
compare_symbols
[ -z "$failed" ] || exit 1
say "$machine: $(sed -n '$p' "$work/exports"); nothing has changed"
