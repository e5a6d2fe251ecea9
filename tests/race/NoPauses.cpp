// SPDX-License-Identifier: Apache-2.0
//
// The pauses that keep writers without a source from spinning would make up most of a run. This
// program's AudioTime::sleep() comes before the library's.
#include <cabinaudio/foundation/AudioTime.h>

#include <thread>

std::int32_t AudioTime::sleep(std::uint64_t /*us*/) {
    std::this_thread::yield();
    return 0;
}
