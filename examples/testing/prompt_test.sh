#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# prompt_test.sh PROGRAM [ARGUMENT...]: the navigation program tested by shell. Sound, report and
# picture of a failed test stay in the directory prompt-heard. With the argument --without-ducking the
# test fails, to show how.
set -eu
export CABINAUDIO_INSTANCE="prompt-$$"
# The diagnostics settings of the user are not those of a test.
CABINAUDIO_CONFIG_DIR=$(mktemp -d)
export CABINAUDIO_CONFIG_DIR
trap 'rm -rf "$CABINAUDIO_CONFIG_DIR"' EXIT
rm -rf prompt-heard
mkdir prompt-heard

# Time begins when the music is started, and the prompt is heard at one second. The first command of
# the program waits until the server is ready.
cabinaudio-server --quiet --output wav:prompt-heard/heard.wav --report prompt-heard/report.json \
    --stems prompt-heard/stems --time lockstep --strict --hold 1 --await prompt@1000 &
server=$!
status=0
cabinaudio-run --wait 60 "$@" || status=$?

# 5: the server waited in vain for a stream, or something happened at a moment that no frame decides.
kill "$server"
wait "$server" || status=$?
[ "$status" -eq 0 ] || {
    echo "status $status; the files are in prompt-heard" >&2
    exit "$status"
}

cabinaudio check prompt-heard/heard.wav --report prompt-heard/report.json \
    --stems prompt-heard/stems --picture prompt-heard/picture.png \
    'starts prompt@1000' 'tone 1000 [1.2..1.8]' 'ducked music by -20dB during prompt'
rm -rf prompt-heard
