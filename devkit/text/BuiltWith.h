// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

/// The text behind a program's name and version for --version. Stateless functions; any thread.
namespace cabinaudio::text {

/// A library behind a feature of the program.
struct Library {
    const char* name;
    std::string version;  // of the loaded library where it tells it; empty: it does not tell it
};

/// Lines for the compiler and for each library. Starts with a line end and does not end with one.
[[nodiscard]] std::string builtWith(const std::vector<Library>& libraries);

/// Version of a library that a build may leave out: the result of its function without arguments
/// that returns text, or "left out" when no loaded library has the function.
[[nodiscard]] std::string versionOfOptional(const char* function);

/// The word that begins with the first digit: "1.2.0" of "libsndfile-1.2.0 (experimental)".
[[nodiscard]] std::string versionIn(std::string_view text);

/// "1.2.3"
[[nodiscard]] std::string dotted(unsigned major, unsigned minor, unsigned patch);

}  // namespace cabinaudio::text
