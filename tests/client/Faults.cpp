// SPDX-License-Identifier: Apache-2.0
//
// This program's versions of some exported operations come before the library's own.
#include "tests/client/Faults.h"

#include <cabinaudio/link/RemoteCall.h>
#include <cabinaudio/shm/ShareMemory.h>

#include "tests/support/RealCall.h"

#include <atomic>

namespace real = cabinaudio::test::real;

namespace {

std::atomic<bool> gNoBlocks{false};
std::atomic<bool> gFreeingFails{false};
std::atomic<bool> gRingTakesNothing{false};
std::atomic<bool> gRingGivesNothing{false};

}  // namespace

std::int32_t RemoteCall::rcalloc(std::uint8_t** req, std::uint32_t reqLen, std::uint8_t** ret,
                                 std::uint32_t retLen) {
    return gNoBlocks ? static_cast<std::int32_t>(AUDIO_NO_MEMORY)
                     : real::rcalloc(this, req, reqLen, ret, retLen);
}

std::int32_t RemoteCall::rcfree(void* req, void* ret) {
    const std::int32_t freed = real::rcfree(this, req, ret);
    return gFreeingFails ? static_cast<std::int32_t>(AUDIO_BAD_SEQUENCE) : freed;
}

int ShareMemoryEx::write(const unsigned char* src, unsigned len) {
    using Write = int (*)(ShareMemoryEx*, const unsigned char*, unsigned);
    static const auto function = real::next<Write>("_ZN13ShareMemoryEx5writeEPKhj");
    return gRingTakesNothing ? 0 : function(this, src, len);
}

int ShareMemoryEx::read(unsigned char* dst, unsigned len) {
    using Read = int (*)(ShareMemoryEx*, unsigned char*, unsigned);
    static const auto function = real::next<Read>("_ZN13ShareMemoryEx4readEPhj");
    return gRingGivesNothing ? 0 : function(this, dst, len);
}

namespace cabinaudio::test {

Faults::~Faults() {
    refuseBlocks(false);
    failFreeing(false);
    takeNothing(false);
    giveNothing(false);
}

void Faults::refuseBlocks(bool does) {
    gNoBlocks = does;
}

void Faults::failFreeing(bool does) {
    gFreeingFails = does;
}

void Faults::takeNothing(bool does) {
    gRingTakesNothing = does;
}

void Faults::giveNothing(bool does) {
    gRingGivesNothing = does;
}

}  // namespace cabinaudio::test
