// SPDX-License-Identifier: Apache-2.0
#include "tests/shm/Stream.h"

#include "tests/support/ProcessState.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <vector>

namespace cabinaudio::test {
namespace {

constexpr std::uint32_t LONGEST = 4096;

/// The stream repeats itself after this many bytes, which no ring size divides.
constexpr std::uint32_t PERIOD = 65521;

/// One period, and enough behind it for a piece that starts at its end.
const unsigned char* streamAt(std::uint64_t position, unsigned seed) {
    static const std::vector<unsigned char> bytes = [seed] {
        std::mt19937 random(seed);
        std::vector<unsigned char> made(PERIOD + LONGEST);
        std::generate_n(made.begin(), PERIOD,
                        [&] { return static_cast<unsigned char>(random() >> 13); });
        std::copy_n(made.begin(), LONGEST, made.begin() + PERIOD);
        return made;
    }();
    return bytes.data() + position % PERIOD;
}

unsigned modeOf(const StreamPlan& plan, StreamEnd::Direction direction) {
    return (plan.creator ? SHM_MODE_CREATOR : 0) |
           (direction == StreamEnd::READS ? SHM_MODE_READER : SHM_MODE_WRITER);
}

}  // namespace

StreamEnd::StreamEnd(const StreamPlan& plan, Direction direction)
    : mPlan(plan),
      mDirection(direction),
      mRing(plan.type, plan.name.c_str(),
            plan.type == SHM_TYPE_PHYS_MEM ? addressOf(PHYSICAL) : nullptr, plan.size,
            modeOf(plan, direction), &mNotifications) {}

std::optional<std::uint64_t> StreamEnd::run() {
    if (!mRing.isUsable()) return {};
    if (!eventually([&] { return mRing.getTotalSize() == mPlan.size; }, BOUND)) return {};
    std::mt19937 random(mPlan.seed + static_cast<unsigned>(mDirection) + 1);
    while (mMoved < mPlan.bytes) {
        const std::uint64_t left = mPlan.bytes - mMoved;
        const auto count = static_cast<std::uint32_t>(
            std::min<std::uint64_t>(left, random() % (random() % 4 == 0 ? LONGEST : 200) + 1));
        const bool moved = mDirection == READS ? read(mMoved, count) : write(mMoved, count);
        if (!moved) return {};
    }
    return mChecksum;
}

bool StreamEnd::write(std::uint64_t at, std::uint32_t count) {
    const unsigned char* const bytes = streamAt(at, mPlan.seed);
    const auto written = static_cast<std::uint32_t>(mRing.write(bytes, count));
    account(bytes, written);
    if (written == count) return true;

    const unsigned heard = mNotifications.count();
    mRing.setWait(true);
    const bool free = mRing.getFreeSize() != 0 || mNotifications.waitFor(heard + 1);
    mRing.setWait(false);
    return free;
}

bool StreamEnd::read(std::uint64_t at, std::uint32_t count) {
    const unsigned heard = mNotifications.count();
    if (mRing.getUsedSize() == 0) return mNotifications.waitFor(heard + 1);
    if (count % 2 == 0) {
        unsigned char bytes[LONGEST];
        return take(at, bytes, static_cast<std::uint32_t>(mRing.read(bytes, count)));
    }
    audio_buffer_provider_t buffer = {};
    mRing.getNextBuffer(buffer);
    buffer.length = std::min(buffer.length, count);
    const bool right = take(at, buffer.data, buffer.length);
    mRing.updateReadOffset((mRing.getReadOffset() + buffer.length) % mRing.getTotalSize());
    return right;
}

bool StreamEnd::take(std::uint64_t at, const unsigned char* bytes, std::uint32_t count) {
    account(bytes, count);
    return std::memcmp(bytes, streamAt(at, mPlan.seed), count) == 0;
}

void StreamEnd::account(const unsigned char* bytes, std::uint32_t count) {
    for (std::uint32_t i = 0; i < count; ++i)
        mChecksum = (mChecksum ^ bytes[i]) * 0x100000001b3;
    mMoved += count;
}

}  // namespace cabinaudio::test
