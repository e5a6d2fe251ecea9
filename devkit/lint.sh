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
others='devkit tools tests bench demo'

sources() {
    for directory; do
        [ ! -d "$directory" ] || find "$directory" \( -name '*.h' -o -name '*.cpp' \)
    done
}

scripts() {
    echo cabin
    echo .ci/run
    # shellcheck disable=SC2086  # a list of directories
    find $others cmake -name '*.sh' 2>/dev/null
}

# Files that cannot hold a comment or are texts for people are left out.
licensed() {
    # shellcheck disable=SC2086  # lists of directories
    sources $library $others
    scripts
    # shellcheck disable=SC2086
    find CMakeLists.txt cmake $library $others \
        \( -name CMakeLists.txt -o -name '*.cmake' -o -name '*.py' -o -name '*.gp' \) 2>/dev/null
}

without_licence() {
    licensed | sort -u | while read -r file; do
        head -n 2 "$file" | grep -q 'SPDX-License-Identifier: Apache-2.0' || echo "$file"
    done | complain 'no SPDX-License-Identifier in the first two lines'
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

# shellcheck disable=SC2046  # file names without blanks
shell_scripts() { shellcheck $(scripts); }

layout() {
    # shellcheck disable=SC2046,SC2086
    clang-format --dry-run -Werror $(sources $library $others)
}

# What is delivered, as far as this build compiles it: clang-tidy goes by its command lines. On
# stderr it counts what it does not show.
tidy() {
    sed -n 's/^ *"file": "\(.*\)",\{0,1\}$/\1/p' "$build/compile_commands.json" |
        grep -E "^$PWD/(foundation|link|shm|diag|client|devkit|tools)/" | sort -u |
        xargs -P "$jobs" -n 1 clang-tidy -p "$build" --quiet 2>/dev/null
}

# The program in the README is one that works.
# shellcheck disable=SC2016  # the quotes are Markdown
readme_program() {
    sed -n '/^```cpp$/,/^```$/p' README.md | grep -v '^```' |
        c++ -std=c++17 -Wall -Wextra -Werror -Iinclude -fsyntax-only -x c++ -
}

# Relative links in the documents lead to something.
links() {
    find . -maxdepth 2 -name '*.md' -not -path './build/*' | while read -r page; do
        grep -oE '\]\([^)# ]+' "$page" | cut -c 3- | grep -v '^https\?:' | while read -r target; do
            [ -e "$(dirname "$page")/$target" ] || echo "$page: $target"
        done
    done | complain 'leads nowhere'
}

check() {
    printf '%s\n' "lint: $1"
    "$1" || failed="$failed $1"
}

check without_licence
check upward_includes
check links
check layout
check shell_scripts
check readme_program
check tidy

[ -z "$failed" ] || {
    printf '%s\n' "lint: failed:$failed" >&2
    exit 1
}
echo "lint: clean"
