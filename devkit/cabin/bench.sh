# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=sh
# The benchmarks, their results page, and the gate.

figures=build/bench/figures

cmd_bench() {
    if [ "${1:-}" = --gate ]; then
        [ $# -eq 1 ] || bad_usage "too many arguments of bench --gate"
        bench_gate build/bench/counts.json
        return
    fi
    everything='ring processes view call wake streams load scale size variants gate'
    page=
    if [ $# -eq 0 ]; then
        page=yes
        # shellcheck disable=SC2086  # names are words
        set -- $everything
    fi
    for bench; do
        case " $everything " in *" $bench "*) ;; *) bad_usage "unknown benchmark '$bench'" ;; esac
    done
    build bench
    case " $* " in *" size "* | *" variants "* | *" gate "*) build armhf cabinaudio ;; esac
    mkdir -p "$figures"
    failed=0
    for bench; do
        printf '\n'
        bench_began=$(date +%s)
        run_bench "$bench" || failed=1
        say "measured $bench in $(($(date +%s) - bench_began)) s"
    done
    [ -z "$page" ] || bench/report.py "$figures"
    return $failed
}

# bench_gate FILE: writes counts to FILE, and verifies that a limit lower by one would fail.
bench_gate() {
    build bench cabinaudio ring-instructions call-instructions
    build armhf cabinaudio
    bench/gate/gate.py build/bench build/armhf --json "$1"
    bench/gate/test_gate.py "$1"
    bench/test_report.py
}

# run_bench NAME: results go to $figures/NAME.json, or the reason why there are none.
run_bench() {
    programs=build/bench/bench
    rm -f "$figures/$1.json"
    case $1 in
        ring) set -- "$1" "$programs/ring/ring-bench" ;;
        processes | view) set -- "$1" "$programs/ring/cabinaudio-bench-$1" ;;
        size) set -- "$1" bench/size/settings.sh build/armhf ;;
        variants) set -- "$1" bench/size/variants.py build/variants ;;
        gate) set -- "$1" bench/gate/gate.py build/bench build/armhf ;;
        *) set -- "$1" "$programs/$1/cabinaudio-bench-$1" ;;
    esac
    bench_name=$1
    shift
    "$@" --json "$figures/$bench_name.json" && return 0
    say "$bench_name has failed"
    [ -e "$figures/$bench_name.json" ] ||
        printf '{"title": "%s", "failed": "%s ended with an error"}\n' "$bench_name" "$1" \
            >"$figures/$bench_name.json"
    return 1
}
