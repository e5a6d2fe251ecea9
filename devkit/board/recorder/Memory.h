// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>

namespace cabinaudio::recorder {

/// Copies without the C library: a sanitizer's memcpy() would take the recorder's own tables for
/// memory that threads share without a lock, because it does not know the recorder's locks.
inline void copyBytes(void* to, const void* from, std::size_t count) noexcept {
    auto* target = static_cast<unsigned char*>(to);
    const auto* source = static_cast<const unsigned char*>(from);
    for (std::size_t i = 0; i < count; ++i)
        target[i] = source[i];
}

/// The number at any address, in this machine's byte order.
inline std::uint32_t wordAt(const void* address) noexcept {
    std::uint32_t word = 0;
    copyBytes(&word, address, sizeof word);
    return word;
}

/// Restores errno: an application must not notice the recorder's calls.
class KeepErrno {
public:
    KeepErrno() noexcept : mError(errno) {}
    ~KeepErrno() { errno = mError; }
    KeepErrno(const KeepErrno&) = delete;
    KeepErrno& operator=(const KeepErrno&) = delete;

private:
    int mError;
};

}  // namespace cabinaudio::recorder
