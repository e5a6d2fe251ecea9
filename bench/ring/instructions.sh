#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# instructions.sh RING-INSTRUCTIONS [CHUNK...]: instructions per write+read of one chunk, counted by
# callgrind. Every variant takes the time once per write, as our ring does. In the small ring chunks
# often wrap around its end and are copied in two pieces; in the large ring hardly ever.
#
# Columns: memcpy     two memcpy calls in the loop itself, never in pieces
#          called     the same two memcpy calls behind two functions of a shared library
#          ours       our ring, which is behind two functions of a shared library as well
#          -memcpy, -called   additional instructions of ours compared with those
#          spa, jack, boost   additional instructions compared with "called", behind such functions
#          too
# The exit status is 1 when our ring takes more than LIMIT (31) instructions beyond "called" in the
# large ring.
set -eu

program=${1:?usage: instructions.sh RING-INSTRUCTIONS [CHUNK...]}
shift
[ $# -gt 0 ] || set -- 64 192 960 3840
small=65536
large=16777216
limit=${LIMIT:-31}
command -v valgrind >/dev/null || { echo "instructions.sh: needs valgrind" >&2; exit 1; }

# Set-up costs the same in a short and in a long run, so it cancels out.
total() {
    counted=$(valgrind --tool=callgrind --callgrind-out-file=/dev/null "$program" "$@" 2>&1) || {
        echo "instructions.sh: $program $* failed: $counted" >&2
        return 1
    }
    echo "$counted" | sed -n 's/.*Collected : //p'
}
per_round() {
    short=$(total "$1" "$2" "$size" 2048) || exit 1
    long=$(total "$1" "$2" "$size" 4096) || exit 1
    awk -v a="$short" -v b="$long" 'BEGIN { printf "%.1f", (b - a) / 2048 }'
}

printf '%9s %6s %9s %9s %9s | %9s %9s | %9s %9s %9s\n' \
    ring chunk memcpy called ours -memcpy -called spa jack boost
status=0
for size in $small $large; do
    for chunk; do
        memcpy=$(per_round memcpy "$chunk")
        called=$(per_round memcpy-called "$chunk")
        ours=$(per_round ours "$chunk")
        spa=$(per_round spa-called "$chunk")
        jack=$(per_round jack-called "$chunk")
        boost=$(per_round boost-called "$chunk")
        printf '%9d %6d ' "$size" "$chunk"
        awk -v m="$memcpy" -v d="$called" -v o="$ours" -v s="$spa" -v j="$jack" -v b="$boost" \
            -v limit="$limit" 'BEGIN {
                printf "%9.1f %9.1f %9.1f | %9.1f %9.1f | %9.1f %9.1f %9.1f\n",
                    m, d, o, o - m, o - d, s - d, j - d, b - d
                exit sprintf("%.1f", o - d) + 0 > limit
            }' || [ "$size" != "$large" ] || status=1
    done
done
exit $status
