# SPDX-License-Identifier: Apache-2.0
################################################################################
#
# cabinaudio
#
################################################################################

# The external tree lies in the source tree, and the package builds that tree.
CABINAUDIO_VERSION = 2.24.25
CABINAUDIO_SITE = $(BR2_EXTERNAL_CABINAUDIO_PATH)/../..
CABINAUDIO_SITE_METHOD = local
CABINAUDIO_LICENSE = Apache-2.0
CABINAUDIO_LICENSE_FILES = LICENSE
CABINAUDIO_INSTALL_STAGING = YES
CABINAUDIO_CONF_OPTS = \
	-DCABINAUDIO_BUILD_PLUGINS=ON -DCABINAUDIO_BUILD_TESTS=OFF -DCABINAUDIO_BUILD_BENCH=OFF

ifeq ($(BR2_PACKAGE_CABINAUDIO_TOOLS),y)
CABINAUDIO_DEPENDENCIES += \
	cairo cli11 fftw flac json-for-modern-cpp libarchive libogg libsamplerate libsndfile \
	ncurses sbc zlib
CABINAUDIO_CONF_OPTS += -DCABINAUDIO_BUILD_TOOLS=ON
else
CABINAUDIO_CONF_OPTS += -DCABINAUDIO_BUILD_TOOLS=OFF
endif

ifeq ($(BR2_PACKAGE_CABINAUDIO_DEVKIT),y)
CABINAUDIO_DEPENDENCIES += \
	alsa-lib cli11 fftw json-for-modern-cpp libsamplerate libsndfile opus sbc
CABINAUDIO_CONF_OPTS += \
	-DCABINAUDIO_BUILD_DEVKIT=ON -DCABINAUDIO_SERVER_FOR_TARGET=ON
else
CABINAUDIO_CONF_OPTS += -DCABINAUDIO_BUILD_DEVKIT=OFF
endif

ifeq ($(BR2_PACKAGE_CABINAUDIO_ALSA),y)
CABINAUDIO_DEPENDENCIES += alsa-lib
CABINAUDIO_CONF_OPTS += -DCABINAUDIO_BUILD_ALSA=ON
else
CABINAUDIO_CONF_OPTS += -DCABINAUDIO_BUILD_ALSA=OFF
endif

ifeq ($(BR2_PACKAGE_CABINAUDIO_GSTREAMER),y)
CABINAUDIO_DEPENDENCIES += host-pkgconf gst1-plugins-base gstreamer1
CABINAUDIO_CONF_OPTS += -DCABINAUDIO_BUILD_GSTREAMER=ON
else
CABINAUDIO_CONF_OPTS += -DCABINAUDIO_BUILD_GSTREAMER=OFF
endif

$(eval $(cmake-package))
