// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <initializer_list>

namespace cabinaudio::tool {

/// May be set from any thread and from signal handlers; stays set until cleared. Has a descriptor,
/// so that one wait can cover several events.
class Event {
public:
    Event();
    ~Event();
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    void set() const noexcept;
    void clear() const noexcept;
    [[nodiscard]] bool isSet() const noexcept;
    [[nodiscard]] int descriptor() const noexcept { return mDescriptor; }

private:
    int mDescriptor;
};

/// Waits until one of the events is set, at most for `bound`.
void waitForAny(std::initializer_list<const Event*> events, std::chrono::nanoseconds bound);

}  // namespace cabinaudio::tool
