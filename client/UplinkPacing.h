// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>

namespace cabinaudio {

/// Quotient, rounded up.
constexpr std::uint64_t ceilDiv(std::uint64_t dividend, std::uint64_t divisor) {
    return (dividend + divisor - 1) / divisor;
}

/// The pace of an uplink without live data: silence becomes due as time passes, at the rate of the
/// server's data. A view of the record's fields, used with the record's lock held.
class UplinkPacing {
public:
    /// @param bytesPerMs  0: the server reports no pace, and nothing becomes due
    /// @param mostBytes   most bytes that can be due at a time
    /// @param readBytes   total bytes read
    /// @param startMs     origin of the pace; moves on when time is dropped
    UplinkPacing(std::uint32_t bytesPerMs, std::uint32_t mostBytes,
                 const std::atomic<std::uint64_t>& readBytes, std::atomic<std::uint64_t>& startMs)
        : mBytesPerMs(bytesPerMs),
          mMostBytes(mostBytes),
          mReadBytes(readBytes),
          mStartMs(startMs) {}

    /// Bytes that are due. Once more than the maximum is due, the excess time is dropped.
    std::uint32_t due(std::uint64_t nowMs);

    /// Milliseconds until `moreBytes` more bytes are due.
    [[nodiscard]] std::uint64_t msUntil(std::uint32_t moreBytes) const {
        return mBytesPerMs != 0 ? ceilDiv(moreBytes, mBytesPerMs) : UNPACED_WAIT_MS;
    }

private:
    static constexpr std::uint64_t UNPACED_WAIT_MS = 16;

    std::uint32_t mBytesPerMs;
    std::uint32_t mMostBytes;
    const std::atomic<std::uint64_t>& mReadBytes;
    std::atomic<std::uint64_t>& mStartMs;
};

}  // namespace cabinaudio
