// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/check/CheckCommand.h"

#include <string>
#include <vector>

namespace cabinaudio::tool {

/// The checks of the command line, then those of the file: one a line, without empty lines and
/// lines that begin with '#'.
/// @throws Failure for a file that cannot be read, and with the place of a text that is no check
[[nodiscard]] std::vector<std::string> checkTexts(const CheckOptions& options);

/// Seconds of sound that the checks need. @throws Failure when one needs all of it
[[nodiscard]] double neededSeconds(const std::vector<std::string>& checks, unsigned rate);

}  // namespace cabinaudio::tool
