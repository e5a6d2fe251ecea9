// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioTrack.h>
#include <cabinaudio/foundation/AudioStatus.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <vector>

namespace cabinaudio::test {

/// A stream with a ring of 24 frames of one byte, and a server whose every step the test takes.
class FakeTrack : public audio::QVAudioTrack {
public:
    static constexpr int RING_BYTES = 25;  // one byte always stays free

    int clear() override {
        if (isActive || isGone) return AUDIO_INVALID_STATE;
        ring.clear();
        return AUDIO_NO_ERROR;
    }
    int start() override {
        ++starts;
        if (whileStarting) whileStarting();
        if (isGone) return AUDIO_INVALID_STATE;
        isActive = true;
        return AUDIO_NO_ERROR;
    }
    int stop() override {
        if (isGone) return AUDIO_INVALID_STATE;
        isActive = isWriteDone = false;
        return AUDIO_NO_ERROR;
    }
    int setCallback(audio::QVAudioTrackCallback* given) override {
        callback = given;
        return AUDIO_NO_ERROR;
    }
    int setVolume(int) override { return 0; }
    int getVolume() override { return 0; }
    int getPerLoopSize() override { return 8; }
    int getTotalBufferSize() override { return hasRing ? RING_BYTES : 0; }
    int bytesFree() override {
        return hasRing ? RING_BYTES - 1 - static_cast<int>(ring.size()) : 0;
    }
    int getOutPutSamples(unsigned long long*, long long*) override { return 0; }
    int duck(int) override { return 0; }
    int unduck() override { return 0; }
    int write(unsigned char* buffer, int bytes, bool isBlock) override {
        hasBlocked = hasBlocked || isBlock;
        if (!isActive || isGone) return AUDIO_INVALID_STATE;
        const int count = std::min(bytes, FakeTrack::bytesFree());
        ring.insert(ring.end(), buffer, buffer + count);
        return count;
    }
    int writeDone() override {
        if (!hasRing) return AUDIO_INVALID_STATE;
        isWriteDone = true;
        return AUDIO_NO_ERROR;
    }
    int setKeyShift(float) override { return 0; }

    /// The server takes so many bytes, as far as they are there.
    void play(std::size_t bytes) {
        const std::size_t count = std::min(bytes, ring.size());
        const auto end = ring.begin() + static_cast<std::ptrdiff_t>(count);
        heard.insert(heard.end(), ring.begin(), end);
        ring.erase(ring.begin(), end);
    }

    bool isActive = false;
    bool isGone = false;
    bool hasRing = true;
    bool isWriteDone = false;
    bool hasBlocked = false;  // a write was told to wait
    int starts = 0;
    std::function<void()> whileStarting;  // other threads' deeds
    std::vector<unsigned char> ring;
    std::vector<unsigned char> heard;
    audio::QVAudioTrackCallback* callback = nullptr;
};

}  // namespace cabinaudio::test
