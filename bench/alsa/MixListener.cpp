// SPDX-License-Identifier: Apache-2.0
#include "bench/alsa/MixListener.h"

#include "bench/support/Clock.h"

#include <chrono>
#include <cstdlib>

namespace cabinaudio::bench {

namespace {

using namespace std::chrono_literals;

constexpr int THRESHOLD = 1000;
// A mark has passed when it was quiet for longer than a mark.
constexpr std::uint64_t QUIET_SAMPLES = 256;

}  // namespace

bool MixListener::isListening() {
    std::unique_lock lock(mMutex);
    return mChanged.wait_for(lock, 5s, [this] { return mHasHeard; });
}

void MixListener::forget() {
    const std::scoped_lock lock(mMutex);
    mMark.reset();
}

std::optional<std::uint64_t> MixListener::waitForMark(std::uint64_t limitNs) {
    std::unique_lock lock(mMutex);
    mChanged.wait_for(lock, std::chrono::nanoseconds(limitNs),
                      [this] { return mMark.has_value(); });
    return mMark;
}

void MixListener::heard(std::span<const std::int16_t> samples) {
    const std::uint64_t now = nowNs();
    const std::scoped_lock lock(mMutex);
    mHasHeard = true;
    for (const std::int16_t sample : samples) {
        if (std::abs(sample) < THRESHOLD) {
            ++mQuiet;
            continue;
        }
        if (mQuiet >= QUIET_SAMPLES && !mMark) mMark = now;
        mQuiet = 0;
    }
    mChanged.notify_all();
}

}  // namespace cabinaudio::bench
