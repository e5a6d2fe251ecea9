// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/testing/Failure.h>

#include <string>

namespace kit {

/// What a function throws.
template <typename Function>
[[nodiscard]] std::string messageOf(const Function& function) {
    try {
        function();
    } catch (const cabinaudio::testing::Failure& failure) {
        return failure.what();
    }
    return "nothing was thrown";
}

}  // namespace kit
