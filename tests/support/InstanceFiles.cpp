// SPDX-License-Identifier: Apache-2.0
#include "tests/support/InstanceFiles.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>

namespace cabinaudio::test {

namespace {

namespace fs = std::filesystem;

std::string variable(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

fs::path configurationOfTheUser() {
    if (const std::string given = variable("XDG_CONFIG_HOME"); given.starts_with('/')) return given;
    return fs::path(variable("HOME")) / ".config";
}

}  // namespace

void removeInstanceFiles(const std::string& instance) {
    const std::string memory = "cabinaudio-physmem-" + std::to_string(geteuid()) + "-" + instance;
    const std::string objects = "cabinaudio." + instance + ".";
    std::error_code gone;
    for (const auto& entry : fs::directory_iterator("/dev/shm", gone)) {
        const std::string name = entry.path().filename();
        if (name == memory || name.starts_with(objects)) fs::remove(entry.path(), gone);
    }
    fs::remove_all(configurationOfTheUser() / "cabinaudio" / instance, gone);
}

}  // namespace cabinaudio::test
