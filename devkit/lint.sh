#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# lint.sh BUILD-DIRECTORY [JOBS]: every check that needs no running program. The build directory
# must be configured (compile_commands.json). Runs all checks, then fails if one of them did.
set -u
cd "$(dirname -- "$0")/.." || exit 1
build=$1
jobs=${2:-2}
failed=

# Directories with sources of ours.
library='foundation wire link shm diag client include'
others='devkit tools tests bench demo examples'

sources() {
    for directory; do
        [ ! -d "$directory" ] || find "$directory" \( -name '*.h' -o -name '*.cpp' \)
    done
}

scripts() {
    echo cabin
    echo .ci/run
    find debian/tests -type f ! -name control
    # shellcheck disable=SC2086  # a list of directories
    find $others abi cmake examples models packaging -name '*.sh' 2>/dev/null
}

# Left out: files that cannot hold a comment, texts for people, and Debian's, whose form is given.
# For these .reuse/dep5 tells the licence.
licensed() {
    find . \( -path ./build -o -path ./.git -o -path ./LICENSES -o -path ./demo/stems \) -prune -o \
        -type f ! -name LICENSE ! -name '*.md' ! -name '*.json' ! -name '*.png' ! -name '*.wav' \
        ! -name '*.opus' ! -name '*.abi' ! -name '*.hash' ! -name '*.desc' ! -name '*.install' \
        ! -name '*.docs' ! -name '*.lintian-overrides' ! -name '*.examples' ! -name '*.pyc' \
        ! -path './tests/abi/exports-*.txt' ! -path './tests/fuzz/corpus/*' \
        ! -path './.git' ! -path './.reuse/dep5' \
        ! -path ./debian/changelog ! -path './debian/*control' ! -path ./debian/copyright \
        ! -path './debian/source/*' -print
}

without_licence() {
    tag=SPDX-License-
    licensed | sort -u | while read -r file; do
        head -n 2 "$file" | grep -q "${tag}Identifier: Apache-2.0" || echo "$file"
    done | complain "no ${tag}Identifier in the first two lines"
}

# All files have a licence, all licences have their text. It talks only when something is wrong.
reuse_rules() {
    report=$(reuse lint 2>&1) && ! printf '%s\n' "$report" | grep 'ERROR' && return 0
    printf '%s\n' "$report"
    return 1
}

# Fails if there is input, which are the places where something is wrong.
complain() {
    sed "s|\$|: $1|" | grep . && return 1
    return 0
}

