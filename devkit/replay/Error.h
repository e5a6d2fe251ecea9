// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace cabinaudio::replay {

/// A replay cannot be made; one line for people.
class Error : public std::runtime_error {
public:
    enum class Cause : std::uint8_t {
        Capture,   // cannot be read, or cannot be replayed
        NoServer,  // none listens
        Busy,      // another server listens
        Overdue,   // the application did not come
        System,
        Interrupted,
    };

    Error(Cause cause, const std::string& text) : std::runtime_error(text), mCause(cause) {}

    [[nodiscard]] Cause cause() const { return mCause; }

private:
    Cause mCause;
};

}  // namespace cabinaudio::replay
