// SPDX-License-Identifier: Apache-2.0
#include "devkit/replay/SoundFeed.h"

#include <algorithm>

namespace cabinaudio::replay {

SoundFeed::SoundFeed(const Conversation& conversation, std::size_t connection)
    : mConversation(&conversation) {
    for (const std::size_t index : conversation.connections[connection].steps) {
        const Step& step = conversation.steps[index];
        if (step.kind != Step::Kind::Sound || step.sound == 0) continue;
        mParts.push_back({index, mTotal});
        mTotal += step.sound;
    }
}

std::uint64_t SoundFeed::before(std::size_t step) const {
    const auto next =
        std::lower_bound(mParts.begin(), mParts.end(), step,
                         [](const Part& part, std::size_t wanted) { return part.step < wanted; });
    return next != mParts.end() ? next->begin : mTotal;
}

void SoundFeed::allowBefore(std::size_t step) {
    mAllowed = std::max(mAllowed, before(step));
}

void SoundFeed::allowAll() {
    mAllowed = mTotal;
}

const SoundFeed::Part* SoundFeed::partAt(std::uint64_t position) const {
    const auto after =
        std::upper_bound(mParts.begin(), mParts.end(), position,
                         [](std::uint64_t at, const Part& part) { return at < part.begin; });
    if (after == mParts.begin() || position >= mTotal) return nullptr;
    return &*std::prev(after);
}

std::size_t SoundFeed::due() const {
    std::uint64_t end = mMoved;
    for (const Part* part = partAt(mMoved); part != nullptr && end < mAllowed; part = partAt(end)) {
        if (stepOf(*part).timeNs > mTimeNs) break;
        end = std::min(endOf(*part), mAllowed);
        if (mTimeNs == UINT64_MAX) end = mAllowed;
    }
    return static_cast<std::size_t>(end - mMoved);
}

std::uint64_t SoundFeed::nextTime() const {
    if (due() > 0 || isDone()) return UINT64_MAX;
    const Part* const part = partAt(mMoved);
    return part != nullptr ? stepOf(*part).timeNs : UINT64_MAX;
}

void SoundFeed::skip() {
    mMoved = std::max(mMoved, mAllowed);
}

std::size_t SoundFeed::piece() const {
    const Part* const part = partAt(mMoved);
    return part != nullptr ? static_cast<std::size_t>(endOf(*part) - mMoved) : 0;
}

std::span<const std::uint8_t> SoundFeed::next(std::size_t size) const {
    const Part* const part = partAt(mMoved);
    if (part == nullptr || stepOf(*part).bytes.empty()) return {};
    const auto begin = static_cast<std::size_t>(mMoved - part->begin);
    const std::span<const std::uint8_t> bytes(stepOf(*part).bytes);
    return bytes.subspan(begin, std::min(size, bytes.size() - begin));
}

}  // namespace cabinaudio::replay
