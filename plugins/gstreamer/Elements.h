// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gst/gst.h>

namespace cabinaudio::gstreamer {

// What the plug-in contains. Each registers one feature when the plug-in is loaded.
bool registerSink(GstPlugin* plugin);
bool registerSource(GstPlugin* plugin);
bool registerUplinkSource(GstPlugin* plugin);
bool registerDeviceProvider(GstPlugin* plugin);

}  // namespace cabinaudio::gstreamer
