// SPDX-License-Identifier: Apache-2.0
#include "testing/src/Programs.h"

#include <cabinaudio/testing/Failure.h>

#include "testing/src/Text.h"

#include <unistd.h>

#include <sstream>

namespace cabinaudio::testing {

std::string findProgram(const char* variable, const std::string& name) {
    const std::string given = environmentValue(variable);
    if (!given.empty()) {
        if (access(given.c_str(), X_OK) == 0) return given;
        throw Failure(withReason(std::string(variable) + "=" + given));
    }
    std::istringstream path(environmentValue("PATH"));
    for (std::string directory; std::getline(path, directory, ':');) {
        std::string candidate = directory;
        candidate.append("/").append(name);
        if (access(candidate.c_str(), X_OK) == 0) return candidate;
    }
    throw Failure(name + " is not found in PATH: install the development kit, or set " + variable);
}

std::string serverProgram() {
    return findProgram("CABINAUDIO_SERVER", "cabinaudio-server");
}

std::string launcherProgram() {
    return findProgram("CABINAUDIO_LAUNCHER", "cabinaudio-run");
}

std::string toolProgram() {
    return findProgram("CABINAUDIO_TOOL", "cabinaudio");
}

}  // namespace cabinaudio::testing
