# SPDX-License-Identifier: Apache-2.0
# shellcheck shell=sh
# The virtual machine of the target: its kernel and shell, its image, and the list of tests for
# CTest.

machine=build/armhf-vm/devkit/vm

# Results of the virtual machine's programs, one line each.
machine_programs() { printf '%s\n' "$machine/programs.txt"; }

# make_machine [yes]: creates it for the tests of build/armhf; with yes including the long ones.
make_machine() {
    with_long=$1
    unpack_guest
    rm -f "$machine/programs.txt"
    logged build/armhf-vm/build.log devkit/vm/test_run.py
    # shellcheck disable=SC2086  # an option or nothing
    logged build/armhf-vm/build.log devkit/vm/prepare.py ${with_long:+--long} build/armhf build/armhf-vm
    say "the virtual machine's console: $machine/console.log"
}

# Unpacks kernel and shell from their packages.
unpack_guest() {
    guest=$machine/packages
    if [ -e "$guest/vmlinuz" ] && [ -e "$guest/busybox" ]; then return 0; fi
    command -v apt-get >/dev/null || die "apt-get not found: the virtual machine's kernel is Debian's"
    rm -rf "$guest"
    unpack_packages guest "$guest" "$guest/files" build/armhf-vm/build.log download_guest
    cp "$guest/files/bin/busybox" "$guest/"
    cp "$guest"/files/boot/vmlinuz-* "$guest/vmlinuz"
    rm -rf "$guest/files" "$guest"/*.deb
}

# The kernel's meta package has no files; it depends on the package of the current version.
download_guest() {
    kernel=$(apt-cache depends linux-image-armmp:armhf |
        sed -n 's/^ *Depends: \(linux-image-[^ ]*\)$/\1/p') || return 1
    [ -n "$kernel" ] || return 1
    apt-get -q download "$kernel" busybox-static:armhf
}
