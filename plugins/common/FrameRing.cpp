// SPDX-License-Identifier: Apache-2.0
#include "plugins/common/FrameRing.h"

#include <algorithm>

namespace cabinaudio::plugin {

FrameRing::FrameRing(std::size_t frames, std::size_t frameBytes, unsigned char silence)
    : mFrames(frames),
      mFrameBytes(frameBytes),
      mSilence(silence),
      mBytes(frames * frameBytes, silence) {}

std::span<unsigned char> FrameRing::piece(std::uint64_t position, std::size_t frames) {
    const auto place = static_cast<std::size_t>(position % mFrames);
    const std::size_t count = std::min(frames, mFrames - place);
    return std::span(mBytes).subspan(place * mFrameBytes, count * mFrameBytes);
}

void FrameRing::put(std::uint64_t position, const unsigned char* data, std::size_t frames) {
    const auto first = piece(position, frames);
    const auto rest = std::span(mBytes).first(frames * mFrameBytes - first.size());
    std::copy_n(data, first.size(), first.begin());
    std::copy_n(data + first.size(), rest.size(), rest.begin());
}

void FrameRing::get(std::uint64_t position, unsigned char* data, std::size_t frames) {
    const auto first = piece(position, frames);
    const auto rest = std::span(mBytes).first(frames * mFrameBytes - first.size());
    std::copy(first.begin(), first.end(), data);
    std::copy(rest.begin(), rest.end(), data + first.size());
}

void FrameRing::silence(std::uint64_t position, std::size_t frames) {
    const auto first = piece(position, frames);
    std::fill(first.begin(), first.end(), mSilence);
    std::fill_n(mBytes.begin(), frames * mFrameBytes - first.size(), mSilence);
}

}  // namespace cabinaudio::plugin
