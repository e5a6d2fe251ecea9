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

# pkg-config finds the target's packages, not this machine's: those that ./cabin has unpacked, or
# installed ones.
set(CABINAUDIO_UNPACKED "$ENV{CABINAUDIO_UNPACKED}")
if(NOT CABINAUDIO_UNPACKED)
    set(CABINAUDIO_UNPACKED "${CMAKE_CURRENT_LIST_DIR}/../../build/armhf-packages/files")
endif()
set(pc_directories "/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/pkgconfig" "/usr/share/pkgconfig")
if(EXISTS "${CABINAUDIO_UNPACKED}")
    get_filename_component(CABINAUDIO_UNPACKED "${CABINAUDIO_UNPACKED}" REALPATH)
    set(ENV{PKG_CONFIG_SYSROOT_DIR} "${CABINAUDIO_UNPACKED}")
    list(TRANSFORM pc_directories PREPEND "${CABINAUDIO_UNPACKED}")
else()
    set(CABINAUDIO_UNPACKED)
endif()
list(JOIN pc_directories ":" pc_directories)
set(ENV{PKG_CONFIG_LIBDIR} "${pc_directories}")
