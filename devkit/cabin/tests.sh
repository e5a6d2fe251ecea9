# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=sh
# The CTest suites, and summaries of their output.

cmd_test() {
    long=
    all_programs=
    builds=
    for word; do
        case $word in
            --long) long=yes ;;
            --programs) all_programs=yes ;;
            all) builds="$builds native asan tsan armhf armhf-time64 armhf-vm" ;;
            native | edit | asan | tsan | armhf | armhf-time64 | armhf-vm) builds="$builds $word" ;;
            *) bad_usage "unknown argument '$word' of test" ;;
        esac
    done
    [ -z "$all_programs" ] || need programs
    results=
    failed=0
    # Prints the results even if a later suite cannot be built.
    trap 'printf "%s" "$results" | sed "/^$/d"' EXIT
    for suite in ${builds:-native}; do
        case $suite in
            # The target's programs are tested against the host's server.
            armhf | armhf-time64) build native ;;
            # The virtual machine runs the test programs of this build.
            armhf-vm) build armhf ;;
            # Programs of this machine load the plug-ins.
            *) need plugins ;;
        esac
        build "$suite"
        [ "$suite" != armhf-vm ] || make_machine "$long"
        [ -z "$all_programs" ] || install_modules "build/$suite/tests/view"
        run_tests "$suite" "$long" || failed=1
        [ "$suite" != armhf-vm ] || cat "$(machine_programs)" || failed=1
        missing=$(missing_programs "$suite")
        [ -z "$all_programs" ] || [ -z "$missing" ] || failed=1
        results="$results$suite: $(closing_line "$suite")
${missing:+    skipped without $missing: './cabin test --programs' installs what is missing}
$(failed_tests "$suite")
$(slowest_tests "$suite")
"
    done
    return $failed
}

# run_tests BUILD [yes]: runs CTest, with yes also the long tests. The full output is kept in
# test.log, and shown only on a terminal.
run_tests() {
    suite_name=$1
    tree=build/$1
    with_long=$2
    say "testing $1 (output: $tree/test.log)"
    rm -f "$tree/test.log"
    if [ -n "$with_long" ]; then
        set -- --test-dir "$tree" --output-on-failure --no-tests=error
    else
        set -- --preset "$1"
    fi
    # Tests mostly wait, so more of them run in parallel than there are processors.
    set -- "$@" --parallel $((2 * $(jobs)))
    if [ -t 1 ]; then set -- "$@" --progress; else set -- "$@" --quiet; fi
    # CMake's files of the tests are not whole while another command configures the tree.
    lock_tree "$tree"
    export CABIN_LOCKED_TREE="$tree"
    result=0
    rm -rf "$tree/tests/home/config/cabinaudio"
    fixed_addresses ctest "$@" --output-log "$tree/test.log" </dev/null 9>&- || result=$?
    unset CABIN_LOCKED_TREE
    unlock_tree
    left_behind "$suite_name" >&2 || result=1
    [ "$result" -ne 0 ] || return 0
    [ -t 1 ] || show_failures "$suite_name"
    return 1
}

# Tests have the user's configuration in the build tree, and remove the directories of the instances
# that they make there. A process that is killed late may leave one; more are those of a test that
# removes nothing. Prints them, and fails.
left_behind() {
    left=$(ls "build/$1/tests/home/config/cabinaudio" 2>/dev/null) || return 0
    [ "$(printf '%s\n' "$left" | wc -l)" -gt 10 ] || return 0
    printf '%s: tests left directories in build/%s/tests/home/config/cabinaudio:\n' "$1" "$1"
    printf '%s\n' "$left" | head -n 20
    return 1
}

# Prints the output of failed tests: for each test the first lines, which contain the failed check,
# and the last ones, without the cases that passed. With a common cause, the first tests show it.
show_failures() {
    [ -e "build/$1/test.log" ] || return 0
    awk -v most=80 -v tests=50 '
        function line(text) {
            if (++count <= most) { print text; return }
            last[count % 20] = text
            if (kept < 20) ++kept
        }
        function finish_case() {
            for (i = 1; i <= held; ++i) line(lines[i])
            held = 0
        }
        function rest() {
            finish_case()
            if (count > most + kept) print "    ... " count - most - kept " lines, see test.log"
            for (i = kept - 1; i >= 0; --i) print last[(count - i) % 20]
            count = kept = 0
        }
        /^ *[0-9]+\/[0-9]+ +Test +#/ { rest(); shown = /\*\*\*/ && !/\*\*\*(Skipped|Not Run \(Disabled\))/
                                      if (shown && ++failures > tests) shown = 0
                                      if (shown) print; next }
        /^ *Start +[0-9]+: / { next }
        /% tests passed/ { rest(); shown = 0 }
        !shown { next }
        /^\[----------\] / { next }
        /^\[ RUN      \] / { finish_case(); lines[++held] = $0; next }
        /^\[       OK \] / { held = 0; next }
        /^\[  (FAILED|SKIPPED) / { finish_case() }
        held { lines[++held] = $0; next }
        { line($0) }
        END { rest(); if (failures > tests)
                  print "... " failures - tests " more failed tests, see test.log" }' "build/$1/test.log"
}

# A shard's name ends like this, as an extended regular expression.
shard='[.][0-9]+of[0-9]+'

