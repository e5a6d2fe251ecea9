// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/run/Leftovers.h"

#include "devkit/board/Board.h"
#include "devkit/board/Names.h"
#include "devkit/board/run/LinkDirectory.h"
#include "devkit/board/run/PreloadList.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>

namespace cabinaudio::run {
namespace {

namespace fs = std::filesystem;

void removeFile(const fs::path& path, std::vector<std::string>& removed) {
    if (unlink(path.c_str()) == 0) removed.push_back(path);
}

}  // namespace

std::vector<std::string> removeLeftovers(const std::string& instance) {
    std::vector<std::string> removed;
    for (unsigned place = 0; place < board::PHYSICAL_MEMORY_PLACES; ++place) {
        board::PathText memory;
        board::physicalMemoryPath(instance.c_str(), geteuid(), place, memory);
        removeFile(memory.c_str(), removed);
    }
    board::NameText prefix;
    board::sharedMemoryPrefix(instance.c_str(), prefix);
    std::error_code failed;
    for (const auto& entry : fs::directory_iterator(board::OBJECT_DIRECTORY, failed)) {
        const std::string name = entry.path().filename();
        if (!instance.empty() && name.starts_with(prefix.c_str()))
            removeFile(entry.path(), removed);
    }
    for (const std::string& directory : linkDirectories()) {
        for (std::string& path : removeDanglingLinks(directory, loadableLinkPrefix()))
            removed.push_back(std::move(path));
    }
    return removed;
}

void removeConfiguration(const std::string& instance) {
    board::PathText directory;
    const char* given = std::getenv(board::CONFIG_DIRECTORY_VARIABLE);
    if ((given != nullptr && given[0] != '\0') ||
        !board::configDirectory(instance.c_str(), directory)) {
        return;
    }
    const fs::path path(directory.c_str());
    unlink((path / fs::path(board::CONFIG_FILE).filename()).c_str());
    rmdir(path.c_str());
}

}  // namespace cabinaudio::run
