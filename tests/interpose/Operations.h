// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/interpose/Interposed.h"

#include <cstdint>

class AudioCondition;
class AudioMutex;
class RemoteCall;
class ShareMemoryEx;

/// Operations of the library, also for the library's own calls. Members get their object first.
namespace cabinaudio::test::operations {

extern Interposed<std::uint64_t()> now;                   // AudioTime
extern Interposed<std::int32_t(std::uint64_t us)> sleep;  // AudioTime
extern Interposed<void(AudioCondition*, AudioMutex&)> wait;
extern Interposed<std::int32_t(AudioCondition*, AudioMutex&, std::uint64_t ms)> waitRelative;
extern Interposed<std::int32_t()> randn;  // audioMathRandn
extern Interposed<std::int32_t(RemoteCall*, std::uint8_t** req, std::uint32_t reqLen,
                               std::uint8_t** ret, std::uint32_t retLen)>
    rcalloc;
extern Interposed<std::int32_t(RemoteCall*, std::uint8_t* req, std::uint32_t reqLen,
                               std::uint8_t* ret, std::uint32_t retLen, bool flag)>
    call;
extern Interposed<std::int32_t(RemoteCall*, void* req, void* ret)> rcfree;
extern Interposed<int(ShareMemoryEx*, const unsigned char* src, unsigned len)> write;
extern Interposed<int(ShareMemoryEx*, unsigned char* dst, unsigned len)> read;
extern Interposed<void(ShareMemoryEx*, bool wait)> setWait;

}  // namespace cabinaudio::test::operations