# Names of the failed tests, and of the failed cases of shards, indented, limited to a readable number.
failed_tests() {
    {
        sed -n '/^The following tests FAILED:/,$ s/^[[:blank:]]*\([0-9][0-9]* - \)/    \1/p' \
            "build/$1/test.log" 2>/dev/null
        awk -v shard="$shard " '
             function finish_case() {
                 if (running != "") print "        " running " did not end"
                 running = ""
             }
             /^ *[0-9]+\/[0-9]+ +Test +#/ { finish_case(); in_shard = $0 ~ shard }
             /% tests passed/ { finish_case() }
             in_shard && /^\[ RUN      \] / { running = $4 }
             in_shard && /^\[( +OK|  FAILED|  SKIPPED) +\] / { running = "" }
             in_shard && sub(/^\[  FAILED  \] /, "") && sub(/ \([0-9]+ ms\)$/, "") { print "        " $0 }' \
            "build/$1/test.log" 2>/dev/null
    } | awk 'NR <= 50 { print } END { if (NR > 50) print "    ... " NR - 50 " more, see test.log" }'
}

# install_modules DIRECTORY: the modules of npm with which tests drive a browser, in their directory of
# a build tree that has these tests. Debian's npm does not go with Node.js from elsewhere, which
# brings its own.
install_modules() {
    [ -d "$1" ] || return 0
    command -v npm >/dev/null || install_packages npm
    # npm writes the second file at its end.
    if cmp -s tests/view/package-lock.json "$1/package-lock.json" &&
        [ -e "$1/node_modules/.package-lock.json" ]; then
        return 0
    fi
    cp tests/view/package.json tests/view/package-lock.json "$1/"
    (cd "$1" && npm ci --ignore-scripts --no-audit --no-fund >npm.log 2>&1 </dev/null) || {
        # The tests are skipped then, and the summary says so.
        tail -n 5 "$1/npm.log" >&2
        say "npm could not install the modules of tests/view; see $1/npm.log"
    }
}

# Programs without which tests were skipped: these tests say "NAME is not installed".
missing_programs() {
    awk 'function tell(name) { if (!seen[name]++) { printf "%s%s", separator, name; separator = ", " } }
         /^[^ ]+: Skipped$/ { getline; if (sub(/ is not installed$/, "")) tell($0) }
         / skipped .[^ ]+ is not installed.$/ { tell(substr($(NF - 3), 2)) }' \
        "build/$1/Testing/Temporary/LastTest.log" 2>/dev/null || true
}

# The ten tests or cases of shards that took longest, with their seconds.
slowest_tests() {
    awk -v shard="$shard\$" '
         /^[0-9]+\/[0-9]+ Test: / { name = $3; in_shard = name ~ shard }
         /^Test time = / && !in_shard { print $4, name }
         in_shard && /^\[ *(OK|FAILED) *\] .* \([0-9]+ ms\)$/ {
             took = $(NF - 1); sub(/^\(/, "", took)
             sub(/^\[ *(OK|FAILED) *\] /, ""); sub(/,? .*/, "")
             sub(shard, "", name); printf "%.2f %s.%s\n", took / 1000, name, $0 }' \
        "build/$1/Testing/Temporary/LastTest.log" 2>/dev/null | sort -k1,1nr -k2 | head -n 10 |
        awk 'NR == 1 { print "    slowest tests:" } { printf "    %8.2f s  %s\n", $1, $2 }'
}

# The closing line of CTest; where tests are shards, also the number of cases that they ran. Cases
# that a shard began anew count once.
closing_line() {
    line=$(grep -E '% tests passed' "build/$1/test.log" 2>/dev/null) ||
        line="no closing line, see build/$1/test.log"
    cases=$(awk -v shard="$shard\$" '
                 /^[0-9]+\/[0-9]+ Test: / { is_new = $3 ~ shard }
                 is_new && /^\[==========\] Running [0-9]+ tests? from / { count += $3; is_new = 0 }
                 END { if (count) print count }' \
        "build/$1/Testing/Temporary/LastTest.log" 2>/dev/null) || cases=
    printf '%s\n' "$line${cases:+ ($cases cases in the shards)}"
}

cmd_coverage() {
    [ $# -eq 0 ] || bad_usage "too many arguments of coverage"
    need coverage plugins
    build coverage
    find build/coverage -name '*.gcda' -delete
    say "running the tests (output: build/coverage/test.log)"
    # Left out: tests of the library's imports and exports, because counting adds some, and tests
    # with programs of other users, which may not store their counts here.
    ctest --test-dir build/coverage -LE long -j 2 --quiet --output-log build/coverage/test.log \
        -E '^(abi\.The(Lib|Int)|faults.*(sites|AreKnown)|.*\.RootServer|.*\.RefusedTool)' \
        </dev/null || say "tests have failed, see build/coverage/test.log"
    devkit/coverage/check.py build/coverage
}

cmd_mutate() {
    case ${1:-} in
        --sum | --check)
            devkit/mutation/mutate.py "$@"
            return
            ;;
    esac
    build native
    build tsan
    need armhf
    own_tree build/mutation
    fixed_addresses devkit/mutation/mutate.py --tests build/native --tsan build/tsan \
        --work build/mutation "$@"
}
