// SPDX-License-Identifier: Apache-2.0
#include "tests/settings/Blocks.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include "tests/interpose/Operations.h"

#include <atomic>
#include <cstring>
#include <utility>

namespace cabinaudio::test {
namespace {

std::atomic<std::size_t> gAsked{0};
std::atomic<std::uint32_t> gRequestSize{0};
std::atomic<std::uint32_t> gReplySize{0};
std::atomic<bool> gRefuses{false};
std::atomic<bool> gFreeingFails{false};
std::function<void()> gLook;  // set while no operation is under way

std::int32_t countBlocks(RemoteCall* rc, std::uint8_t** req, std::uint32_t reqLen,
                         std::uint8_t** ret, std::uint32_t retLen) {
    ++gAsked;
    gRequestSize = reqLen;
    gReplySize = retLen;
    if (gRefuses) return AUDIO_BAD_SEQUENCE;
    return operations::rcalloc.real(rc, req, reqLen, ret, retLen);
}

std::int32_t loseReply(RemoteCall*, std::uint8_t*, std::uint32_t, std::uint8_t* ret,
                       std::uint32_t retLen, bool) {
    std::memset(ret, 1, retLen);
    return 1;
}

std::int32_t lookAndFree(RemoteCall* rc, void* req, void* ret) {
    if (gLook) gLook();
    const std::int32_t freed = operations::rcfree.real(rc, req, ret);
    return gFreeingFails ? std::int32_t{AUDIO_BAD_SEQUENCE} : freed;
}

}  // namespace

Blocks::Blocks() {
    gAsked = 0;
    operations::rcalloc.set(countBlocks);
    operations::rcfree.set(lookAndFree);
}

Blocks::~Blocks() {
    operations::rcalloc.set(nullptr);
    operations::rcfree.set(nullptr);
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
    operations::call.set(does ? loseReply : nullptr);
}

void Blocks::whenFreeing(std::function<void()> look) {
    gLook = std::move(look);
}

}  // namespace cabinaudio::test
