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

inherit cmake pkgconfig python3native

# Layers that have Android's log library name its recipe here; without it one that writes to stderr
# is built and installed beside the library.
CABINAUDIO_LOG ?= ""
DEPENDS = "${CABINAUDIO_LOG}"

# On a board that has its own audio server, neither is needed.
PACKAGECONFIG ??= "tools"
PACKAGECONFIG[tools] = "-DCABINAUDIO_BUILD_TOOLS=ON,-DCABINAUDIO_BUILD_TOOLS=OFF,cairo cli11 fftw flac libarchive libogg libsamplerate0 libsndfile1 ncurses nlohmann-json sbc"
PACKAGECONFIG[devkit] = "-DCABINAUDIO_BUILD_DEVKIT=ON -DCABINAUDIO_SERVER_FOR_TARGET=ON,-DCABINAUDIO_BUILD_DEVKIT=OFF,alsa-lib cli11 fftw libopus libsamplerate0 libsndfile1 nlohmann-json sbc"
# The GoogleTest kit for tests of applications; for a development kit.
PACKAGECONFIG[testing] = "-DCABINAUDIO_BUILD_TESTING_KIT=ON,-DCABINAUDIO_BUILD_TESTING_KIT=OFF,cairo fftw googletest libsamplerate0 libsndfile1 nlohmann-json"
# Programs that speak ALSA, and pipelines of GStreamer, become clients.
PACKAGECONFIG[alsa] = "-DCABINAUDIO_BUILD_ALSA=ON,-DCABINAUDIO_BUILD_ALSA=OFF,alsa-lib"
PACKAGECONFIG[gstreamer] = "-DCABINAUDIO_BUILD_GSTREAMER=ON,-DCABINAUDIO_BUILD_GSTREAMER=OFF,gstreamer1.0 gstreamer1.0-plugins-base"

# The Python package. Its modules are for the version of python3-native.
PACKAGECONFIG[python] = "-DCABINAUDIO_PYTHON=ON -DCABINAUDIO_PYTHON_EXECUTABLE=${STAGING_BINDIR_NATIVE}/python3-native/python3 -DCABINAUDIO_PYTHON_INCLUDE_DIR=${STAGING_INCDIR}/${PYTHON_DIR} -DCABINAUDIO_PYTHON_DIR=lib/${PYTHON_DIR}/site-packages,-DCABINAUDIO_PYTHON=OFF,python3 python3-native python3-pybind11,python3-core"

EXTRA_OECMAKE = "-DCABINAUDIO_BUILD_PLUGINS=ON -DCABINAUDIO_BUILD_TESTS=OFF -DCABINAUDIO_BUILD_BENCH=OFF"

# In this order: the plug-in's elements lie beside the development kit's libraries.
PACKAGE_BEFORE_PN = "${PN}-tools ${PN}-gstreamer ${PN}-devkit ${PN}-alsa ${PN}-python"
FILES:${PN} = "${libdir}/libcabinaudio.so.* ${libdir}/libcabinaudio-log.so.*"
FILES:${PN}-dev = "${includedir} ${libdir}/libcabinaudio.so ${libdir}/cmake ${libdir}/pkgconfig"
FILES:${PN}-staticdev = "${libdir}/libcabinaudio_testing.a"
FILES:${PN}-doc = "${docdir} ${mandir}"
FILES:${PN}-tools = "${bindir}/cabinaudio ${datadir}/cabinaudio ${datadir}/bash-completion ${datadir}/zsh \
    ${libdir}/wireshark"
FILES:${PN}-gstreamer = "${libdir}/gstreamer-1.0 ${libdir}/cabinaudio/libcabinaudio-gstreamer.so"
FILES:${PN}-devkit = "${bindir}/cabinaudio-run ${bindir}/cabinaudio-server ${libdir}/cabinaudio \
    ${libdir}/alsa-lib/*cabinaudio*devkit.so ${datadir}/alsa/alsa.conf.d/51-cabinaudio-devkit.conf"
FILES:${PN}-alsa = "${libdir}/alsa-lib ${datadir}/alsa"
FILES:${PN}-python = "${libdir}/python*"

BBCLASSEXTEND = "native nativesdk"
