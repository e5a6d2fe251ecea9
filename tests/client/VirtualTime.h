// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

namespace cabinaudio::test {

/// While it lives, the library's clock goes only as the test lets it, and the timed waits on
/// conditions of calls made through during() take no time: they move the clock instead.
class VirtualTime {
public:
    VirtualTime();
    ~VirtualTime();
    VirtualTime(const VirtualTime&) = delete;
    VirtualTime& operator=(const VirtualTime&) = delete;

    /// Lets milliseconds go by.
    void pass(std::uint64_t ms);
    [[nodiscard]] std::uint64_t now() const;

    /// Every wait that times out does so this much late.
    void wakeLate(std::uint64_t ms);
    /// The next wait does not time out but is woken after `ms`, by this event or just so. The event
    /// runs without the wait's mutex.
    void wakeAfter(std::uint64_t ms, std::function<void()> event = {});
    /// The next wait times out, and this event has come just before.
    void timeOutAfter(std::function<void()> event);

    /// Makes the call, whose waits take no time.
    int during(const std::function<int()>& call);

    /// Time-outs, in milliseconds, of the waits of those calls since the last time.
    [[nodiscard]] std::vector<std::uint64_t> takeWaits();
};

/// The numbers that the noise generator has given out since the last time, in order.
[[nodiscard]] std::vector<std::int32_t> takeNoise();

}  // namespace cabinaudio::test
