#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# result.sh FILE: turns the recorded result of one test into a CTest test. The first line of FILE is
# passed, skipped or failed; the rest is the test's output. A missing FILE means that the test has
# not run.
[ -e "$1" ] || {
    echo "no result: the virtual machine ended before this test, see test 'machine'"
    exit 1
}
sed 1d "$1"
[ "$(head -n 1 "$1")" != failed ]
