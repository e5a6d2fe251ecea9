# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=sh
# Longer runs: fuzzing, fault injection, killed servers, races, soaks, models.

# fuzz [SECONDS | HOURSh]: runs each target in turn. Inputs found earlier are kept in
# build/fuzz/corpus; crashing inputs are in build/fuzz/found-*. To keep one of them among the tests'
# inputs, use tests/fuzz/corpus.py.
cmd_fuzz() {
    [ $# -le 1 ] || bad_usage "too many arguments of fuzz"
    amount=${1:-70}
    seconds=${amount%h}
    case $seconds in '' | *[!0-9]*) bad_usage "'$amount' is neither seconds nor hours" ;; esac
    [ "$seconds" = "$amount" ] || seconds=$((seconds * 3600))
    build fuzz fuzzers
    set -- config frames ring server sessions settings uplink
    share=$((seconds / $#))
    [ "$share" -gt 0 ] || share=1
    failed=0
    for target; do
        fuzz_one "$target" "$share" || failed=1
    done
    return $failed
}

# fuzz_one TARGET SECONDS: prints the number of inputs tried, and the findings.
fuzz_one() {
    fuzz_log=build/fuzz/$1.log
    known=build/fuzz/tests/fuzz/corpus/$1  # expanded from tests/fuzz/corpus
    mkdir -p "build/fuzz/corpus/$1"
    [ -d "$known" ] || known=
    export CABINAUDIO_INSTANCE="fuzz$$"
    fuzz_status=0
    # shellcheck disable=SC2086  # a directory or nothing
    fixed_addresses "build/fuzz/tests/fuzz/$1-fuzz" -max_total_time="$2" -max_len=256 \
        -len_control=0 -handle_bus=0 -verbosity=0 -print_final_stats=1 \
        -artifact_prefix="build/fuzz/found-$1-" "build/fuzz/corpus/$1" $known \
        >"$fuzz_log" 2>&1 </dev/null || fuzz_status=$?
    rm -f /dev/shm/cabinaudio*"fuzz$$"*
    unset CABINAUDIO_INSTANCE
    executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$fuzz_log")
    printf '%-9s %9s executions in %s s' "$1" "${executions:-0}" "$2"
    if [ "$fuzz_status" -eq 0 ]; then
        printf ', nothing found\n'
        return 0
    fi
    printf ', ENDED: %s\n' "$fuzz_log"
    grep -E '^(==[0-9]+==ERROR|SUMMARY|not met)|Test unit written' "$fuzz_log" | sed 's/^/    /'
    return 1
}

cmd_race() {
    rounds=${1:-100000}
    case $rounds in '' | *[!0-9]*) bad_usage "'$rounds' is no number of rounds" ;; esac
    build tsan race-test
    CABINAUDIO_RACE_ROUNDS=$rounds TSAN_OPTIONS=halt_on_error=1 \
        fixed_addresses build/tsan/tests/race/race-test
}

# faults: the full version of a check of which the tests run a part. Slow: each conversation fails
# at each point.
cmd_faults() {
    [ $# -eq 0 ] || bad_usage "too many arguments of faults"
    build native faults-test life-cycle-test
    failed=0
    CABINAUDIO_FAULTS=all CABINAUDIO_FAULTS_JOBS=$(($(jobs) * 4)) \
        build/native/tests/faults/faults-test --gtest_brief=1 2>/dev/null || failed=1
    CABINAUDIO_LIFE_CYCLES=10000 \
        build/native/tests/faults/life-cycle-test --gtest_brief=1 || failed=1
    return $failed
}

# kill: the tests kill at each point in one way; this command in all ways.
cmd_kill() {
    [ $# -eq 0 ] || bad_usage "too many arguments of kill"
    build native kill-test
    CABINAUDIO_KILL=all build/native/tests/kill/kill-test --gtest_brief=1
}

# soak [TIME [SEED]]: TIME in hours, or with a suffix: 90s, 3m, 2h.
cmd_soak() {
    [ $# -le 2 ] || bad_usage "too many arguments of soak"
    [ $# -gt 0 ] || set -- 3m
    build native cabinaudio-soak soak-server ring-bytes
    build armhf ring-bytes
    failed=0
    build/native/tests/soak/cabinaudio-soak "$@" || failed=1
    for writer in native armhf; do
        for reader in native armhf; do
            say "ring: $writer writes, $reader reads"
            tests/soak/ring-bytes.sh "${CABINAUDIO_RING_BYTES:-1000000000}" \
                "$(ring_end "$writer")" "$(ring_end "$reader")" || failed=1
        done
    done
    return $failed
}

# ring_end BUILD: prints the command that runs one side of a ring from this build.
ring_end() {
    case $1 in armhf) printf 'qemu-arm -L / ' ;; esac
    printf '%s\n' "build/$1/tests/soak/ring-bytes"
}

cmd_models() {
    [ $# -eq 0 ] || bad_usage "too many arguments of models"
    need models
    models/check.sh
}
