// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace cabinaudio::test {

/// Removes the files of an instance that no process uses any more: the stand-in's physical memory
/// of all users and the rings of processes that were killed, and the directory of the diagnostics
/// settings in the user's configuration, which every client makes.
void removeInstanceFiles(const std::string& instance);

}  // namespace cabinaudio::test
