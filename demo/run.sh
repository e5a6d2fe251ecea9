#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# run.sh BUILD-DIRECTORY [FILE [FILE]]: plays two sound files at once through library and server,
# one as an alternative track (ring in shared memory) and one as an auxiliary track (ring in
# physical memory), and compares the server's output with the files. At the same time records an
# input of the server, and the uplink of a call that is coded in Opus and whose ring is announced
# late, and compares both with the input files. Writes heard.wav, recorded.wav, call.opus, cabin.svg
# (the cabin while both play) and heard.png to the directory of this script. The exit status is 0
# only if all comparisons pass.
# With CABINAUDIO_DEMO_PICTURE=no it draws no heard.png and needs no gnuplot.
set -eu

demo=$(dirname -- "$(readlink -f -- "$0")")
build=$(readlink -f -- "$1")
speech=/usr/share/sounds/alsa
first=${2:-$speech/Front_Center.wav}
second=${3:-$speech/Rear_Left.wav}
input=$speech/Front_Left.wav
said=$speech/Side_Right.wav

PATH=$build/demo:$build/devkit/server:$build/devkit/board:$build/tools:$PATH

fail() {
    printf '%s\n' "demo: $*" >&2
    exit 1
}
say() { printf '%s\n' "demo: $*"; }

[ $# -le 3 ] || fail "two files at most"
[ -w "$demo" ] || fail "$demo belongs to $(stat -c %U "$demo"); it has to be writable"

# An instance of its own, so that no other server is involved and everything can be removed.
work=$(mktemp -d)
export CABINAUDIO_INSTANCE="demo-$$"
export CABINAUDIO_CONFIG_DIR="$work"
server=
first_player=
second_player=
recorder=
caller=
clean_up() {
    for process in $first_player $second_player $recorder $caller $server; do
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
        --input "input0=$input" --input "uplink=$said" --uplink-delay 700 \
        --ring-periods 64 \
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

# Stream name for a file. Names of live streams must be unique.
name_of() {
    basename -- "${1%.*}" | tr -c 'A-Za-z0-9_\n-' _ | cut -c 1-40
}

# play TAG NAME FILE: ends when the file has been played. exec makes the background process the
# player itself, so that it can be killed.
play() {
    exec cabinaudio-run -- cabinaudio play --tag "$1" "--name=$2" -- "$3" </dev/null
}

# record TAG FILE SECONDS OPTION...: the same for a recording.
record() {
    tag=$1
    file=$2
    seconds=$3
    shift 3
    exec cabinaudio-run -- cabinaudio record --tag "$tag" --seconds "$seconds" "$@" -- "$file" \
        </dev/null
}

first_name=$(name_of "$first")
second_name=$(name_of "$second")
[ "$first_name" != "$second_name" ] || second_name=${second_name}-2

start_server
say "server of instance $CABINAUDIO_INSTANCE is up; two players and two recorders begin"
play alternative "$first_name" "$first" &
first_player=$!
play auxiliary "$second_name" "$second" &
second_player=$!
record input0 "$work/recorded.wav" 2.5 --channels 1 &
recorder=$!
record uplink "$work/call.opus" 3.5 --codec opus &
caller=$!
# The cabin while both play. A player that fails is reported below.
both_play() {
    cabinaudio-run -- cabinaudio server state | grep -c 'active ' | grep -q '[2-9]'
}
tries=0
until both_play || [ "$tries" -ge 50 ]; do
    tries=$((tries + 1))
    sleep 0.02
done
seen=0
cabinaudio-run -- cabinaudio view --export "$work/cabin.svg" >/dev/null || seen=$?
first_status=0
second_status=0
wait "$first_player" || first_status=$?
first_player=
wait "$second_player" || second_status=$?
second_player=
recorder_status=0
caller_status=0
wait "$recorder" || recorder_status=$?
recorder=
wait "$caller" || caller_status=$?
caller=
stop_server
[ "$first_status$second_status$recorder_status$caller_status" = 0000 ] || {
    cat "$work/server.log" >&2
    fail "the players ended with status $first_status and $second_status, the recorders with" \
        "$recorder_status and $caller_status"
}

say "what the server heard, against the files:"
heard=0
cabinaudio check "$work/heard.wav" --report "$work/report.json" \
    "played $first_name=\"$first\"" "played $second_name=\"$second\"" mix || heard=$?
say "what was recorded, against what was said:"
recorded=0
cabinaudio-recordcheck "$input" "$work/recorded.wav" "$said" "$work/call.opus" \
    "$work/recorded" || recorded=$?

[ "$seen" -eq 0 ] || fail "the picture of the cabin could not be drawn"
for file in heard.wav recorded.wav call.opus cabin.svg; do
    mv -f "$work/$file" "$demo/$file"
done
left="heard.wav, recorded.wav, call.opus, cabin.svg"
if [ -e "$work/recorded" ] && [ "${CABINAUDIO_DEMO_PICTURE:-yes}" != no ]; then
    left="$left, heard.png"
    cabinaudio-placement "$demo/heard.wav" "$work/report.json" "$work/envelopes" "$first_name" \
        "$second_name" || fail "the picture has no data"
    gnuplot -c "$demo/picture.gp" "$work/envelopes" "$demo/heard.png" \
        "$(basename -- "$first"), alternative" "$(basename -- "$second"), auxiliary" \
        "$work/recorded" "$(basename -- "$input"), recorded from input0" \
        "$(basename -- "$said"), uplink of a call in Opus, its ring 0.7 s late" ||
        fail "the picture could not be drawn"
fi
say "left $left in $demo"
[ "$heard" -eq 0 ] || fail "not everything was heard as it was played"
[ "$recorded" -eq 0 ] || fail "not everything was recorded as it was said"
say "all of it was heard and recorded"
