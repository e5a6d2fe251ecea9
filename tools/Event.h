// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <initializer_list>

namespace cabinaudio::tool {

/// Set from any thread and from signal handlers, and stays set until it is cleared. Waited for by
/// descriptor, so that one wait can be for several.
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

/// Waits until one of the events has happened, for at most `bound`.
void waitForAny(std::initializer_list<const Event*> events, std::chrono::nanoseconds bound);

}  // namespace cabinaudio::tool
