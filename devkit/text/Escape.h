// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace cabinaudio::text {

/// Escapes a name of a stream or source, which may contain any bytes, so that it is one word for a
/// shell and for xargs, and contains no '=', ',', wildcard or terminal control character: such
/// bytes become '%' and two hex digits.
[[nodiscard]] std::string escaped(const std::string& text);

/// The original text. A '%' without two hex digits after it stays.
[[nodiscard]] std::string unescaped(const std::string& word);

}  // namespace cabinaudio::text
