// SPDX-License-Identifier: Apache-2.0
// play: plays a tone up to its last sample.
//
//     play [-v] [HZ [SECONDS]]        440 Hz, 1 s
//
// Exit status: 0 played, 1 failed, 2 wrong usage, 3 no server, or it went away or does not reply,
// 4 timed out.
#include <cabinaudio/client/ClientTrack.h>
#include <cabinaudio/link/LinkPolicy.h>

#include "log.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

namespace {

constexpr int RATE = 48000;  // frames per second; a frame is one sample here

/// The source of the sound. Replace it with your own.
class Tone {
public:
    Tone(double hz, double seconds)
        : mStep(2 * 3.14159265358979 * hz / RATE), mFrames(std::llround(seconds * RATE)) {}

    /// Fills the block. @return frames in it, 0 at the end
    std::size_t read(std::vector<std::int16_t>& block) {
        const auto count = std::min<long long>(static_cast<long long>(block.size()), mFrames - mAt);
        for (long long i = 0; i < count; ++i, ++mAt)
            block[static_cast<std::size_t>(i)] =
                static_cast<std::int16_t>(8000 * std::sin(mStep * static_cast<double>(mAt)));
        return static_cast<std::size_t>(count);
    }

private:
    double mStep;
    long long mFrames;
    long long mAt = 0;
};

/// Signals that the last frame has been played. finish() runs on the thread that delivers all
/// notifications of the stream, so it only signals and returns.
class End : public audio::QVAudioTrackCallback {
public:
    void finish(bool) override {
        const std::lock_guard<std::mutex> lock(mMutex);
        mHasCome = true;
        mChange.notify_all();
    }

    bool waitFor(std::chrono::milliseconds limit) {
        std::unique_lock<std::mutex> lock(mMutex);
        return mChange.wait_for(lock, limit, [this] { return mHasCome; });
    }

private:
    std::mutex mMutex;
    std::condition_variable mChange;
    bool mHasCome = false;
};

/// Reports a failure. @return the matching exit status
int failed(const char* what, int status) {
    // 1: the request got no reply. AUDIO_INVALID_STATE: the stream has no server or has lost it.
    const bool isAway = status == 1 || status == AUDIO_INVALID_STATE;
    const bool isLate = status == AUDIO_TIMED_OUT;
    std::fprintf(stderr, "play: cannot %s: %s (status %d)\n", what,
                 isAway   ? "no server, or it does not answer, or has refused or removed the stream"
                 : isLate ? "the server takes no data"
                          : "refused",
                 status);
    return isAway ? 3 : isLate ? 4 : 1;
}

int play(Tone& tone) {
    AudioFormatDesc format{};  // codec 0: linear PCM
    format.sampleRate = RATE;
    format.channelMap = AUDIO_CHANNEL_MAP_1;
    format.bitDepth = AUDIO_BIT_DEPTH_16;

    End end;  // outlives the track, which calls it
    // The name must be unique among live streams.
    const std::string name = "play-" + std::to_string(getpid());
    ClientTrack track(name.c_str(), AUDIO_TAG_AUXILIARY, format, 0);
    if (const int status = track.initCheck(); status != AUDIO_NO_ERROR)
        return failed("create the stream", status);
    track.setCallback(&end);
    if (const int status = track.start(); status != AUDIO_NO_ERROR)
        return failed("start the stream", status);

    // Write one period of the server at a time.
    constexpr int FRAME_BYTES = sizeof(std::int16_t);
    std::vector<std::int16_t> block(
        static_cast<std::size_t>(std::max(track.getPerLoopSize() / FRAME_BYTES, 1)));
    while (const std::size_t frames = tone.read(block)) {
        const int bytes = static_cast<int>(frames) * FRAME_BYTES;
        // A blocking write waits for space, which paces this loop.
        const int written =
            track.write(reinterpret_cast<unsigned char*>(block.data()), bytes, true);
        if (written != bytes) return failed("write", written);
    }

    // The ring still holds sound that has not been played: without this the end would be cut off.
    if (const int status = track.writeDone(); status != AUDIO_NO_ERROR)
        return failed("announce the end", status);
    const int queued = track.getTotalBufferSize() / FRAME_BYTES * 1000 / RATE;
    if (!end.waitFor(std::chrono::milliseconds(queued + 2000)))
        return failed("hear the end",
                      track.start() == AUDIO_INVALID_STATE ? AUDIO_INVALID_STATE : AUDIO_TIMED_OUT);
    track.stop();  // the result does not matter: everything has been played
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    hideLibraryLog(argc, argv);
    const double hz = argc > 1 ? std::atof(argv[1]) : 440;
    const double seconds = argc > 2 ? std::atof(argv[2]) : 1;
    if (argc > 3 || !(hz > 0 && hz < RATE / 2) || !(seconds > 0 && seconds <= 3600)) {
        std::fprintf(stderr, "usage: play [-v] [HZ [SECONDS]]\n");
        return 2;
    }
    // Limits every wait for a server that dies or hangs. Set before the first object is created.
    cabinaudio::setLinkPolicy({std::chrono::seconds(5), true, true});
    Tone tone(hz, seconds);
    const int status = play(tone);
    if (status == 0) std::printf("played %g s of %g Hz\n", seconds, hz);
    return status;
}
