// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/board/run/Command.h"

#include <chrono>
#include <string>
#include <vector>

namespace cabinaudio::run {

/// Objects that the loader would load into the program. Found without running its code.
struct LoadedObjects {
    std::vector<std::string> paths;
    std::string missing;     // first needed library that was not found
    std::string complaints;  // what the loader wrote to stderr

    bool contains(const std::string& path) const;

    /// A sanitizer's shared run time among the objects, "" if there is none.
    std::string sanitizer() const;
};

/// Lets the loader list the objects, with everything that affects preloads as in the real run: the
/// same file, rights, environment and arguments.
/// @throws Refusal when the loader does not exit within `timeout`
LoadedObjects dryRun(const Command& command, std::chrono::seconds timeout);

}  // namespace cabinaudio::run
