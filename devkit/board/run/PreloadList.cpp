// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/run/PreloadList.h"

#include "devkit/board/Board.h"
#include "devkit/board/recorder/Recorder.h"
#include "devkit/board/run/LinkDirectory.h"

#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace cabinaudio::run {
namespace {

namespace fs = std::filesystem;

constexpr char SEPARATORS[] = " :";

/// FNV-1a: the same path always gets the same link, so links do not accumulate.
std::string digest(std::string_view text) {
    std::uint64_t hash = 0xcbf29ce484222325;
    for (const char c : text)
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3;
    char digits[17];
    std::snprintf(digits, sizeof digits, "%016" PRIx64, hash);
    return digits;
}

}  // namespace

std::vector<std::string> foreignPreloads() {
    const char* variable = std::getenv("LD_PRELOAD");
    std::string_view rest(variable != nullptr ? variable : "");
    std::vector<std::string> entries;
    while (!rest.empty()) {
        const std::string_view entry = rest.substr(0, rest.find_first_of(SEPARATORS));
        rest.remove_prefix(std::min(entry.size() + 1, rest.size()));
        const std::string name = fs::path(entry).filename();
        const bool isOurs = name == board::LIBRARY_NAME || name == recorder::LIBRARY_NAME ||
                            name.starts_with(loadableLinkPrefix());
        if (!entry.empty() && !isOurs) entries.emplace_back(entry);
    }
    return entries;
}

std::string loadableLinkPrefix() {
    return "cabinaudio-lib-" + std::to_string(geteuid()) + "-";
}

std::string loadablePath(const std::string& path) {
    if (isLoadable(path)) return path;
    const std::string name = loadableLinkPrefix() + digest(path) + ".so";
    std::string directory = linkDirectory();
    // Retried: another launcher may be removing the directory.
    while (!makeLink(directory, name, path))
        directory = linkDirectory();
    return directory + "/" + name;
}

std::string joinedPreloads(const std::vector<std::string>& entries) {
    std::string joined;
    for (const std::string& entry : entries)
        joined += joined.empty() ? entry : ":" + entry;
    return joined;
}

}  // namespace cabinaudio::run
