// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/faults/Injector.h"

#include <string>
#include <vector>

namespace cabinaudio::test {

/// What an application does with one class of the library, from its first call to its last.
struct Conversation {
    const char* name;
    bool hasPolicy;  // every wait for the server has an end
    std::string (*run)(Record& record, const Fault& fault);
};

/// Each run begins and ends with nothing of the library left. It gives what was not as documented:
/// a result that no operation has, an exception, something that was not given back; or nothing.
[[nodiscard]] const std::vector<Conversation>& conversations();

}  // namespace cabinaudio::test
