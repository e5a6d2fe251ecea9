// SPDX-License-Identifier: Apache-2.0
#include "tests/interpose/Operations.h"

#include <cabinaudio/foundation/AudioCondition.h>
#include <cabinaudio/foundation/AudioMath.h>
#include <cabinaudio/foundation/AudioMutex.h>
#include <cabinaudio/foundation/AudioTime.h>
#include <cabinaudio/link/RemoteCall.h>
#include <cabinaudio/shm/ShareMemory.h>

namespace cabinaudio::test::operations {
namespace {

/// The symbol of a function with a 64-bit integer, which is a long or a long long.
constexpr const char* byLong(const char* ofLong, const char* ofLongLong) {
    return std::is_same_v<std::uint64_t, unsigned long> ? ofLong : ofLongLong;
}

}  // namespace

constinit decltype(now) now{"_ZN9AudioTime3nowEv"};
constinit decltype(sleep) sleep{byLong("_ZN9AudioTime5sleepEm", "_ZN9AudioTime5sleepEy")};
constinit decltype(wait) wait{"_ZN14AudioCondition4waitER10AudioMutex"};
constinit decltype(waitRelative) waitRelative{
    byLong("_ZN14AudioCondition12waitRelativeER10AudioMutexm",
           "_ZN14AudioCondition12waitRelativeER10AudioMutexy")};
constinit decltype(randn) randn{"_Z14audioMathRandnv"};
constinit decltype(rcalloc) rcalloc{"_ZN10RemoteCall7rcallocEPPhjS1_j"};
constinit decltype(call) call{"_ZN10RemoteCall4callEPhjS0_jb"};
constinit decltype(rcfree) rcfree{"_ZN10RemoteCall6rcfreeEPvS0_"};
constinit decltype(write) write{"_ZN13ShareMemoryEx5writeEPKhj"};
constinit decltype(read) read{"_ZN13ShareMemoryEx4readEPhj"};
constinit decltype(setWait) setWait{"_ZN13ShareMemoryEx7setWaitEb"};

}  // namespace cabinaudio::test::operations

namespace operations = cabinaudio::test::operations;

std::uint64_t AudioTime::now() {
    return operations::now();
}
std::int32_t AudioTime::sleep(std::uint64_t us) {
    return operations::sleep(us);
}
void AudioCondition::wait(AudioMutex& mutex) {
    operations::wait(this, mutex);
}
std::int32_t AudioCondition::waitRelative(AudioMutex& mutex, std::uint64_t ms) {
    return operations::waitRelative(this, mutex, ms);
}
std::int32_t audioMathRandn() {
    return operations::randn();
}
std::int32_t RemoteCall::rcalloc(std::uint8_t** req, std::uint32_t reqLen, std::uint8_t** ret,
                                 std::uint32_t retLen) {
    return operations::rcalloc(this, req, reqLen, ret, retLen);
}
std::int32_t RemoteCall::call(std::uint8_t* req, std::uint32_t reqLen, std::uint8_t* ret,
                              std::uint32_t retLen, bool flag) {
    return operations::call(this, req, reqLen, ret, retLen, flag);
}
std::int32_t RemoteCall::rcfree(void* req, void* ret) {
    return operations::rcfree(this, req, ret);
}
int ShareMemoryEx::write(const unsigned char* src, unsigned len) {
    return operations::write(this, src, len);
}
int ShareMemoryEx::read(unsigned char* dst, unsigned len) {
    return operations::read(this, dst, len);
}
void ShareMemoryEx::setWait(bool wait) {
    operations::setWait(this, wait);
}
