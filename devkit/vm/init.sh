#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# First program of the virtual machine (booted by run.py, in the image of prepare.py). Runs the jobs
# of /plan/order one after another and powers off.
#
# A line of /plan/order is KIND NAME SECONDS. /plan/NAME starts the job; SECONDS is the longest time
# without output. Kind "gtest" is a GoogleTest program: if it ends before its last test, it is
# started again for the remaining tests. /plan/NAME.skip lists tests to leave out, in the format of
# --gtest_filter.
#
# Lines for the host begin with "@vm " on the console:
#   @vm up KERNEL            | @vm begin NAME           | @vm end NAME STATUS SECONDS
#   @vm | LINE OF OUTPUT     | @vm alive NAME: LAST LINE OF OUTPUT | @vm down
set -u
export PATH=/usr/bin:/usr/sbin HOME=/tmp TMPDIR=/tmp
umask 022
output=/run/output

mount_all() {
    mount -t devtmpfs dev /dev
    mkdir -p /dev/shm /proc /sys /run /tmp
    mount -t proc proc /proc
    mount -t sysfs sys /sys
    mount -t tmpfs -o mode=1777 shm /dev/shm
    mount -t tmpfs -o mode=1777 tmp /tmp
    mount -t tmpfs run /run
}

tell() { printf '@vm %s\n' "$*"; }

last_line() { tail -n 1 "$output" | cut -c 1-160; }

# watch PROCESS NAME SECONDS: reports to the host that the machine is alive, and ends a job without
# output.
watch_job() {
    size=
    silent=0
    while sleep 5; do
        now=$(wc -c <"$output")
        if [ "$now" = "$size" ]; then silent=$((silent + 5)); else silent=0; fi
        size=$now
        tell "alive $2: $(last_line)"
        [ "$silent" -lt "$3" ] || {
            tell "| without output for $silent s: ended"
            kill -ABRT "$1"
            sleep 5
            kill -KILL "$1"
        }
    done
}

# run_once NAME SECONDS ARGUMENT...: runs the job and reports its output and end. Leaves no process
# behind: a signal that the first program sends to all processes spares only itself.
run_once() {
    name=$1
    seconds=$2
    shift 2
    tell "begin $name"
    began=$(date +%s)
    "/plan/$name" "$@" >"$output" 2>&1 </dev/null &
    job=$!
    watch_job "$job" "$name" "$seconds" &
    status=0
    wait "$job" || status=$?
    kill -KILL -1
    wait
    sed 's/^/@vm | /' "$output"
    printf '\n'
    tell "end $name $status $(($(date +%s) - began))"
}

# The tests that the job has begun, in the format of --gtest_filter.
begun() { sed -n 's/^.*\[ RUN      \] //p' "$output" | tr '\n' ':'; }

ended_early() { ! grep -q '^\[==========\] .* ran\.' "$output"; }

run_gtest() {
    skip=$(cat "/plan/$1.skip")
    while :; do
        run_once "$1" "$2" "--gtest_filter=-$skip"
        more=$(begun)
        if [ -z "$more" ] || ! ended_early; then break; fi
        skip=$skip:${more%:}
    done
}

mount_all
# NOW comes from the kernel's command line, because the machine has no real-time clock.
date -s "@${NOW:-0}" >/dev/null
# shellcheck disable=SC3045  # supported by the machine's shell
ulimit -c 0
tell "up $(uname -srvm), $(nproc) processors"
while read -r kind name seconds; do
    case $kind in
        gtest) run_gtest "$name" "$seconds" ;;
        *) run_once "$name" "$seconds" ;;
    esac
done </plan/order
tell down
poweroff -f