# forbid DIRECTORY EXPRESSION REASON: no #include of that kind in the directory.
forbid() {
    # shellcheck disable=SC2046  # file names without blanks
    set -- "$2" "$3" $(sources "$1")
    expression=$1 reason=$2
    shift 2
    [ $# -eq 0 ] || grep -nHE "^ *# *include +$expression" "$@" | cut -d: -f1,2 | complain "$reason"
}

# Includes point downward: client on link, shm and diag, all of them on foundation.
upward_includes() {
    status=0
    not_below() {
        for directory in "$1" "include/cabinaudio/$1"; do
            forbid "$directory" "[<\"](cabinaudio/)?($2)/" "includes what is above $1/" || status=1
        done
    }
    not_below foundation 'wire|link|shm|diag|client'
    not_below wire 'link|shm|diag|client'
    not_below link 'shm|diag|client'
    not_below shm 'link|diag|client'
    not_below diag 'wire|link|shm|client'
    for directory in $library; do
        forbid "$directory" '[<"](devkit|tools|tests|bench)/' 'library code includes other code' ||
            status=1
    done
    forbid include '"' 'a public header includes a private one' || status=1
    return $status
}

# The development server's rooms, from the lowest to the highest: none includes a higher one. The
# operations of settings are left out: they stand beside what they change, and reach for streams.
room_order() {
    above='base loop clients sound codecs cards outputs inputs settings mix rings streams requests control'
    for room in $above; do
        above=${above#"$room"}
        above=${above# }
        [ -z "$above" ] || forbid "devkit/server/$room" \
            "\"devkit/server/($(echo "$above" | tr ' ' '|'))/" "includes what is above $room/"
    done | grep -v '^devkit/server/settings/[A-Za-z]*Operations\.' && return 1
    return 0
}

# shellcheck disable=SC2046  # file names without blanks
shell_scripts() { shellcheck -x $(scripts); }

layout() {
    # shellcheck disable=SC2086
    sources $library $others | xargs -P "$jobs" -n 40 clang-format --dry-run -Werror
}

# What is delivered, as far as this build compiles it: clang-tidy goes by its command lines. On
# stderr it counts what it does not show. A source that was clean is not looked at again before it,
# any header of ours, its command line, the checks or clang-tidy have changed.
# shellcheck disable=SC2016  # the inner shell's parameters
tidy() {
    clean=${XDG_CACHE_HOME:-$HOME/.cache}/cabinaudio/tidy
    mkdir -p "$clean" && find "$clean" -type f -mtime +30 -delete
    # shellcheck disable=SC2086  # a list of directories
    checks=$({ clang-tidy --version && cat .clang-tidy &&
        find $library $others -name '*.h' | sort | xargs cat; } | sha256sum)
    sed -n 's/^ *"file": "\(.*\)",\{0,1\}$/\1/p' "$build/compile_commands.json" |
        grep -E "^$PWD/(foundation|link|shm|diag|client|devkit|tools)/" | sort -u |
        CLEAN=$clean CHECKS=$checks xargs -P "$jobs" -n 1 sh -c '
            command=$(grep -F -B 1 "\"file\": \"$2\"" "$1/compile_commands.json" |
                sed "s|$PWD||g")
            key=$({ echo "$CHECKS $command" && cat "$2"; } | sha256sum | cut -d " " -f 1)
            [ -e "$CLEAN/$key" ] || {
                clang-tidy -p "$1" --quiet "$2" 2>/dev/null && : >"$CLEAN/$key"
            }' sh "$build"
}

# Each check that .clang-tidy switches off is spoken of in its comments.
switched_off() {
    sed -n 's/^  -\([a-z].*[^,]\),\{0,1\}$/\1/p' .clang-tidy | while read -r name; do
        sed -n 's/^#/ /p' .clang-tidy | tr ',' ' ' | grep -qE " $name( |\$)" || echo ".clang-tidy: $name"
    done | complain 'switched off without a reason'
}

# What is delivered, too: it follows values where the compilers do not.
cpp_check() {
    # shellcheck disable=SC2046,SC2086  # file names without blanks, a list of directories
    cppcheck --quiet --std=c++20 --language=c++ --enable=warning,performance,portability \
        --suppressions-list=devkit/cppcheck/suppressions.txt --inline-suppr -j "$jobs" \
        -Idevkit/cppcheck -I. -Iinclude --error-exitcode=1 \
        $library devkit/board devkit/log devkit/server devkit/wavcheck tools
}

# Yocto's and Buildroot's files; with what this build would install, that all of it is packaged.
recipes() {
    installed=$(mktemp -d)
    status=0
    DESTDIR=$installed cmake --install "$build" --prefix /usr >/dev/null || status=1
    packaging/yocto/check.py . "$installed" || status=1
    packaging/buildroot/check.py . || status=1
    rm -rf "$installed"
    return $status
}

# What others compile, by more than the build's compiler.
public_headers() { devkit/headers.sh "$jobs"; }

# Relative links in the documents lead to something.
links() {
    find . -maxdepth 2 -name '*.md' -not -path './build/*' | while read -r page; do
        grep -oE '\]\([^)# ]+' "$page" | cut -c 3- | grep -v '^https\?:' | while read -r target; do
            [ -e "$(dirname "$page")/$target" ] || echo "$page: $target"
        done
    done | complain 'leads nowhere'
}

# What mutants take away still stands in the library, once.
stale_mutants() {
    devkit/mutation/test_places.py 2>/dev/null && devkit/mutation/mutate.py --check
}

# The page of recorded runs is made from their results, and that check objects when it should.
stale_figures() {
    devkit/reliability/test_report.py 2>/dev/null && devkit/reliability/report.py --check
}

check() {
    printf '%s\n' "lint: $1"
    "$1" || failed="$failed $1"
}

check without_licence
check upward_includes
check room_order
check links
check reuse_rules
check layout
check switched_off
check stale_mutants
check stale_figures
check recipes
check cpp_check
check shell_scripts
check public_headers
check tidy

[ -z "$failed" ] || {
    printf '%s\n' "lint: failed:$failed" >&2
    exit 1
}
echo "lint: clean"
