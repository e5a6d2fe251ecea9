// SPDX-License-Identifier: Apache-2.0
#include "bench/alsa/Definitions.h"

#include "bench/support/Daemon.h"

#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace cabinaudio::bench {

namespace {

namespace fs = std::filesystem;

std::string findBelow(const fs::path& directory, const std::string& file) {
    std::error_code error;
    for (const auto& entry : fs::recursive_directory_iterator(directory, error))
        if (entry.path().filename() == file) return entry.path();
    return "";
}

/// alsa-lib's own directory of plug-ins.
fs::path installedModules() {
    Dl_info library{};
    void* const function = dlsym(RTLD_DEFAULT, "snd_pcm_open");
    if (function == nullptr || dladdr(function, &library) == 0) return {};
    return fs::path(library.dli_fname).parent_path() / "alsa-lib";
}

}  // namespace

std::string moduleOf(const std::string& type, const std::string& package) {
    const std::string file = "libasound_module_pcm_" + type + ".so";
    const std::string unpacked = findBelow(PEER_MODULES, file);
    if (!unpacked.empty()) return "pcm_type." + type + ".lib \"" + unpacked + "\"\n";
    if (fs::exists(installedModules() / file)) return "";
    throw std::runtime_error(package + " is not there");
}

void useDefinitions(const std::string& file, const std::string& text) {
    writeFile(file, text);
    setenv("ALSA_CONFIG_PATH", file.c_str(), 1);
}

}  // namespace cabinaudio::bench
