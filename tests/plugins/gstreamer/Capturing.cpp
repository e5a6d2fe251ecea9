// SPDX-License-Identifier: Apache-2.0
#include "tests/plugins/gstreamer/Capturing.h"

#include "tests/support/Generous.h"

#include <gtest/gtest.h>

#include <cstring>
#include <utility>

namespace cabinaudio::test {

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::duration<GstClockTime> PATIENCE{60};
constexpr char SINK[] = " ! fakesink name=last signal-handoffs=true sync=false async=false";

}  // namespace

Capturing::Capturing(const std::string& source, const std::string& more)
    : mPipeline(source + " name=source" + more + SINK) {
    GstElement* const sink = mPipeline.element("last");
    g_signal_connect(sink, "handoff", G_CALLBACK(handOff), this);
    GstPad* const pad = gst_element_get_static_pad(sink, "sink");
    gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM, seeEvent, this, nullptr);
    gst_object_unref(pad);
}

void Capturing::handOff(GstElement* /*sink*/, GstBuffer* buffer, GstPad* /*pad*/, Capturing* self) {
    Arrived arrived;
    arrived.bytes.resize(gst_buffer_get_size(buffer));
    gst_buffer_extract(buffer, 0, arrived.bytes.data(), arrived.bytes.size());
    arrived.time = GST_BUFFER_PTS(buffer);
    arrived.duration = GST_BUFFER_DURATION(buffer);
    arrived.isDiscontinuous = GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_DISCONT);
    const std::lock_guard lock(self->mLock);
    self->mBuffers.push_back(std::move(arrived));
    self->mChanged.notify_all();
}

GstPadProbeReturn Capturing::seeEvent(GstPad* /*pad*/, GstPadProbeInfo* info, gpointer self) {
    if (GST_EVENT_TYPE(GST_PAD_PROBE_INFO_EVENT(info)) == GST_EVENT_EOS) {
        auto* const capturing = static_cast<Capturing*>(self);
        const std::lock_guard lock(capturing->mLock);
        capturing->mHasEnded = true;
        capturing->mChanged.notify_all();
    }
    return GST_PAD_PROBE_OK;
}

bool Capturing::become(GstState state) const {
    if (gst_element_set_state(pipeline(), state) == GST_STATE_CHANGE_FAILURE) return false;
    const GstStateChangeReturn result =
        gst_element_get_state(pipeline(), nullptr, nullptr, PATIENCE.count() * GST_SECOND);
    return result == GST_STATE_CHANGE_SUCCESS || result == GST_STATE_CHANGE_NO_PREROLL;
}

std::string Capturing::changeStates(int rounds) {
    for (int round = 0; round < rounds; ++round) {
        const std::string where = ", round " + std::to_string(round);
        if (!become(round % 3 == 0 ? GST_STATE_PLAYING : GST_STATE_PAUSED)) return "up" + where;
        if (round % 20 == 0) {
            if (!become(GST_STATE_PLAYING)) return "PLAYING" + where;
            if (!waitForBuffers(1)) return "no sound" + where;
        }
        if (!become(round % 2 == 0 ? GST_STATE_NULL : GST_STATE_READY)) return "down" + where;
        forget();
    }
    return "";
}

template <typename Condition>
bool Capturing::waitFor(Condition condition) {
    std::unique_lock lock(mLock);
    return mChanged.wait_for(lock, PATIENCE, condition);
}

bool Capturing::waitForBytes(std::size_t count) {
    return waitFor([&] {
        std::size_t all = 0;
        for (const Arrived& buffer : mBuffers)
            all += buffer.bytes.size();
        return all >= count;
    });
}

bool Capturing::waitForBuffers(std::size_t count) {
    return waitFor([&] { return mBuffers.size() >= count; });
}

std::vector<Arrived> Capturing::buffers() {
    const std::lock_guard lock(mLock);
    return mBuffers;
}

std::vector<unsigned char> Capturing::bytes() {
    std::vector<unsigned char> all;
    for (const Arrived& buffer : buffers())
        all.insert(all.end(), buffer.bytes.begin(), buffer.bytes.end());
    return all;
}

std::vector<std::int16_t> Capturing::samples() {
    const std::vector<unsigned char> all = bytes();
    std::vector<std::int16_t> result(all.size() / sizeof(std::int16_t));
    if (!result.empty())
        std::memcpy(result.data(), all.data(), result.size() * sizeof(std::int16_t));
    return result;
}

void Capturing::forget() {
    const std::lock_guard lock(mLock);
    mBuffers.clear();
}

std::string Capturing::waitForError(std::chrono::milliseconds bound) const {
    const Message message = mPipeline.wait(GST_MESSAGE_ERROR, bound);
    return message == nullptr ? std::string() : errorOf(message);
}

bool Capturing::waitForEnd() {
    return waitFor([&] { return mHasEnded; });
}

std::string resourceError(GstResourceError code) {
    return std::string(g_quark_to_string(GST_RESOURCE_ERROR)) + " " + std::to_string(code);
}

void expectOneLoss(Capturing& capturing) {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(capturing.waitForError(), resourceError(GST_RESOURCE_ERROR_READ));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, generous(2s));
    EXPECT_TRUE(capturing.waitForEnd());
    EXPECT_TRUE(capturing.become(GST_STATE_READY));
    EXPECT_EQ(capturing.waitForError(0ms), "");
}

}  // namespace cabinaudio::test
