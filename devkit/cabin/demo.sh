# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=sh
# The demo.

cmd_demo() {
    need demo
    for file; do
        shift
        file=$(of_caller "$file")
        [ -r "$file" ] || die "cannot read $file"
        set -- "$@" "$file"
    done
    build_programs cabinaudio-placement cabinaudio-recordcheck
    demo/run.sh build/native "$@"
}
