#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# First program of the virtual machine (booted by run.py, in the image of prepare.py). Runs the jobs
# of /plan/order, several at a time because tests mostly wait, then those of /plan/alone one after
# another, and powers off.
#
# A line of these files is KIND NAME PART SECONDS. /plan/NAME starts the job; SECONDS is the longest
# time without output. Kind "gtest" is a GoogleTest program: /plan/NAME.PART lists the tests to run,
# in the format of --gtest_filter. If it ends before the last of them, it is started again for the
# remaining ones.
#
# Lines for the host begin with "@vm " on the console; those from "begin" to "end" are not mixed with
# those of another job:
#   @vm up KERNEL            | @vm begin NAME           | @vm end NAME STATUS SECONDS
#   @vm | LINE OF OUTPUT     | @vm alive NAME: LAST LINE OF OUTPUT | @vm down
set -u
export PATH=/usr/bin:/usr/sbin HOME=/tmp TMPDIR=/tmp
umask 022
lanes=3
lane=alone
output=/run/output.alone

mount_all() {
    mount -t devtmpfs dev /dev
    mkdir -p /dev/shm /proc /sys /run /tmp
    mount -t proc proc /proc
    mount -t sysfs sys /sys
    mount -t tmpfs -o mode=1777 shm /dev/shm
    mount -t tmpfs -o mode=1777 tmp /tmp
    mount -t tmpfs run /run
    mount -t cgroup2 cgroup /sys/fs/cgroup
}

# The machine's shell has no flock. Who holds a lock must not be killed.
lock() { until mkdir "/run/$1.lock" 2>/dev/null; do sleep 0.05; done; }
unlock() { rmdir "/run/$1.lock"; }

# One line at a time, and not in the middle of a job's report.
tell() {
    lock console
    printf '@vm %s\n' "$*"
    unlock console
}

last_line() { tail -n 1 "$output" | cut -c 1-160; }

# watch_job PROCESS NAME SECONDS: reports to the host that the machine is alive, and ends a job
# without output. Ends at SIGTERM, after what it is doing.
watch_job() {
    over=
    trap 'over=yes' TERM
    size=
    silent=0
    while sleep 5 & wait $! && [ -z "$over" ]; do
        now=$(wc -c <"$output")
        if [ "$now" = "$size" ]; then silent=$((silent + 5)); else silent=0; fi
        size=$now
        tell "alive $2: $(last_line)"
        [ "$silent" -lt "$3" ] || {
            echo "without output for $silent s: ended" >>"$output"
            kill -ABRT "$1"
            sleep 5
            kill -KILL "$1"
        }
    done
}

# run_once NAME SECONDS ARGUMENT...: runs the job and reports its output and end. Leaves no process
# behind: a control group holds all that the job starts.
run_once() {
    name=$1
    seconds=$2
    shift 2
    group=/sys/fs/cgroup/$lane
    mkdir "$group"
    : >"$output"
    began=$(date +%s)
    # shellcheck disable=SC2016  # the words of the inner shell
    sh -c 'echo 0 >"$0/cgroup.procs" && exec "$@"' "$group" "/plan/$name" "$@" \
        >>"$output" 2>&1 </dev/null &
    job=$!
    watch_job "$job" "$name" "$seconds" &
    watch=$!
    status=0
    wait "$job" || status=$?
    kill "$watch"
    wait "$watch"
    echo 1 >"$group/cgroup.kill"
    until rmdir "$group" 2>/dev/null; do sleep 0.1; done
    report "$name" "$status" "$(($(date +%s) - began))"
}

# report NAME STATUS SECONDS: the lines of a job that has ended.
report() {
    lock console
    printf '@vm begin %s\n' "$1"
    sed 's/^/@vm | /' "$output"
    printf '\n@vm end %s\n' "$*"
    unlock console
}

# The tests that the job has begun, in the format of --gtest_filter.
begun() { sed -n 's/^.*\[ RUN      \] //p' "$output" | tr '\n' ':'; }

ended_early() { ! grep -q '^\[==========\] .* ran\.' "$output"; }

# run_gtest NAME PART SECONDS
run_gtest() {
    done=
    while :; do
        run_once "$1" "$3" "--gtest_filter=$(cat "/plan/$1.$2")${done:+-$done}"
        more=$(begun)
        if [ -z "$more" ] || ! ended_early; then break; fi
        done=$done$more
    done
}

# run_job KIND NAME PART SECONDS
run_job() {
    case $1 in
        gtest) run_gtest "$2" "$3" "$4" ;;
        *) run_once "$2" "$4" ;;
    esac
}

# Takes the next line of the jobs that are left; empty when there is none.
next_job() {
    lock order
    head -n 1 /run/order
    sed -i 1d /run/order
    unlock order
}

run_lane() {
    lane=lane$1
    output=/run/output.$1
    while line=$(next_job) && [ -n "$line" ]; do
        # shellcheck disable=SC2086  # its words
        run_job $line
    done
}

mount_all
# NOW comes from the kernel's command line, because the machine has no real-time clock.
date -s "@${NOW:-0}" >/dev/null
# shellcheck disable=SC3045  # supported by the machine's shell
ulimit -c 0
tell "up $(uname -srvm), $(nproc) processors"
cp /plan/order /run/order
for number in $(seq "$lanes"); do run_lane "$number" & done
wait
while read -r line; do
    # shellcheck disable=SC2086  # its words
    run_job $line
done </plan/alone
tell down
poweroff -f
