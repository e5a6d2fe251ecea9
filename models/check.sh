#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# check.sh: explores every state of every model with Spin. The unmodified models must hold; each
# injected fault must be caught, with the expected result.
set -u
cd "$(dirname -- "$0")" || exit 1

# Model, configuration and fault (- for none), and the expected result: holds, assertion, or stuck
# (a process waits forever).
cases() {
    cat <<'LIST'
ring       -       -                             holds
ring       -       NO_RELEASE_IN_WRITE           assertion
ring       -       OFFSET_BEFORE_DATA            assertion
ring       -       NO_ACQUIRE_IN_READ            assertion
ring       -       NO_RELEASE_IN_READ            assertion
ring       -       NO_SPARE_BYTE                 assertion
waitflag   -       -                             holds
waitflag   -       NO_FENCE_IN_SET_WAIT          stuck
waitflag   -       NO_FENCE_IN_UPDATE            stuck
waitflag   -       LOOKS_BEFORE_FLAG             stuck
waitflag   -       SERVER_LOOKS_FIRST            stuck
waitflag   -       NOTIFY_WITHOUT_LOCK           stuck
reply      -       -                             holds
reply      TIMEOUT -                             holds
reply      WAKES   -                             holds
reply      ABANDON -                             holds
reply      -       WORKER_GOES_ON                assertion
reply      -       WAKE_WITHOUT_LOCK             stuck
reply      -       NO_SHUTDOWN                   stuck
reply      -       NO_POST_IN_DISCONNECT         stuck
reply      WAKES   NO_POST_AFTER_BODY            stuck
reply      -       DOES_NOT_AWAIT                assertion
reply      -       COUNTS_LATE                   stuck
reply      -       GIVES_NOTHING_BACK            stuck
reply      TIMEOUT TIMEOUT_WITHOUT_BREAK         assertion
reply      WAKES   GONE_WITHOUT_LOCK             stuck
reply      ABANDON ABANDON_LOOKS_FIRST           stuck
gate       -       -                             holds
gate       INSIDE  -                             holds
gate       -       NO_DRAIN                      assertion
gate       -       DRAINS_BEFORE_CLEARING        assertion
gate       -       LOADS_BEFORE_ENTERING         assertion
gate       -       EMPTY_ONLY_LOADS              assertion
gate       -       NO_RELEASE_IN_LEAVE           assertion
gate       -       DOES_NOT_ANNOUNCE             stuck
gate       -       COUNTS_BEFORE_THE_WORD        stuck
gate       -       KEEPS_THE_WORD                stuck
gate       -       WAKES_NOBODY                  stuck
gate       -       WAKES_BEFORE_LEAVING          stuck
gate       INSIDE  LOOKS_AGAIN                   assertion
gate       INSIDE  WAKES_THROUGH_THE_GATE        assertion
deletion   -       -                             holds
deletion   -       NO_DRAIN                      assertion
deletion   -       ENTERS_LATE                   assertion
deletion   -       TAKES_WITHOUT_LOCK            assertion
deletion   -       TAKES_AWAY_FIRST              assertion
deletion   -       DELETES_UNDER_LOCK            stuck
deletion   -       TELLS_FIRST                   assertion
deletion   -       KEEPS_THE_RING                assertion
deletion   -       POSTS_ONCE                    stuck
destructor -       -                             holds
destructor UPLINK  -                             holds
destructor -       DOES_NOT_WAKE                 stuck
destructor -       CALLER_KEEPS_SILENT           stuck
destructor -       TIMED_OUT_CALLER_KEEPS_SILENT stuck
destructor -       ANSWERS_THE_DESTRUCTOR_ONLY   stuck
destructor UPLINK  ANSWERS_THE_DESTRUCTOR_ONLY   stuck
destructor -       WAITS_ONCE                    assertion
destructor UPLINK  NO_DRAIN                      assertion
LIST
}

work=$(mktemp -d) || exit 1
trap 'rm -rf "$work"' EXIT
models=$PWD
wrong=0

# explore MODEL SYMBOL...: writes the verifier's report to $work/report.
explore() {
    model=$1
    shift
    defines=
    for symbol; do
        [ "$symbol" = - ] || defines="$defines -D$symbol"
    done
    # shellcheck disable=SC2086  # a list of options
    (cd "$work" && rm -f pan* && spin $defines -a "$models/$model.pml" &&
        cc -O1 -w -DSAFETY -DMEMLIM=2000 -o pan pan.c && ./pan -m2000000) >"$work/report" 2>&1
}

outcome() {
    if grep -q 'Search not completed' "$work/report" && ! grep -q '^pan:1: ' "$work/report"; then
        echo incomplete
    elif grep -q '^pan:1: assertion violated' "$work/report"; then
        echo assertion
    elif grep -q '^pan:1: invalid end state' "$work/report"; then
        echo stuck
    elif grep -q 'errors: 0$' "$work/report"; then
        echo holds
    else
        echo 'no result'
    fi
}

states() { sed -n 's/^ *\([0-9.e+]*\) states, stored.*/\1/p' "$work/report"; }

cases >"$work/cases"
while read -r model configuration fault expected; do
    explore "$model" "$configuration" "$fault"
    found=$(outcome)
    name=$model
    [ "$configuration" = - ] || name="$name $configuration"
    case $expected in
        holds) said="holds in all $(states) states" ;;
        *) name="$name with $fault" said="caught ($found) after $(states) states" ;;
    esac
    if [ "$found" = "$expected" ]; then
        printf '%-50s %s\n' "$name" "$said"
    else
        wrong=$((wrong + 1))
        printf '%-50s %s\n' "$name" "WRONG: expected $expected, found $found"
        grep -v "^\s*$" "$work/report" | tail -n 12
    fi
done <"$work/cases"

good=$(grep -c 'holds$' "$work/cases")
all=$(grep -c . "$work/cases")
printf '%s\n' "$good models to hold, $((all - good)) faults to catch: $wrong wrong"
[ "$wrong" -eq 0 ]
