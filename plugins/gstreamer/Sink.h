// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "plugins/common/Mutex.h"
#include "plugins/common/StreamName.h"
#include "plugins/gstreamer/SinkStream.h"
#include "plugins/gstreamer/SinkVolume.h"
#include "plugins/gstreamer/StreamProperties.h"

#include <gst/audio/gstaudiobasesink.h>

#include <cstddef>
#include <memory>

namespace cabinaudio::gstreamer {

/// The work of the element cabinaudiosink. GStreamer's base class decides which sample is heard at
/// which time and calls the operations of the ring buffer; the sound goes directly into the stream.
///
/// Threads  noteBuffer(), commit(), end() and drain() belong to the streaming thread. The base
/// class
///          holds the ring buffer's lock during acquire(), release(), run(), pause(), stop() and
///          clear(), and may hold the element's lock during run(). Any thread may ask for the time.
class Sink : private SinkListener {
public:
    explicit Sink(GstAudioBaseSink* element);
    virtual ~Sink();
    Sink(const Sink&) = delete;
    Sink& operator=(const Sink&) = delete;

    StreamProperties properties;
    SinkVolume volume;

    // Operations of the ring buffer. Errors have been posted when they return.
    [[nodiscard]] bool open();
    [[nodiscard]] bool acquire(GstAudioRingBufferSpec& spec);
    void release();
    [[nodiscard]] bool run();
    void pause();
    void stop();
    void clear();
    [[nodiscard]] guint delay();
    /// Queues sound for a position of the clock and waits for room.
    /// @param sample   in: position of the first frame; out: of the frame after the last
    /// @param inputs   frames of the data
    /// @param outputs  frames to be heard, negative for the reverse direction
    /// @return frames of the data that were used; less when the ring buffer was stopped
    [[nodiscard]] guint commit(GstAudioRingBuffer* ring, guint64& sample, const guint8* data,
                               gint inputs, gint outputs);

    /// Before a buffer. Sound without a time follows the sound before. The base class learns how
    /// much has been played: it does not align sound to a place that is past.
    void noteBuffer(GstBuffer* buffer);
    /// Whether a stream exists with this sound.
    [[nodiscard]] bool isPlaying();
    [[nodiscard]] bool isLost();
    /// The sound ends with what has been committed.
    void end();
    /// Waits until the sound has been heard; the preroll lock is held.
    [[nodiscard]] GstFlowReturn drain();
    [[nodiscard]] GstClockTime time();

private:
    void onLoss() override;
    void onSource(bool isActive) override;

    void followBaseTime();
    [[nodiscard]] bool commitSilence(GstAudioRingBuffer* ring, std::size_t frames);
    [[nodiscard]] std::size_t commitAll(GstAudioRingBuffer* ring, const guint8* data,
                                        std::size_t frames);
    [[nodiscard]] GstElement* element() const { return GST_ELEMENT_CAST(mElement); }

    GstAudioBaseSink* const mElement;
    StreamValues mValues;  // of the stream
    std::unique_ptr<plugin::StreamName> mName;
    bool mIsFree = false;  // the current buffer has no time

    plugin::Mutex mLock;
    GstClockTime mBegin CABINAUDIO_GUARDED_BY(mLock) = 0;  // of the next stream's clock
    GstClockTime mBaseTime CABINAUDIO_GUARDED_BY(mLock) = GST_CLOCK_TIME_NONE;
    /// Created and destroyed under the lock, which others than the streaming thread need.
    std::unique_ptr<SinkStream> mStream;
};

}  // namespace cabinaudio::gstreamer
