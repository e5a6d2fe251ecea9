// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unistd.h>

#include <utility>

namespace cabinaudio::testing {

/// Owns a file descriptor.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int number) : mNumber(number) {}
    ~Descriptor() { reset(); }
    Descriptor(Descriptor&& other) noexcept : mNumber(std::exchange(other.mNumber, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        if (this != &other) {
            reset();
            mNumber = std::exchange(other.mNumber, -1);
        }
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    [[nodiscard]] int get() const { return mNumber; }
    explicit operator bool() const { return mNumber >= 0; }
    void reset() {
        if (mNumber >= 0) close(mNumber);
        mNumber = -1;
    }

private:
    int mNumber = -1;
};

}  // namespace cabinaudio::testing
