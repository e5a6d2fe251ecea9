// SPDX-License-Identifier: Apache-2.0
//
// This program's versions of some exported operations come before the library's own.
#include "tests/settings/Blocks.h"

#include <cabinaudio/link/RemoteCall.h>

#include "tests/support/RealCall.h"

#include <atomic>
#include <cstring>
#include <utility>

namespace real = cabinaudio::test::real;

namespace {

std::atomic<std::size_t> gAsked{0};
std::atomic<std::uint32_t> gRequestSize{0};
std::atomic<std::uint32_t> gReplySize{0};
std::atomic<bool> gRefuses{false};
std::atomic<bool> gFreeingFails{false};
std::atomic<bool> gLosesReplies{false};
std::function<void()> gLook;  // set while no operation is under way

}  // namespace

std::int32_t RemoteCall::rcalloc(std::uint8_t** req, std::uint32_t reqLen, std::uint8_t** ret,
                                 std::uint32_t retLen) {
    ++gAsked;
    gRequestSize = reqLen;
    gReplySize = retLen;
    return gRefuses ? static_cast<std::int32_t>(AUDIO_BAD_SEQUENCE)
                    : real::rcalloc(this, req, reqLen, ret, retLen);
}

std::int32_t RemoteCall::call(std::uint8_t* req, std::uint32_t reqLen, std::uint8_t* ret,
                              std::uint32_t retLen, bool flag) {
    using Call = std::int32_t (*)(RemoteCall*, std::uint8_t*, std::uint32_t, std::uint8_t*,
                                  std::uint32_t, bool);
    static const auto function = real::next<Call>("_ZN10RemoteCall4callEPhjS0_jb");
    if (!gLosesReplies) return function(this, req, reqLen, ret, retLen, flag);
    std::memset(ret, 1, retLen);
    return 1;
}

std::int32_t RemoteCall::rcfree(void* req, void* ret) {
    if (gLook) gLook();
    const std::int32_t freed = real::rcfree(this, req, ret);
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
    whenFreeing(nullptr);
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

void Blocks::whenFreeing(std::function<void()> look) {
    gLook = std::move(look);
}

}  // namespace cabinaudio::test
