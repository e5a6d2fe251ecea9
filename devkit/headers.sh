#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# headers.sh [JOBS [COMPILER...]]: compiles each public header alone, and each example, as C++17,
# with g++ and clang++ or the given compilers. Lists those that do not compile without warnings.
set -u
cd "$(dirname -- "$0")/.." || exit 1
jobs=${1:-2}
[ $# -eq 0 ] || shift
[ $# -gt 0 ] || set -- g++ clang++

status=0
for compiler; do
    # clang includes sign conversions in -Wconversion, g++ does not.
    quiet=$("$compiler" --version | grep -q clang && echo -Wno-sign-conversion)
    # As the main file, a header would cause a warning about its #pragma once.
    # shellcheck disable=SC2086,SC2016  # an option or none; the inner shell's own variables
    (cd include && find cabinaudio -name '*.h' && cd ../testing/include && find cabinaudio -name '*.h') |
        sort | CXX=$compiler QUIET=$quiet \
        xargs -P "$jobs" -I {} sh -c 'echo "#include <{}>" |
            "$CXX" -std=c++17 -pedantic-errors -Wall -Wextra -Wconversion -Wshadow -Werror $QUIET \
                -Iinclude -Itesting/include -fsyntax-only -x c++ - || { echo "$CXX: {} does not stand alone"; exit 1; }' ||
        status=1
    # shellcheck disable=SC2086
    find examples -name '*.cpp' | sort | xargs -P "$jobs" -n 1 "$compiler" -std=c++17 \
        -pedantic-errors -Wall -Wextra -Wconversion -Wshadow -Werror $quiet -Iinclude \
        -Itesting/include '-DNAVIGATION_PROGRAM="navigation"' -fsyntax-only ||
        status=1
done
exit $status
