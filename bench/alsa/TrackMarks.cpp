// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/client/ClientTrack.h>

#include "bench/alsa/Marks.h"
#include "bench/support/Clock.h"

#include <unistd.h>

#include <cstdio>
#include <stdexcept>

namespace cabinaudio::bench {

namespace {

constexpr int FRAME_BYTES = CHANNELS * sizeof(std::int16_t);
constexpr useconds_t PAUSE_US = 1000;

/// A running stream of the bench's sound.
struct Track {
    Track() {
        if (track.initCheck() != AUDIO_NO_ERROR || track.start() != AUDIO_NO_ERROR)
            throw std::runtime_error("no stream");
    }
    ~Track() { track.stop(); }

    static AudioFormatDesc pcm() {
        AudioFormatDesc format{};
        format.sampleRate = RATE;
        return format;
    }
    /// Frames in the ring. One byte of it stays free.
    int queued() { return (track.getTotalBufferSize() - 1 - track.bytesFree()) / FRAME_BYTES; }

    AudioFormatDesc format = pcm();
    ClientTrack track{"bench-marks", AUDIO_TAG_ALTERNATIVE, format, 0};
};

}  // namespace

void writeMarksToTrack(const Buffer& buffer) {
    std::vector<std::int16_t> quiet = pieceOf(buffer.period, false);
    std::vector<std::int16_t> marked = pieceOf(buffer.period, true);
    const auto period = static_cast<int>(buffer.period);
    Track stream;
    for (Orders orders; !orders.isOver;) {
        const int queued = stream.queued();
        if (queued + period > static_cast<int>(buffer.frames)) {
            usleep(PAUSE_US);
            continue;
        }
        const bool isMarked = orders.take();
        const std::uint64_t now = nowNs();
        void* const samples = (isMarked ? marked : quiet).data();
        const int length = period * FRAME_BYTES;
        if (stream.track.write(static_cast<unsigned char*>(samples), length, false) != length)
            throw std::runtime_error("the stream does not take a period");
        if (isMarked) reportMark(now, queued);
    }
    std::printf("0\n");
}

void playToTrack(unsigned frames) {
    Track stream;
    const int period = stream.track.getPerLoopSize();
    std::vector<unsigned char> silence(static_cast<std::size_t>(period));
    for (int left = static_cast<int>(frames) * FRAME_BYTES; left > 0; left -= period)
        if (stream.track.write(silence.data(), period, true) != period)
            throw std::runtime_error("the stream has ended");
}

}  // namespace cabinaudio::bench
