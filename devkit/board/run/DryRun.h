// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/board/run/Command.h"

#include <chrono>
#include <string>
#include <vector>

namespace cabinaudio::run {

/// What the loader would put into the program. Nothing of the program runs for it.
struct LoadedObjects {
    std::vector<std::string> paths;
    std::string missing;     // the first library that the program needs and nobody has
    std::string complaints;  // what the loader wrote to stderr

    bool contains(const std::string& path) const;

    /// A sanitizer's shared run time among the objects, "" if there is none.
    std::string sanitizer() const;
};

/// Lets the loader list the objects, with all that decides about preloads as in the real
/// run: the same file, rights, environment and arguments.
/// @throws Refusal when the loader does not end within `timeout`
LoadedObjects dryRun(const Command& command, std::chrono::seconds timeout);

}  // namespace cabinaudio::run
