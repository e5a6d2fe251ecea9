// SPDX-License-Identifier: Apache-2.0
#include "plugins/gstreamer/Elements.h"

#include "plugins/gstreamer/Log.h"

GST_DEBUG_CATEGORY(cabinaudio_debug);

#pragma GCC visibility push(default)
extern "C" {

/// Called by the plug-in, once in a process.
// NOLINTNEXTLINE(readability-identifier-naming): found by its name
gboolean cabinaudio_gstreamer_register(GstPlugin* plugin) {
    using namespace cabinaudio::gstreamer;
    GST_DEBUG_CATEGORY_INIT(cabinaudio_debug, "cabinaudio", 0, "cabin audio server");
    return registerSink(plugin) && registerSource(plugin) && registerUplinkSource(plugin) &&
           registerDeviceProvider(plugin);
}
}
#pragma GCC visibility pop
