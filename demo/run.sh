#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# run.sh BUILD-DIRECTORY [FILE [FILE]]: plays two sound files at once through library and server,
# one as an alternative track (ring in shared memory) and one as an auxiliary track (ring in
# physical memory), and compares what the server heard with the files. Leaves heard.wav and
# heard.png beside this script. The exit status is 0 only if everything was heard.
set -eu

demo=$(dirname -- "$(readlink -f -- "$0")")
build=$(readlink -f -- "$1")
speech=/usr/share/sounds/alsa
first=${2:-$speech/Front_Center.wav}
second=${3:-$speech/Rear_Left.wav}

PATH=$build/devkit/server:$build/devkit/board:$build/devkit/wavcheck:$build/tools:$PATH

fail() {
    printf '%s\n' "demo: $*" >&2
    exit 1
}
say() { printf '%s\n' "demo: $*"; }

[ $# -le 3 ] || fail "two files at most"
[ -w "$demo" ] || fail "$demo belongs to $(stat -c %U "$demo"); it has to be writable"

# Nothing of this run is shared with another server or left behind.
work=$(mktemp -d)
export CABINAUDIO_INSTANCE="demo-$$"
export CABINAUDIO_CONFIG_DIR="$work"
server=
first_player=
second_player=
clean_up() {
    for process in $first_player $second_player $server; do
        kill "$process" 2>/dev/null && wait "$process" 2>/dev/null
    done
    cabinaudio-run --clean >/dev/null 2>&1
    rm -rf "$work"
}
trap 'clean_up || true' EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

start_server() {
    mkdir "$work/stems"
    mkfifo "$work/ready"
    cabinaudio-server --output "wav:$work/heard.wav" --stems "$work/stems" \
        --report "$work/report.json" --ready-fd 3 >"$work/server.log" 2>&1 3>"$work/ready" &
    server=$!
    [ "$(timeout 20 cat "$work/ready")" = ready ] || {
        cat "$work/server.log" >&2
        fail "the server does not start"
    }
}

stop_server() {
    kill -TERM "$server"
    status=0
    wait "$server" || status=$?
    server=
    [ "$status" -eq 0 ] || {
        cat "$work/server.log" >&2
        fail "the server ended with status $status"
    }
}

# A name for the stream of a file; two streams must not have the same.
name_of() {
    basename -- "${1%.*}" | tr -c 'A-Za-z0-9_\n-' _ | cut -c 1-40
}

# play TAG NAME FILE: ends when the file has been played. Runs in the background, so that its
# process is the player itself.
play() {
    exec cabinaudio-run -- cabinaudio play --tag "$1" "--name=$2" -- "$3" </dev/null
}

first_name=$(name_of "$first")
second_name=$(name_of "$second")
[ "$first_name" != "$second_name" ] || second_name=${second_name}-2

start_server
say "server of instance $CABINAUDIO_INSTANCE is up; two players begin"
play alternative "$first_name" "$first" &
first_player=$!
play auxiliary "$second_name" "$second" &
second_player=$!
first_status=0
second_status=0
wait "$first_player" || first_status=$?
first_player=
wait "$second_player" || second_status=$?
second_player=
stop_server
[ "$first_status$second_status" = 00 ] || {
    cat "$work/server.log" >&2
    fail "the players ended with status $first_status and $second_status"
}

say "what the server heard, against the files:"
heard=0
cabinaudio-wavcheck --report "$work/report.json" --heard "$work/heard.wav" \
    --envelopes "$work/envelopes" "$first_name=$first" "$second_name=$second" || heard=$?

mv -f "$work/heard.wav" "$demo/heard.wav"
gnuplot -c "$demo/picture.gp" "$work/envelopes" "$demo/heard.png" \
    "$(basename -- "$first"), alternative" "$(basename -- "$second"), auxiliary" ||
    fail "the picture could not be drawn"
say "left $demo/heard.wav and $demo/heard.png"
[ "$heard" -eq 0 ] || fail "not everything was heard as it was played"
say "all of it was heard"
