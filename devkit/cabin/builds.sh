# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=sh
# The builds in build/NAME, one CMake preset each.

# ccache ignores sources with precompiled headers unless it may take their macros as given: nothing
# that is precompiled depends on the time or on a macro that only the including source defines.
export CCACHE_SLOPPINESS="${CCACHE_SLOPPINESS:-pch_defines,time_macros}"

# lock_tree TREE: waits until no other command builds or tests this tree. The lock ends with
# descriptor 9. Commands that a test runs have the lock of their suite already.
lock_tree() {
    [ "${CABIN_LOCKED_TREE:-}" != "$1" ] && command -v flock >/dev/null || return 0
    exec 9>"$1/.lock"
    flock 9
}

unlock_tree() { exec 9>&-; }

# build NAME [TARGET...]: configures and compiles everything or the targets; silent on success.
build() {
    name=$1
    shift
    case $name in
        native | edit | coverage) need build test consume "$(sound_server)" ;;
        asan | tsan) need build test asan "$(sound_server)" ;;
        fuzz) need build test asan ;;
        armhf)
            need build test consume armhf
            unpack_target
            ;;
        armhf-time64) need build test consume armhf ;;
        armhf-vm) need build test armhf pkgarm vm ;;
        bench) need build bench ;;
        *) bad_usage "unknown build '$name'" ;;
    esac
    tree=build/$name
    own_tree "$tree"
    log=$tree/build.log
    began=$(date +%s)
    say "building $name (output: $log)"
    lock_tree "$tree"
    : >"$log"
    logged "$log" cmake --preset "$name"
    if [ $# -gt 0 ]; then set -- --target "$@"; fi
    logged "$log" cmake --build --preset "$name" --parallel "$(jobs)" "$@"
    unlock_tree
    say "built $name in $(($(date +%s) - began)) s"
}

# configure NAME: only writes the commands that would compile the sources.
configure() {
    own_tree "build/$1"
    lock_tree "build/$1"
    logged "build/$1/build.log" cmake --preset "$1"
    unlock_tree
}

# Everything that users get, without the tests.
build_programs() {
    build native cabinaudio cabinaudio-board cabinaudio-run cabinaudio-server cabinaudio-tool "$@"
}

logged() {
    build_log=$1
    shift
    if ! "$@" >>"$build_log" 2>&1 </dev/null; then
        tail -n 60 "$build_log" >&2
        die "failed: $* (all of it: $build_log)"
    fi
}

# A build tree of another user would cause misleading errors, so refuse it.
own_tree() {
    mkdir -p "$1" 2>/dev/null || die "cannot create $PWD/$1: $PWD belongs to $(stat -c %U "$PWD")"
    for path in "$1" "$1/CMakeCache.txt" "$1/build.log"; do
        if [ -e "$path" ] && [ ! -w "$path" ]; then
            die "$PWD/$path belongs to $(stat -c %U "$path"), you are $(id -un): remove $PWD/$1"
        fi
    done
}

# The sanitizers' shadow memory collides with the address randomisation of some kernels.
fixed_addresses() {
    bits=$(cat /proc/sys/vm/mmap_rnd_bits 2>/dev/null || echo 0)
    if [ "$bits" -gt 28 ] && setarch -R true 2>/dev/null; then
        setarch -R "$@"
    else
        "$@"
    fi
}
