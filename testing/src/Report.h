// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/testing/Result.h>

#include <string>
#include <vector>

namespace cabinaudio::testing {

/// Errors of time in a server's report. @throws Failure when the text is no report
[[nodiscard]] std::vector<std::string> timeErrorsIn(const std::string& report);

/// @throws Failure when the text is no report
[[nodiscard]] std::vector<Change> changesIn(const std::string& report);

/// A playback stream in the server's state.
struct Playing {
    bool exists = false;
    bool isActive = false;
    unsigned long finishes = 0;  // how often it has been played to its end
};

/// @throws Failure when the text is no state
[[nodiscard]] Playing playingIn(const std::string& state, const std::string& stream);

}  // namespace cabinaudio::testing
