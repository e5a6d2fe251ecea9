// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>

namespace cabinaudio {

/// Counts the threads that use an object which another thread may delete. The owner first makes the
/// object unreachable (by clearing the pointer to it), then drains the gate, then deletes the
/// object. Users enter the gate before they load the pointer. The gate may be deleted with the
/// object, provided that no thread enters any more: a visitor does not touch the gate after it has
/// subtracted itself.
///
/// Entering, empty() and the first step of drain() are read-modify-writes of one word, so each
/// visitor enters either before the owner's step, and is counted, or after it. In the second case
/// the visitor acquires the owner's release, and finds the pointer cleared. A load by the owner
/// would not be enough: a processor that reorders may load the visitor's pointer before the visitor
/// is seen in the count.
class UseGate {
public:
    /// Stays in the gate for its lifetime.
    class Visit {
    public:
        explicit Visit(UseGate& gate) noexcept : mGate(gate) { mGate.enter(); }
        ~Visit() { mGate.leave(); }
        Visit(const Visit&) = delete;
        Visit& operator=(const Visit&) = delete;

    private:
        UseGate& mGate;
    };

    /// Waits, without a time limit, until no thread is in the gate. One thread at a time.
    void drain() noexcept;

    /// Whether no thread is in the gate right now.
    [[nodiscard]] bool empty() noexcept {
        return (mState.fetch_or(0, std::memory_order_acq_rel) & VISITORS) == 0;
    }

private:
    static constexpr std::uint32_t DRAINING = 0x80000000;
    static constexpr std::uint32_t VISITORS = ~DRAINING;

    /// Acquire: the pointer is loaded afterwards.
    void enter() noexcept { mState.fetch_add(1, std::memory_order_acquire); }
    /// Release: the object was used before. After the subtraction the gate may be deleted at any
    /// moment, so the owner is woken through a word outside the gate.
    void leave() noexcept {
        if (mState.fetch_sub(1, std::memory_order_release) == (DRAINING | 1)) wakeDrains();
    }
    static void wakeDrains() noexcept;

    static_assert(std::atomic<std::uint32_t>::is_always_lock_free);
    std::atomic<std::uint32_t> mState{0};  // number of visitors, and DRAINING while a drain waits
};

}  // namespace cabinaudio
