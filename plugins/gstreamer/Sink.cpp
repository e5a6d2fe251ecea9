// SPDX-License-Identifier: Apache-2.0
#include "plugins/gstreamer/Sink.h"

#include "plugins/gstreamer/Log.h"
#include "plugins/gstreamer/SinkSamples.h"
#include "plugins/gstreamer/StreamFormats.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <utility>
#include <vector>

namespace cabinaudio::gstreamer {

namespace {

using plugin::Lock;
using plugin::PlaybackPump;

/// The clock's first time. The base class drops the first sample of a sound at time 0 if its buffer
/// does not last for a whole number of nanoseconds.
constexpr GstClockTime BEGIN = GST_SECOND;
constexpr char SOURCE_MESSAGE[] = "cabinaudio-source";
constexpr guint64 SECOND_US = 1'000'000;
constexpr guint64 FEWEST_PERIODS = 3;
constexpr guint64 MOST_PERIODS = 128;

/// One segment is a period of the server. @return the buffer's length in frames
std::size_t setBuffer(GstAudioRingBufferSpec& spec, audio::QVAudioTrack& track) {
    const auto frameBytes = static_cast<guint64>(GST_AUDIO_INFO_BPF(&spec.info));
    const auto rate = static_cast<guint64>(GST_AUDIO_INFO_RATE(&spec.info));
    const auto whole = static_cast<guint64>(std::max(track.getPerLoopSize(), 0)) / frameBytes;
    const guint64 period = whole > 0 ? whole : plugin::USUAL_PERIOD_US * rate / SECOND_US;
    const guint64 periods =
        std::clamp(spec.buffer_time * rate / SECOND_US / period, FEWEST_PERIODS, MOST_PERIODS);
    spec.segsize = static_cast<gint>(period * frameBytes);
    spec.segtotal = static_cast<gint>(periods);
    spec.seglatency = spec.segtotal + 1;  // the server's own period
    return static_cast<std::size_t>(period * periods);
}

}  // namespace

Sink::Sink(GstAudioBaseSink* element) : properties(Direction::Playback), mElement(element) {}

Sink::~Sink() = default;

// ---- Stream -------------------------------------------------------------------------------------

bool Sink::open() {
    {
        const Lock lock(mLock);
        mBegin = BEGIN;
    }
    return findServer(element(), properties.values(element()));
}

bool Sink::acquire(GstAudioRingBufferSpec& spec) {
    mValues = properties.values(element());
    mName = std::make_unique<plugin::StreamName>("gst", mValues.name);
    plugin::StreamRequest request;
    request.name = mName->text();
    request.tag = mValues.tag;
    request.format = streamFormat(spec.info);
    request.param = mValues.streamParam;
    std::unique_ptr<audio::QVAudioTrack> track;
    if (const int error = openStream(request, track); error != 0) {
        postOpenError(element(), Direction::Playback, mValues, error);
        return false;
    }
    const auto settings = PlaybackPump::Settings::of(request, setBuffer(spec, *track));
    volume.attach(AudioTypes::getTag(mValues.tag), mName->text());
    const Lock lock(mLock);
    SinkListener& listener = *this;
    auto stream = std::make_unique<SinkStream>(std::move(track), settings, mBegin, listener);
    if (!stream->hasThread()) {
        postOpenError(element(), Direction::Playback, mValues, -EAGAIN);
        return false;
    }
    mStream = std::move(stream);
    mBaseTime = GST_CLOCK_TIME_NONE;
    GST_DEBUG_OBJECT(mElement, "stream %s, tag %s, %u Hz, %zu bytes a frame, %zu frames buffer",
                     mName->text(), AudioTypes::getTag(mValues.tag).c_str(), settings.rate,
                     settings.frameBytes, settings.bufferFrames);
    return true;
}

void Sink::release() {
    std::unique_ptr<SinkStream> stream;
    {
        const Lock lock(mLock);
        if (mStream != nullptr) mBegin = mStream->time();
        stream = std::move(mStream);
    }
    if (stream == nullptr) return;
    if (!stream->isOurs()) {
        // Its parts belong to threads that only the parent process has.
        static_cast<void>(stream.release());
        static_cast<void>(mName.release());
        return;
    }
    GST_DEBUG_OBJECT(mElement, "stream %s ends", mName->text());
    stream.reset();
    volume.detach();
    mName.reset();
}

// ---- Operations ---------------------------------------------------------------------------------

/// The base class may hold the element's lock, too.
bool Sink::run() {
    if (mStream == nullptr) return false;
    GST_DEBUG_OBJECT(mElement, "run");
    return mStream->run();
}

void Sink::pause() {
    GST_DEBUG_OBJECT(mElement, "pause");
    if (mStream != nullptr) mStream->pause();
}

void Sink::stop() {
    if (mStream != nullptr) mStream->stop();
}

void Sink::clear() {
    GST_DEBUG_OBJECT(mElement, "clear");
    if (mStream != nullptr) mStream->clear();
    const Lock lock(mLock);
    mBaseTime = GST_CLOCK_TIME_NONE;
}

guint Sink::delay() {
    const Lock lock(mLock);
    return mStream == nullptr ? 0 : static_cast<guint>(mStream->queued());
}

GstClockTime Sink::time() {
    const Lock lock(mLock);
    return mStream == nullptr ? mBegin : mStream->time();
}

/// A pause ends with another base time: the pipeline reads the clock before the stream stops, so
/// the frames of the time between are not in its running time. They have been played, though, and
/// no silence must take their place.
void Sink::followBaseTime() {
    GST_OBJECT_LOCK(mElement);
    const bool isOwn = GST_ELEMENT_CLOCK(mElement) == mElement->provided_clock;
    const GstClockTime base = GST_ELEMENT_CAST(mElement)->base_time;
    GST_OBJECT_UNLOCK(mElement);
    const Lock lock(mLock);
    if (isOwn && GST_CLOCK_TIME_IS_VALID(mBaseTime) && mBaseTime != base)
        mStream->shift(GST_CLOCK_DIFF(mBaseTime, base));
    mBaseTime = base;
}

// ---- Sound --------------------------------------------------------------------------------------

void Sink::noteBuffer(GstBuffer* buffer) {
    mIsFree = !GST_BUFFER_PTS_IS_VALID(buffer) ||
              gst_base_sink_get_sync(GST_BASE_SINK_CAST(mElement)) == FALSE ||
              GST_ELEMENT_CLOCK(mElement) == nullptr;
    GstAudioRingBuffer* const ring = mElement->ringbuffer;
    if (ring == nullptr || ring->samples_per_seg == 0) return;
    const auto rate = static_cast<guint64>(GST_AUDIO_INFO_RATE(&ring->spec.info));
    const guint64 played = gst_util_uint64_scale(time(), rate, GST_SECOND);
    g_atomic_int_set(&ring->segdone,
                     static_cast<gint>(played / static_cast<guint64>(ring->samples_per_seg)));
}

guint Sink::commit(GstAudioRingBuffer* ring, guint64& sample, const guint8* data, gint inputs,
                   gint outputs) {
    if (mStream == nullptr) return static_cast<guint>(inputs);
    followBaseTime();
    const std::int64_t distance = mIsFree ? 0 : mStream->place(sample);
    if (distance != 0)
        GST_DEBUG_OBJECT(mElement, "%s %" G_GINT64_FORMAT " frames",
                         distance > 0 ? "silence," : "late,", std::abs(distance));
    if (distance > 0 && !commitSilence(ring, static_cast<std::size_t>(distance))) return 0;
    std::vector<guint8> converted;
    const guint8* const frames = samplesToPlay(ring->spec.info, data, inputs, outputs, converted);
    const auto count = static_cast<std::size_t>(std::abs(outputs));
    const std::size_t late =
        distance < 0 ? std::min<std::size_t>(static_cast<std::size_t>(-distance), count) : 0;
    const std::size_t frameBytes = mStream->settings().frameBytes;
    const std::size_t done = late + commitAll(ring, frames + late * frameBytes, count - late);
    sample += done;
    if (done == count) return static_cast<guint>(inputs);
    return static_cast<guint>(gst_util_uint64_scale(done, static_cast<guint64>(inputs), count));
}

bool Sink::commitSilence(GstAudioRingBuffer* ring, std::size_t frames) {
    const auto& settings = mStream->settings();
    const std::size_t most = std::min(frames, settings.bufferFrames);
    const std::vector<guint8> silence(most * settings.frameBytes, settings.silence);
    for (std::size_t done = 0; done < frames;) {
        const std::size_t count = std::min(frames - done, most);
        if (commitAll(ring, silence.data(), count) != count) return false;
        done += count;
    }
    return true;
}

std::size_t Sink::commitAll(GstAudioRingBuffer* ring, const guint8* data, std::size_t frames) {
    const std::size_t frameBytes = mStream->settings().frameBytes;
    for (std::size_t done = 0; done < frames;) {
        if (mStream->isLost()) return frames;  // the buffer's flow is an error
        const std::size_t count = mStream->put(data + done * frameBytes, frames - done);
        done += count;
        if (count == 0 && gst_audio_ring_buffer_start(ring) == FALSE && !mStream->isLost())
            return done;
    }
    return frames;
}

// ---- The end ------------------------------------------------------------------------------------

bool Sink::isPlaying() {
    return mStream != nullptr;
}

bool Sink::isLost() {
    return mStream != nullptr && mStream->isLost();
}

void Sink::end() {
    if (mStream != nullptr) mStream->end();
}

GstFlowReturn Sink::drain() {
    while (mStream != nullptr && !mStream->waitForEnd()) {
        if (mStream->isLost()) return GST_FLOW_ERROR;
        if (gst_audio_ring_buffer_start(mElement->ringbuffer) != FALSE) continue;
        const GstFlowReturn flow = gst_base_sink_wait_preroll(GST_BASE_SINK_CAST(mElement));
        if (flow != GST_FLOW_OK) return flow;
    }
    GST_DEBUG_OBJECT(mElement, "the end has been played");
    return GST_FLOW_OK;
}

// ---- Events of the stream -----------------------------------------------------------------------

void Sink::onLoss() {
    postLoss(element(), Direction::Playback);
}

void Sink::onSource(bool isActive) {
    GST_DEBUG_OBJECT(mElement, "the source is %s", isActive ? "given back" : "withdrawn");
    gst_element_post_message(
        element(),
        gst_message_new_element(
            GST_OBJECT_CAST(mElement),
            gst_structure_new(SOURCE_MESSAGE, "active", G_TYPE_BOOLEAN, isActive ? TRUE : FALSE,
                              "stream-name", G_TYPE_STRING, mName->text(), nullptr)));
}

}  // namespace cabinaudio::gstreamer
