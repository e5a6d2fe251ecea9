// SPDX-License-Identifier: Apache-2.0
//
// For programs in which the library's pauses would take nearly all of the time: those in front of
// retries, and those that keep writers without a source from spinning.
#include "tests/interpose/Operations.h"

#include <sched.h>

namespace cabinaudio::test {
namespace {

std::int32_t yield(std::uint64_t /*us*/) {
    sched_yield();
    return 0;
}

const Hooked NO_PAUSES(operations::sleep, yield);

}  // namespace
}  // namespace cabinaudio::test
