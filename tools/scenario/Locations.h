// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace cabinaudio::tool::scenario {

/// Paths of the programs that a scenario needs.
struct Locations {
    std::string tool;      // this program
    std::string launcher;  // cabinaudio-run: CABINAUDIO_LAUNCHER, or beside this program
    std::string server;    // cabinaudio-server: CABINAUDIO_SERVER, or beside this program

    /// $PATH with the directories of these programs before it.
    [[nodiscard]] std::string searchPath() const;
};

/// @throws Failure when one of them is not there
[[nodiscard]] Locations findPrograms();

}  // namespace cabinaudio::tool::scenario
