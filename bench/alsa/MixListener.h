// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <span>

namespace cabinaudio::bench {

/// Hears the mix of a server and notes when marks are in it. A connection of a server calls heard()
/// from a thread of its own.
class MixListener {
public:
    MixListener() = default;
    virtual ~MixListener() = default;
    MixListener(const MixListener&) = delete;
    MixListener& operator=(const MixListener&) = delete;

    /// Whether the mix arrives, within 5 s.
    [[nodiscard]] bool isListening();
    /// Forgets marks that were heard before.
    void forget();
    /// @return the time at which the next mark arrived, ns; empty when none came within the limit
    [[nodiscard]] std::optional<std::uint64_t> waitForMark(std::uint64_t limitNs);

protected:
    /// A piece of the mix has arrived now.
    void heard(std::span<const std::int16_t> samples);

private:
    std::mutex mMutex;
    std::condition_variable mChanged;
    std::optional<std::uint64_t> mMark;
    std::uint64_t mQuiet = 0;  // samples since the last loud one
    bool mHasHeard = false;
};

}  // namespace cabinaudio::bench
