#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# chroot.sh DIRECTORY [ARMHF-DIRECTORY]: installs, uses and purges the packages of the directories in
# a Debian of their own, which is thrown away. Takes some minutes and the network; needs root.
# The second directory's packages are installed beside the first one's and run in an emulator.
# DEBIAN_MIRROR in the environment is where Debian comes from.
set -eu
here=$(dirname -- "$(readlink -f -- "$0")")
root=$(readlink -f -- "$here/../..")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

mkdir -p "$work/packages/native" "$work/packages/armhf"
cp "$1"/*.deb "$work/packages/native/"
architectures=$(dpkg --print-architecture)
if [ $# -gt 1 ]; then
    cp "$2"/*.deb "$work/packages/armhf/"
    architectures=$architectures,armhf
fi
cp -R "$root/debian/tests" "$here/in-chroot.sh" "$work/packages/"

# The release alone, without its updates: what the packages need has to be in it.
# What launches this machine's compiler is not in there.
# shellcheck disable=SC2016  # $1 is for the hook's shell
mmdebstrap --variant=minbase --format=null --architectures="$architectures" \
    --aptopt='Acquire::Check-Valid-Until "false"' \
    --customize-hook="copy-in $work/packages /" \
    --customize-hook='unshare --mount env -u CMAKE_CXX_COMPILER_LAUNCHER chroot "$1" sh /packages/in-chroot.sh' \
    bookworm /dev/null "deb ${DEBIAN_MIRROR:-http://deb.debian.org/debian} bookworm main"
