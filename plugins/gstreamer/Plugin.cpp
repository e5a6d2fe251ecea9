// SPDX-License-Identifier: Apache-2.0
// The plug-in that GStreamer loads. It has no element: it loads the library that has them.
#include "plugins/loader/Loader.h"

#include <dlfcn.h>
#include <gst/gst.h>

// NOLINTNEXTLINE(cppcoreguidelines-macro-usage): GST_PLUGIN_DEFINE wants it
#define PACKAGE "cabinaudio"

namespace {

using namespace cabinaudio::plugin;

constexpr char ELEMENTS[] = "../cabinaudio/libcabinaudio-gstreamer.so";
constexpr char REGISTER[] = "cabinaudio_gstreamer_register";

gboolean registerElements(GstPlugin* plugin) {
    void* const elements = loadModule(ELEMENTS, Scope::Program);
    auto* const function =
        elements == nullptr ? nullptr
                            : reinterpret_cast<gboolean (*)(GstPlugin*)>(dlsym(elements, REGISTER));
    if (function == nullptr) {
        GST_ERROR("%s", dlerror());
        return FALSE;
    }
    return function(plugin);
}

}  // namespace

GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, cabinaudio,
                  "Plays, records and takes coded uplink sound through the cabin audio server",
                  registerElements, CABINAUDIO_VERSION, "Apache 2.0", "cabinaudio", "cabinaudio")
