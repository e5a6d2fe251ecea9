#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# ring-bytes.sh BYTES WRITER READER: sends so many bytes from one program's end of a ring to the
# other's; WRITER and READER are "ring-bytes", of any build, perhaps behind an emulator, each in one
# word of the command line. Fails when a byte was wrong.
set -eu

bytes=$1 writer=$2 reader=$3
CABINAUDIO_INSTANCE=rb$$
export CABINAUDIO_INSTANCE

# shellcheck disable=SC2086  # the emulator and its options are words
$reader read "$bytes" "$$" &
pid=$!
# An object of that name that is there when the writer comes is the reader's.
tries=0
until [ -e "/dev/shm/cabinaudio.$CABINAUDIO_INSTANCE.ring-bytes" ] || [ $tries -ge 1200 ]; do
    sleep 0.1
    tries=$((tries + 1))
done
status=0
# shellcheck disable=SC2086
$writer write "$bytes" "$$" || status=1
wait $pid || status=1
rm -f "/dev/shm/cabinaudio.$CABINAUDIO_INSTANCE."*
exit $status
