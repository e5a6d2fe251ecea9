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
    everything='ring processes view call wake streams load scale alsa size variants gate'
    page=
    measured=
    if [ "${1:-}" = --page ]; then
        shift
        [ $# -ne 0 ] || bad_usage "bench --page needs the names of benchmarks"
        page=yes
        measured=$*
    elif [ $# -eq 0 ]; then
        page=yes
        # shellcheck disable=SC2086  # names are words
        set -- $everything
    fi
    for bench; do
        case " $everything " in *" $bench "*) ;; *) bad_usage "unknown benchmark '$bench'" ;; esac
    done
    build bench
    case " $* " in *" size "* | *" variants "* | *" gate "*) build armhf cabinaudio ;; esac
    case " $* " in *" alsa "*) unpack_alsa_peers ;; esac
    mkdir -p "$figures"
    failed=0
    for bench; do
        printf '\n'
        bench_began=$(date +%s)
        run_bench "$bench" || failed=1
        say "measured $bench in $(($(date +%s) - bench_began)) s"
    done
    # shellcheck disable=SC2086  # names are words
    [ -z "$page" ] || bench/report.py "$figures" $measured
    return $failed
}

# Unpacks the ALSA plug-ins of other sound servers: installed together they conflict, and would
# change the desktop's sound. Without them those are not measured.
unpack_alsa_peers() {
    peers=build/bench/peers
    if [ -e "$peers/usr" ] || ! command -v apt-get >/dev/null; then return 0; fi
    say "packages to unpack: $(names alsapeers)"
    rm -rf "$peers"
    mkdir -p "$peers"
    # shellcheck disable=SC2046  # package names are words
    if ! (cd "$peers" && apt-get -q download $(names alsapeers)) >"$peers/log" 2>&1; then
        say "not to be had, see $peers/log"
        return 0
    fi
    for package in "$peers"/*.deb; do
        dpkg-deb -x "$package" "$peers"
    done
    rm -f "$peers"/*.deb
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
