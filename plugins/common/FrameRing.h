// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace cabinaudio::plugin {

/// Sound between a program and a stream: the frames of the latest positions of a sound that has no
/// end. Position P and position P + capacity share their place. Not thread-safe.
class FrameRing {
public:
    /// @param silence  value of each byte of a silent sample
    FrameRing(std::size_t frames, std::size_t frameBytes, unsigned char silence);

    [[nodiscard]] std::size_t capacity() const { return mFrames; }

    /// Stores frames from `position` on; at most capacity().
    void put(std::uint64_t position, const unsigned char* data, std::size_t frames);
    /// Copies frames from `position` on; at most capacity().
    void get(std::uint64_t position, unsigned char* data, std::size_t frames);
    /// Overwrites frames with silence; at most capacity().
    void silence(std::uint64_t position, std::size_t frames);

    /// The bytes from `position` on as far as they lie in one piece, at most `frames` frames.
    [[nodiscard]] std::span<unsigned char> piece(std::uint64_t position, std::size_t frames);

private:
    std::size_t mFrames;
    std::size_t mFrameBytes;
    unsigned char mSilence;
    std::vector<unsigned char> mBytes;
};

}  // namespace cabinaudio::plugin
