// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/run/PreloadList.h"

#include "devkit/board/Board.h"
#include "devkit/board/Names.h"
#include "devkit/board/run/Refusal.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace cabinaudio::run {
namespace {

namespace fs = std::filesystem;

constexpr char kSeparators[] = " :";

std::string linkPrefix() {
    return "cabinaudio-lib-" + std::to_string(geteuid()) + "-";
}

// FNV-1a: the same path gets the same link, so that runs do not pile links up.
std::string digest(std::string_view text) {
    std::uint64_t hash = 0xcbf29ce484222325;
    for (const char c : text) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3;
    }
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
        const std::string_view entry = rest.substr(0, rest.find_first_of(kSeparators));
        rest.remove_prefix(std::min(entry.size() + 1, rest.size()));
        const bool isBoard = fs::path(entry).filename() == board::kLibraryName ||
                             isLoadableLink(fs::path(entry).filename().native());
        if (!entry.empty() && !isBoard) {
            entries.emplace_back(entry);
        }
    }
    return entries;
}

bool isLoadableLink(std::string_view name) {
    return name.starts_with(linkPrefix());
}

std::string loadablePath(const std::string& path) {
    if (path.find_first_of(" \t\n:,$") == std::string::npos) {
        return path;
    }
    std::string link =
        std::string(board::kObjectDirectory) + "/" + linkPrefix() + digest(path) + ".so";
    if (symlink(path.c_str(), link.c_str()) != 0) {
        const int error = errno;
        std::error_code failed;
        if (error != EEXIST || fs::read_symlink(link, failed) != path) {
            errno = error;
            throw Refusal(withReason("cannot make the link " + link + " to " + path));
        }
    }
    return link;
}

std::string joinedPreloads(const std::vector<std::string>& entries) {
    std::string joined;
    for (const std::string& entry : entries) {
        joined += joined.empty() ? entry : ":" + entry;
    }
    return joined;
}

}  // namespace cabinaudio::run
