// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

/// Standard output of our programs. A full disk or a closed pipe must not look like success, so
/// each program asks for a fault before it ends.
namespace cabinaudio::text {

/// Prints on stdout, and flushes. Any thread may call it.
void print(std::string_view text);

/// Flushes stdout, and keeps the reason of a failure for outputFault().
void flushOutput();

/// @return whether a write to stdout has failed so far
[[nodiscard]] bool outputIsLost();

/// Flushes stdout. @return why a part of the output is lost; empty if all of it was written
[[nodiscard]] std::string outputFault();

}  // namespace cabinaudio::text
