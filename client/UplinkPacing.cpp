// SPDX-License-Identifier: Apache-2.0
#include "client/UplinkPacing.h"

namespace cabinaudio {

std::uint32_t UplinkPacing::due(std::uint64_t nowMs) {
    if (mBytesPerMs == 0) return 0;
    const std::uint64_t read = mReadBytes;
    // Deliberate: 32-bit arithmetic, so that a read ahead of the clock counts as a large backlog.
    const auto due = static_cast<std::uint32_t>((nowMs - mStartMs) * mBytesPerMs - read);
    if (due <= mMostBytes) return due;
    mStartMs = nowMs - (read + mMostBytes) / mBytesPerMs;
    return mMostBytes;
}

}  // namespace cabinaudio
