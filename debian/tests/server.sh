# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=sh
# Sourced by the tests: a directory of their own in $work, which is removed at the end, and a server
# of the installed package.

work=$(mktemp -d)
export CABINAUDIO_INSTANCE="package-$$"
export CABINAUDIO_CONFIG_DIR="$work"
server=
clean_up() {
    [ -z "$server" ] || kill "$server" 2>/dev/null || true
    cabinaudio-run --clean >/dev/null 2>&1 || true
    rm -rf "$work"
}
trap clean_up EXIT

fail() {
    printf '%s\n' "FAILED: $*" >&2
    [ ! -e "$work/server.log" ] || cat "$work/server.log" >&2
    exit 1
}

# start_server OPTION...: returns when clients are served.
start_server() {
    mkfifo "$work/ready"
    cabinaudio-server "$@" --ready-fd 3 >"$work/server.log" 2>&1 3>"$work/ready" &
    server=$!
    [ "$(timeout 60 cat "$work/ready")" = ready ] || fail "the server does not start"
    rm "$work/ready"
}

stop_server() {
    kill -TERM "$server"
    wait "$server" || fail "the server ended with status $?"
    server=
}

# loud_samples FILE: how many 16-bit samples of a WAV file are beyond a hundredth of full scale.
loud_samples() {
    od -An -v -td2 -w2 -j44 "$1" | awk '$1 > 327 || $1 < -327 { ++loud } END { print loud + 0 }'
}
