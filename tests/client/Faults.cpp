// SPDX-License-Identifier: Apache-2.0
#include "tests/client/Faults.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include "tests/interpose/Operations.h"

namespace cabinaudio::test {
namespace {

std::int32_t refuse(RemoteCall*, std::uint8_t**, std::uint32_t, std::uint8_t**, std::uint32_t) {
    return AUDIO_NO_MEMORY;
}

std::int32_t freeAndFail(RemoteCall* rc, void* req, void* ret) {
    (void)operations::rcfree.real(rc, req, ret);
    return AUDIO_BAD_SEQUENCE;
}

int takeNone(ShareMemoryEx*, const unsigned char*, unsigned) {
    return 0;
}

int giveNone(ShareMemoryEx*, unsigned char*, unsigned) {
    return 0;
}

}  // namespace

Faults::~Faults() {
    refuseBlocks(false);
    failFreeing(false);
    takeNothing(false);
    giveNothing(false);
}

void Faults::refuseBlocks(bool does) {
    operations::rcalloc.set(does ? refuse : nullptr);
}

void Faults::failFreeing(bool does) {
    operations::rcfree.set(does ? freeAndFail : nullptr);
}

void Faults::takeNothing(bool does) {
    operations::write.set(does ? takeNone : nullptr);
}

void Faults::giveNothing(bool does) {
    operations::read.set(does ? giveNone : nullptr);
}

}  // namespace cabinaudio::test
