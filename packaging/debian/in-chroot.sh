#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Runs as root, with mounts of its own, in a fresh Debian that has the packages and their tests in /packages.
set -eu
export DEBIAN_FRONTEND=noninteractive LC_ALL=C.UTF-8
say() { printf '%s\n' "package: $*"; }
fail() {
    printf '%s\n' "package: FAILED: $*" >&2
    exit 1
}
install() { apt-get -q -y --no-install-recommends install "$@" >/tmp/apt.log 2>&1 || {
    cat /tmp/apt.log >&2
    fail "cannot install $*"
}; }

# Rings and semaphores are files there, which are nobody else's: the mounts are this script's own.
mount -t tmpfs -o mode=1777 tmpfs /dev/shm

cd /packages/native
say "installing what runs"
install ./libcabinaudio2_*.deb ./libcabinaudio-board_*.deb ./cabinaudio-tools_*.deb \
    ./cabinaudio-devkit_*.deb
say "using it, as root and as an ordinary user"
/packages/tests/use
setpriv --reuid=65534 --regid=65534 --clear-groups env HOME=/tmp /packages/tests/use

say "playing to it through ALSA"
install ./libasound2-plugin-cabinaudio_*.deb alsa-utils
/packages/tests/alsa

say "playing to it through GStreamer"
install ./gstreamer1.0-cabinaudio_*.deb gstreamer1.0-plugins-base gstreamer1.0-tools
/packages/tests/gstreamer
install ./python3-cabinaudio_*.deb python3-pytest python3-pytest-xdist
/packages/tests/python

say "showing its conversations in Wireshark"
install tshark
/packages/tests/wireshark

say "building a program with it"
install ./libcabinaudio-dev_*.deb ./cabinaudio-doc_*.deb cmake g++ make pkg-config
/packages/tests/build
say "testing a program with it"
install ./libcabinaudio-testing-dev_*.deb
/packages/tests/testing

if ls /packages/armhf/*.deb >/dev/null 2>&1; then
    cd /packages/armhf
    say "the same for 32-bit ARM, beside it"
    # The server stays this machine's; the tool is an ARM program now.
    install ./libcabinaudio2_*.deb ./libcabinaudio-dev_*.deb ./libcabinaudio-board_*.deb \
        ./cabinaudio-tools_*.deb qemu-user g++-arm-linux-gnueabihf \
        pkg-config:armhf
    TOOL='cabinaudio-run --timeout 120 /usr/bin/cabinaudio' /packages/tests/use
    HOST=arm-linux-gnueabihf /packages/tests/build
fi

say "purging it"
ours() {
    dpkg-query -W -f '${Package}:${Architecture} ${db:Status-Status}\n' | grep cabinaudio
}
# shellcheck disable=SC2046  # names are words
apt-get -q -y purge $(ours | cut -d ' ' -f 1) >/tmp/apt.log 2>&1 || {
    cat /tmp/apt.log >&2
    fail "cannot purge"
}
! ours || fail "packages are left"
left=$(find / -xdev \( -path /packages -o -path /proc -o -path /sys \) -prune -o \
    -name '*cabinaudio*' -print)
[ -z "$left" ] || fail "left behind: $left"
[ -z "$(ls /dev/shm)" ] || fail "left in /dev/shm: $(ls /dev/shm)"
say "installed, used and purged: nothing is left"
