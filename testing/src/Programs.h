// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace cabinaudio::testing {

/// A program of the development kit.
/// @param variable  of the environment, which may have its path
/// @param name  otherwise looked up in PATH
/// @throws Failure when there is none
[[nodiscard]] std::string findProgram(const char* variable, const std::string& name);

[[nodiscard]] std::string serverProgram();
[[nodiscard]] std::string launcherProgram();
[[nodiscard]] std::string toolProgram();

}  // namespace cabinaudio::testing
