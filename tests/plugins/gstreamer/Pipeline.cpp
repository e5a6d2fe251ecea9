// SPDX-License-Identifier: Apache-2.0
#include "tests/plugins/gstreamer/Pipeline.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <thread>

/// GLib leaves each table of its interned strings behind when it makes a larger one: others may
/// read it without a lock. Its functions have no frame pointers, so that only the library can be
/// named. Objects of GStreamer that are left are found by its own tracer.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libglib-2.0.so\n";
}

namespace cabinaudio::test {

namespace {

GstClockTime nanoseconds(std::chrono::milliseconds time) {
    return static_cast<GstClockTime>(time.count()) * GST_MSECOND;
}

}  // namespace

void initGStreamer() {
    static const bool isDone = [] {
        static const std::string registry =
            "/tmp/cabinaudio-gst-" + std::to_string(getpid()) + ".registry";
        setenv("GST_REGISTRY", registry.c_str(), 1);
        setenv("GST_PLUGIN_PATH", CABINAUDIO_TEST_GSTREAMER, 1);
        setenv("GST_REGISTRY_FORK", "no", 1);
        gst_init(nullptr, nullptr);
        std::remove(registry.c_str());
        return true;
    }();
    static_cast<void>(isDone);
}

bool hasElement(const std::string& factory) {
    initGStreamer();
    GstElementFactory* const found = gst_element_factory_find(factory.c_str());
    if (found == nullptr) return false;
    gst_object_unref(found);
    return true;
}

std::string errorOf(const Message& message) {
    GError* error = nullptr;
    if (GST_MESSAGE_TYPE(message.get()) == GST_MESSAGE_WARNING)
        gst_message_parse_warning(message.get(), &error, nullptr);
    else
        gst_message_parse_error(message.get(), &error, nullptr);
    std::string text =
        std::string(g_quark_to_string(error->domain)) + " " + std::to_string(error->code);
    g_error_free(error);
    return text;
}

Pipeline::Pipeline(const std::string& description) {
    initGStreamer();
    GError* error = nullptr;
    mPipeline = gst_parse_launch(description.c_str(), &error);
    if (error == nullptr) return;
    const std::string text = error->message;
    g_error_free(error);
    if (mPipeline != nullptr) gst_object_unref(mPipeline);
    throw std::runtime_error(description + ": " + text);
}

Pipeline::~Pipeline() {
    gst_element_set_state(mPipeline, GST_STATE_NULL);
    gst_object_unref(mPipeline);
}

GstElement* Pipeline::element(const std::string& name) const {
    GstElement* const found = gst_bin_get_by_name(GST_BIN(mPipeline), name.c_str());
    if (found == nullptr) throw std::runtime_error("no element " + name);
    gst_object_unref(found);
    return found;
}

bool Pipeline::become(GstState state, std::chrono::milliseconds bound) const {
    if (gst_element_set_state(mPipeline, state) == GST_STATE_CHANGE_FAILURE) return false;
    return gst_element_get_state(mPipeline, nullptr, nullptr, nanoseconds(bound)) ==
           GST_STATE_CHANGE_SUCCESS;
}

Message Pipeline::wait(GstMessageType types, std::chrono::milliseconds bound) const {
    GstBus* const bus = gst_element_get_bus(mPipeline);
    Message message(gst_bus_timed_pop_filtered(bus, nanoseconds(bound), types));
    gst_object_unref(bus);
    return message;
}

bool Pipeline::ends() const {
    const Message message = wait(static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR));
    return message != nullptr && GST_MESSAGE_TYPE(message.get()) == GST_MESSAGE_EOS;
}

bool Pipeline::seek(GstClockTime time) const {
    return gst_element_seek_simple(
               mPipeline, GST_FORMAT_TIME,
               static_cast<GstSeekFlags>(GST_SEEK_FLAG_FLUSH | GST_SEEK_FLAG_ACCURATE),
               static_cast<gint64>(time)) != FALSE;
}

GstClockTime Pipeline::position() const {
    gint64 position = 0;
    if (gst_element_query_position(mPipeline, GST_FORMAT_TIME, &position) == FALSE) return 0;
    return static_cast<GstClockTime>(position);
}

bool Pipeline::reaches(GstClockTime time) const {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (position() < time) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

}  // namespace cabinaudio::test
