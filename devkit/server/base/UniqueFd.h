// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <unistd.h>

#include <utility>

namespace cabinaudio::server {

/// Owns a file descriptor; -1 when it owns none.
class UniqueFd {
public:
    explicit UniqueFd(int fd = -1) noexcept : mFd(fd) {}
    UniqueFd(UniqueFd&& other) noexcept : mFd(std::exchange(other.mFd, -1)) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        std::swap(mFd, other.mFd);
        return *this;
    }
    ~UniqueFd() { reset(); }

    [[nodiscard]] int get() const noexcept { return mFd; }
    explicit operator bool() const noexcept { return mFd >= 0; }

    void reset() noexcept {
        if (mFd >= 0) close(std::exchange(mFd, -1));
    }

private:
    int mFd;
};

}  // namespace cabinaudio::server
