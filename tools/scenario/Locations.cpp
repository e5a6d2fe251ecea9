// SPDX-License-Identifier: Apache-2.0
#include "tools/scenario/Locations.h"

#include "tools/Failure.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>

namespace cabinaudio::tool::scenario {

namespace {

namespace fs = std::filesystem;

std::string variable(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

/// @param room  of the program in a build tree
std::string find(const char* name, const char* room, const char* chosenBy, const fs::path& here) {
    if (std::string chosen = variable(chosenBy); !chosen.empty()) {
        if (access(chosen.c_str(), X_OK) == 0) return fs::absolute(chosen);
        throw Failure(std::string(chosenBy) + "=" + chosen + " is no program");
    }
    for (const fs::path& place : {here / name, here.parent_path() / "devkit" / room / name})
        if (access(place.c_str(), X_OK) == 0) return place;
    throw Failure(std::string(name) + " is not beside this program; install it, or set " +
                  chosenBy);
}

std::string directoryOf(const std::string& program) {
    return fs::path(program).parent_path();
}

}  // namespace

std::string Locations::searchPath() const {
    std::string all;
    for (const std::string& program : {tool, launcher, server})
        all += directoryOf(program) + ":";
    return all + variable("PATH");
}

Locations findPrograms() {
    std::error_code error;
    const fs::path self = fs::read_symlink("/proc/self/exe", error);
    const fs::path here = self.parent_path();
    return {self, find("cabinaudio-run", "board", "CABINAUDIO_LAUNCHER", here),
            find("cabinaudio-server", "server", "CABINAUDIO_SERVER", here)};
}

}  // namespace cabinaudio::tool::scenario
