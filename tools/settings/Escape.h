// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace cabinaudio::tool {

/// Names of streams and sources may hold anything. They are written so that they are one word of a
/// shell and of xargs, hold no '=' or ',', no wildcard and nothing that a terminal would obey: such
/// bytes become '%' and two hex digits.
[[nodiscard]] std::string escaped(const std::string& text);

/// The text itself. A '%' without two hex digits behind it stands for itself.
[[nodiscard]] std::string unescaped(const std::string& word);

}  // namespace cabinaudio::tool
