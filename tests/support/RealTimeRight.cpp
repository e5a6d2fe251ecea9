// SPDX-License-Identifier: Apache-2.0
#include "tests/support/RealTimeRight.h"

#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cstdint>

namespace cabinaudio::test {
namespace {

constexpr std::uint32_t SYS_NICE_BIT = std::uint32_t{1} << CAP_SYS_NICE;
static_assert(CAP_SYS_NICE < 32);

}  // namespace

/// Each of the calls fails where there is nothing to give up.
void giveUpRealTime() {
    const struct rlimit none = {0, 0};
    setrlimit(RLIMIT_RTPRIO, &none);
    // Otherwise a program that root runs would have the capability again.
    prctl(PR_CAPBSET_DROP, CAP_SYS_NICE, 0, 0, 0);
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> sets = {};
    if (syscall(SYS_capget, &header, sets.data()) != 0) return;
    sets[0].effective &= ~SYS_NICE_BIT;
    sets[0].permitted &= ~SYS_NICE_BIT;
    sets[0].inheritable &= ~SYS_NICE_BIT;
    syscall(SYS_capset, &header, sets.data());
}

}  // namespace cabinaudio::test
