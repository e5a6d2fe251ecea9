// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/ProcessState.h"

namespace cabinaudio::test {

/// As leavesNoMoreThan(), but without the names of objects, which a killed server leaves behind,
/// and with exactly as many descriptors and mappings.
[[nodiscard]] inline bool leavesNothingButNames(const ProcessState& before) {
    return eventually([&before] {
        const ProcessState now = ProcessState::now();
        return now.threads <= before.threads && now.descriptors == before.descriptors &&
               now.sharedMappings == before.sharedMappings;
    });
}

}  // namespace cabinaudio::test
