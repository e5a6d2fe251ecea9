// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

namespace cabinaudio::testing {

/// Whole contents of a file; empty when there is none.
[[nodiscard]] std::string contentsOf(const std::string& path);

/// The last lines of a text.
[[nodiscard]] std::string lastLinesOf(const std::string& text, std::size_t count);

/// A number as short as "%g" has it, in up to 9 digits.
[[nodiscard]] std::string shortNumber(double number);

/// A variable of the environment; "" when it is not set.
[[nodiscard]] std::string environmentValue(const char* name);

/// `what` and the reason that errno has.
[[nodiscard]] std::string withReason(const std::string& what);

}  // namespace cabinaudio::testing
