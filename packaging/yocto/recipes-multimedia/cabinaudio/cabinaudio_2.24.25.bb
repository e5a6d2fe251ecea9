# SPDX-License-Identifier: Apache-2.0
SUMMARY = "Client library of a car's audio server"
DESCRIPTION = "Applications on a head unit play and record through the audio server; this library \
carries their requests over a local socket and sound through shared memory."
SECTION = "libs/multimedia"
LICENSE = "Apache-2.0"
LIC_FILES_CHKSUM = "file://LICENSE;md5=3b83ef96387f14655fc854ddc3c6bd57"

# The layer lies in the source tree, and the recipe builds that tree.
inherit externalsrc
EXTERNALSRC = "${@os.path.abspath(d.getVar('THISDIR') + '/../../../..')}"

inherit cmake pkgconfig

# Layers that have Android's log library name its recipe here; without it one that writes to stderr
# is built and installed beside the library.
CABINAUDIO_LOG ?= ""
DEPENDS = "${CABINAUDIO_LOG}"

# On a board that has its own audio server, neither is needed.
PACKAGECONFIG ??= "tools"
PACKAGECONFIG[tools] = "-DCABINAUDIO_BUILD_TOOLS=ON,-DCABINAUDIO_BUILD_TOOLS=OFF,cli11 flac libarchive libogg libsndfile1 ncurses nlohmann-json sbc"
PACKAGECONFIG[devkit] = "-DCABINAUDIO_BUILD_DEVKIT=ON -DCABINAUDIO_SERVER_FOR_TARGET=ON,-DCABINAUDIO_BUILD_DEVKIT=OFF,alsa-lib cli11 fftw libopus libsamplerate0 libsndfile1 nlohmann-json sbc"

EXTRA_OECMAKE = "-DCABINAUDIO_BUILD_TESTS=OFF -DCABINAUDIO_BUILD_BENCH=OFF"

PACKAGE_BEFORE_PN = "${PN}-tools ${PN}-devkit"
FILES:${PN} = "${libdir}/libcabinaudio.so.* ${libdir}/libcabinaudio-log.so.*"
FILES:${PN}-dev = "${includedir} ${libdir}/libcabinaudio.so ${libdir}/cmake ${libdir}/pkgconfig"
FILES:${PN}-doc = "${docdir} ${mandir}"
FILES:${PN}-tools = "${bindir}/cabinaudio ${datadir}/cabinaudio ${datadir}/bash-completion ${datadir}/zsh"
FILES:${PN}-devkit = "${bindir}/cabinaudio-run ${bindir}/cabinaudio-server ${libdir}/cabinaudio"

BBCLASSEXTEND = "native nativesdk"
