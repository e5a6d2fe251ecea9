# SPDX-License-Identifier: Apache-2.0
# The target: 32-bit ARM with hardware floating point, Debian's cross compiler, and Debian's armhf
# packages beside this machine's. Loader and libraries must come from one place, hence `-L /`: with
# the cross compiler's sysroot the emulator would mix two C libraries, and creating a thread would
# crash.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR arm)
set(CMAKE_LIBRARY_ARCHITECTURE arm-linux-gnueabihf)
set(CMAKE_C_COMPILER arm-linux-gnueabihf-gcc)
set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm -L /)
