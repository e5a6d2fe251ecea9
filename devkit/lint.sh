#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# lint.sh BUILD SOURCES [JOBS]: every check that needs no running program. BUILD is a build directory,
# SOURCES one that is configured to compile each source by itself (compile_commands.json). Runs all
# checks, then fails if one of them did.
set -u
cd "$(dirname -- "$0")/.." || exit 1
build=$1
commands=$2
jobs=${3:-2}
failed=

# Directories with our sources.
library='foundation wire link shm diag client include'
others='devkit tools plugins python testing tests bench demo examples'

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

# Excluded: files that cannot hold a comment, texts for readers, and Debian's files with their
# prescribed form. For these, .reuse/dep5 states the licence.
licensed() {
    find . \( -path ./build -o -path ./.git -o -path ./LICENSES -o -path ./demo/stems \) -prune -o \
        -type f ! -name LICENSE ! -name '*.md' ! -name '*.json' ! -name '*.png' ! -name '*.wav' \
        ! -name '*.opus' ! -name '*.abi' ! -name '*.hash' ! -name '*.desc' ! -name '*.install' \
        ! -name '*.docs' ! -name '*.lintian-overrides' ! -name '*.examples' ! -name '*.pyc' \
        ! -path './tests/abi/exports-*.txt' \
        ! -path './.git' ! -path './.reuse/dep5' ! -path ./demo/cabin.svg \
        ! -path ./debian/changelog ! -path './debian/*control' ! -path ./debian/copyright \
        ! -path './debian/source/*' -print
}

without_licence() {
    tag=SPDX-License-
    licensed | sort -u | while read -r file; do
        head -n 2 "$file" | grep -q "${tag}Identifier: Apache-2.0" || echo "$file"
    done | complain "no ${tag}Identifier in the first two lines"
}

# Runs a command, and prints what it says only if it fails.
quietly() {
    report=$("$@" 2>&1) && return 0
    printf '%s\n' "$report"
    return 1
}

# Every file has a licence, and every licence its text. Prints only errors.
reuse_rules() {
    report=$(reuse lint 2>&1) && ! printf '%s\n' "$report" | grep 'ERROR' && return 0
    printf '%s\n' "$report"
    return 1
}

# Prints its input, the places with errors, and fails if there is any.
complain() {
    sed "s|\$|: $1|" | grep . && return 1
    return 0
}

# forbid DIRECTORY EXPRESSION REASON: fails on matching #include lines in the directory.
forbid() {
    # shellcheck disable=SC2046  # file names without blanks
    set -- "$2" "$3" $(sources "$1")
    expression=$1 reason=$2
    shift 2
    [ $# -eq 0 ] || grep -nHE "^ *# *include +$expression" "$@" | cut -d: -f1,2 | complain "$reason"
}

# Includes point downward: client includes link, shm and diag; all of them include foundation.
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
    forbid plugins '["](foundation|wire|link|shm|diag|client|devkit|tools|tests)/' \
        'a plug-in includes more than public headers' || status=1
    for directory in common loader devkit; do
        forbid "plugins/$directory" '[<"](alsa|gst|glib|glib-object|gio|plugins/alsa|plugins/gstreamer)[/.]' \
            "what plug-ins share includes ALSA or GStreamer" || status=1
    done
    forbid plugins/alsa '[<"](gst|glib|gio|plugins/gstreamer)[/.]' \
        "ALSA's plug-in includes GStreamer" || status=1
    forbid plugins/gstreamer '[<"](alsa|plugins/alsa)/' "GStreamer's plug-in includes ALSA" || status=1
    forbid testing '["](foundation|wire|link|shm|diag|client|tools|tests|devkit/(board|server))/' \
        'the testing kit includes more than public headers and devkit/hear' || status=1
    forbid testing/include '"' "a header of the testing kit includes a private one" || status=1
    forbid include '"' 'a public header includes a private one' || status=1
    return $status
}

# Rooms of the development server, from the lowest to the highest: none includes a higher one. The
# operations of settings are exempt, because they use streams.
room_order() {
    above='base loop clients sound codecs cards outputs inputs settings mix rings streams taps time requests control'
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

# Sources that this build compiles, because clang-tidy needs their command lines. In tests it looks at
# names only.
tidy() {
    quietly devkit/tidy/test_tidy.py && devkit/tidy/tidy.py --jobs "$jobs" "$commands"
}

# Names of a source that hide those of others in its unit, and that check fails when it should.
hidden_names() {
    quietly devkit/units/test_units.py && devkit/units/units.py "$build"
}

# Each check that .clang-tidy disables is mentioned in its comments.
switched_off() {
    sed -n 's/^  -\([a-z].*[^,]\),\{0,1\}$/\1/p' .clang-tidy | while read -r name; do
        sed -n 's/^#/ /p' .clang-tidy | tr ',' ' ' | grep -qE " $name( |\$)" || echo ".clang-tidy: $name"
    done | complain 'switched off without a reason'
}

# Delivered sources too: cppcheck follows values where the compilers do not. Its library "gtk" knows
# the macros of GLib.
cpp_check() {
    # shellcheck disable=SC2046,SC2086  # file names without blanks, a list of directories
    cppcheck --quiet --std=c++20 --language=c++ --library=gtk --enable=warning,performance,portability \
        --suppressions-list=devkit/cppcheck/suppressions.txt --inline-suppr -j "$jobs" \
        -Idevkit/cppcheck -I. -Iinclude -Itesting/include --error-exitcode=1 \
        $library devkit/board devkit/log devkit/server devkit/contract devkit/hear devkit/replay devkit/trace tools plugins testing
}

# Files for Yocto and Buildroot: checks that they package everything that this build would install.
recipes() {
    installed=$(mktemp -d)
    status=0
    DESTDIR=$installed cmake --install "$build" --prefix /usr >/dev/null || status=1
    packaging/yocto/check.py . "$installed" || status=1
    packaging/buildroot/check.py . || status=1
    rm -rf "$installed"
    return $status
}

# Public headers, with more compilers than the build's own.
public_headers() { devkit/headers.sh "$jobs"; }

# Targets of relative links in the documents exist.
links() {
    find . -maxdepth 2 -name '*.md' -not -path './build/*' | while read -r page; do
        grep -oE '\]\([^)# ]+' "$page" | cut -c 3- | grep -v '^https\?:' | while read -r target; do
            [ -e "$(dirname "$page")/$target" ] || echo "$page: $target"
        done
    done | complain 'leads nowhere'
}

# Code that the mutants change exists in the library exactly once.
stale_mutants() {
    quietly devkit/mutation/test_places.py && devkit/mutation/mutate.py --check
}

# The page of recorded runs matches their results, and that check fails when it should.
stale_figures() {
    quietly devkit/reliability/test_report.py && devkit/reliability/report.py --check
}

# The dissector, with the names that Wireshark gives to scripts.
lua_scripts() {
    quietly luacheck --quiet --no-color --std lua52 --no-max-line-length --globals Proto \
        ProtoField ProtoExpert Pref DissectorTable Dissector wtap base frametype expert NSTime \
        ENC_UTF_8 -- devkit/wireshark/cabinaudio.lua
}

# The page of the protocol, the fields of traces and the dissector's tables match the headers.
stale_catalogue() {
    devkit/protocol/generate.py --check
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
check hidden_names
check stale_mutants
check stale_figures
check stale_catalogue
check recipes
check cpp_check
check shell_scripts
check lua_scripts
check public_headers
check tidy

[ -z "$failed" ] || {
    printf '%s\n' "lint: failed:$failed" >&2
    exit 1
}
echo "lint: clean"
