// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/taps/Tap.h"

#include "devkit/server/base/Log.h"

#include <utility>

namespace cabinaudio::server {

Tap::Tap(EventLoop& loop, UniqueFd socket, Admitted admitted, Wanted wanted, std::size_t bound,
         std::function<void()> onGone)
    : mOutflow(loop, std::move(socket), std::move(admitted), std::move(onGone)),
      mWanted(std::move(wanted)),
      mBound(bound) {}

void Tap::answer(const std::string& line) {
    const std::string whole = line + "\n";
    mOutflow.append(whole.data(), whole.size());
    mOutflow.send();
}

void Tap::add(std::span<const float> frames, unsigned channels) {
    if (isGone() || mIsFinished) return;
    const std::size_t count = frames.size() / channels;
    encodeSamples(mWanted.type, selected(frames, channels), mEncoded);
    if (queuedBytes() + mEncoded.size() > mBound) {
        lose(count);
        return;
    }
    reportLoss();
    append(TapRecord::Samples, static_cast<std::uint32_t>(mEncoded.size()));
    mOutflow.append(mEncoded.data(), mEncoded.size());
    mOutflow.send();
}

void Tap::begin(const PlaybackStream& source) {
    mSource = &source;
    append(TapRecord::Begun, 0);
    mOutflow.send();
}

void Tap::finish(TapRecord kind) {
    if (std::exchange(mIsFinished, true)) return;
    mSource = nullptr;
    reportLoss();
    append(kind, 0);
    mOutflow.send();
}

std::span<const float> Tap::selected(std::span<const float> frames, unsigned channels) {
    if (!mWanted.channel) return frames;
    mChannel.clear();
    for (std::size_t i = *mWanted.channel; i < frames.size(); i += channels)
        mChannel.push_back(frames[i]);
    return mChannel;
}

void Tap::lose(std::size_t frames) {
    if (mLostFrames == 0)
        log::warning("a listener does not read its sound; what does not fit is lost");
    mLostFrames += frames;
    mUnreported += static_cast<std::uint32_t>(frames);
}

void Tap::reportLoss() {
    if (mUnreported != 0) append(TapRecord::Lost, std::exchange(mUnreported, 0));
}

void Tap::append(TapRecord kind, std::uint32_t count) {
    const TapHeader header = {kind, count};
    mOutflow.append(&header, sizeof header);
}

}  // namespace cabinaudio::server
