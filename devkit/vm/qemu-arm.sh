#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# qemu-arm -L / PROGRAM [ARGUMENT...] in the virtual machine. Test programs name the emulator in
# front of the peers that they start; the machine runs the peers itself.
shift 2
exec "$@"
