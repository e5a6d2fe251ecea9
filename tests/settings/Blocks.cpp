// SPDX-License-Identifier: Apache-2.0
//
// This program's versions of some exported operations come before the library's own.
#include "tests/settings/Blocks.h"

#include <cabinaudio/link/RemoteCall.h>

#include <dlfcn.h>

#include <atomic>
#include <cstring>

namespace {

std::atomic<std::size_t> gAsked{0};
std::atomic<std::uint32_t> gRequestSize{0};
std::atomic<std::uint32_t> gReplySize{0};
std::atomic<bool> gRefuses{false};
std::atomic<bool> gFreeingFails{false};
std::atomic<bool> gLosesReplies{false};

template <typename Function>
Function next(const char* symbol) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, symbol));
}

}  // namespace

std::int32_t RemoteCall::rcalloc(std::uint8_t** req, std::uint32_t reqLen, std::uint8_t** ret,
                                 std::uint32_t retLen) {
    using Rcalloc =
        std::int32_t (*)(RemoteCall*, std::uint8_t**, std::uint32_t, std::uint8_t**, std::uint32_t);
    static const auto real = next<Rcalloc>("_ZN10RemoteCall7rcallocEPPhjS1_j");
    ++gAsked;
    gRequestSize = reqLen;
    gReplySize = retLen;
    return gRefuses ? static_cast<std::int32_t>(AUDIO_BAD_SEQUENCE)
                    : real(this, req, reqLen, ret, retLen);
}

std::int32_t RemoteCall::call(std::uint8_t* req, std::uint32_t reqLen, std::uint8_t* ret,
                              std::uint32_t retLen, bool flag) {
    using Call = std::int32_t (*)(RemoteCall*, std::uint8_t*, std::uint32_t, std::uint8_t*,
                                  std::uint32_t, bool);
    static const auto real = next<Call>("_ZN10RemoteCall4callEPhjS0_jb");
    if (!gLosesReplies) return real(this, req, reqLen, ret, retLen, flag);
    std::memset(ret, 1, retLen);
    return 1;
}

std::int32_t RemoteCall::rcfree(void* req, void* ret) {
    using Rcfree = std::int32_t (*)(RemoteCall*, void*, void*);
    static const auto real = next<Rcfree>("_ZN10RemoteCall6rcfreeEPvS0_");
    const std::int32_t freed = real(this, req, ret);
    return gFreeingFails ? static_cast<std::int32_t>(AUDIO_BAD_SEQUENCE) : freed;
}

namespace cabinaudio::test {

Blocks::Blocks() {
    gAsked = 0;
}

Blocks::~Blocks() {
    refuse(false);
    failFreeing(false);
    loseReplies(false);
}

std::size_t Blocks::asked() const {
    return gAsked;
}

std::uint32_t Blocks::requestSize() const {
    return gRequestSize;
}

std::uint32_t Blocks::replySize() const {
    return gReplySize;
}

void Blocks::refuse(bool does) {
    gRefuses = does;
}

void Blocks::failFreeing(bool does) {
    gFreeingFails = does;
}

void Blocks::loseReplies(bool does) {
    gLosesReplies = does;
}

}  // namespace cabinaudio::test
