// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/ScriptedServer.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <stdexcept>

namespace cabinaudio::test {

/// A buffer behind whose last byte memory ends: the first byte written there ends the process.
/// Filled with FILLER.
class GuardedBuffer {
public:
    static constexpr unsigned char FILLER = 0xee;

    explicit GuardedBuffer(std::size_t size) : mSize(size) {
        const auto page = static_cast<std::size_t>(getpagesize());
        mLength = (size + page - 1) / page * page + page;
        void* const at =
            mmap(nullptr, mLength, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (at == MAP_FAILED) throw std::runtime_error("mmap");
        mPages = static_cast<unsigned char*>(at);
        if (mprotect(mPages + mLength - page, page, PROT_NONE) != 0)
            throw std::runtime_error("mprotect");
        std::memset(data(), FILLER, size);
    }
    ~GuardedBuffer() { munmap(mPages, mLength); }
    GuardedBuffer(const GuardedBuffer&) = delete;
    GuardedBuffer& operator=(const GuardedBuffer&) = delete;

    [[nodiscard]] unsigned char* data() const {
        return mPages + mLength - static_cast<std::size_t>(getpagesize()) - mSize;
    }
    [[nodiscard]] std::size_t size() const { return mSize; }
    [[nodiscard]] Bytes bytes() const { return {data(), data() + mSize}; }

private:
    unsigned char* mPages = nullptr;
    std::size_t mSize;
    std::size_t mLength = 0;
};

}  // namespace cabinaudio::test
