// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unistd.h>

#include <utility>

namespace cabinaudio::run {

/// Owns a file descriptor; -1 when it owns none.
class Descriptor {
public:
    explicit Descriptor(int descriptor = -1) noexcept : mDescriptor(descriptor) {}
    Descriptor(Descriptor&& other) noexcept : mDescriptor(std::exchange(other.mDescriptor, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(mDescriptor, other.mDescriptor);
        return *this;
    }
    ~Descriptor() { close(); }

    int get() const noexcept { return mDescriptor; }
    explicit operator bool() const noexcept { return mDescriptor >= 0; }

    void close() noexcept {
        if (mDescriptor >= 0) ::close(std::exchange(mDescriptor, -1));
    }

private:
    int mDescriptor;
};

}  // namespace cabinaudio::run
