// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/faults/Injector.h"

#include <functional>
#include <string>
#include <vector>

namespace cabinaudio::test {

/// An application's use of one class of the library, from its first call to its last.
struct Conversation {
    std::string name;
    bool mayWaitForever;  // for its server, without a policy
    std::function<std::string(Record& record, const Fault& fault)> run;
};

/// Each run begins and ends with nothing of the library left. It returns the deviations from the
/// documents: an unknown result, an exception, something that was not given back.
[[nodiscard]] const std::vector<Conversation>& conversations();

}  // namespace cabinaudio::test
