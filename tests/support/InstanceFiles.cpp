// SPDX-License-Identifier: Apache-2.0
#include "tests/support/InstanceFiles.h"

#include <cstdlib>
#include <filesystem>
#include <string_view>

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

/// Whether a name is "cabinaudio-physmem-USER-INSTANCE", with ".PLACE" or without: tests run
/// servers as other users, too.
bool isMemory(const std::string& name, const std::string& instance) {
    constexpr std::string_view START = "cabinaudio-physmem-";
    if (!name.starts_with(START)) return false;
    const auto user = name.find_first_not_of("0123456789", START.size());
    if (user == std::string::npos || name.compare(user, instance.size() + 1, "-" + instance) != 0)
        return false;
    const std::string rest = name.substr(user + 1 + instance.size());
    return rest.empty() || rest.starts_with('.');
}

}  // namespace

void removeInstanceFiles(const std::string& instance) {
    const std::string objects = "cabinaudio." + instance + ".";
    std::error_code gone;
    for (const auto& entry : fs::directory_iterator("/dev/shm", gone)) {
        const std::string name = entry.path().filename();
        if (isMemory(name, instance) || name.starts_with(objects)) fs::remove(entry.path(), gone);
    }
    fs::remove_all(configurationOfTheUser() / "cabinaudio" / instance, gone);
}

}  // namespace cabinaudio::test
