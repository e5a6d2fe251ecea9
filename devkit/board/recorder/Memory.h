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
    for (; count >= sizeof(std::size_t); count -= sizeof(std::size_t)) {
        std::size_t word;
        __builtin_memcpy(&word, source, sizeof word);
        asm("" : "+r"(word));  // keeps the compiler from making the loop a call of memcpy()
        __builtin_memcpy(target, &word, sizeof word);
        source += sizeof word;
        target += sizeof word;
    }
    for (; count > 0; --count) {
        unsigned byte = *source++;
        asm("" : "+r"(byte));
        *target++ = static_cast<unsigned char>(byte);
    }
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
