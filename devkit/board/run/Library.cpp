// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/run/Library.h"

#include "devkit/board/Board.h"
#include "devkit/board/run/Refusal.h"

#include <elf.h>

#include <cstdlib>
#include <filesystem>
#include <vector>

namespace cabinaudio::run {
namespace {

namespace fs = std::filesystem;

fs::path launcherDirectory() {
    std::error_code failed;
    const fs::path launcher = fs::read_symlink("/proc/self/exe", failed);
    return failed ? fs::path() : launcher.parent_path();
}

void addFromEnvironment(const char* variable, std::vector<fs::path>& candidates) {
    const char* path = std::getenv(variable);
    if (path != nullptr && path[0] != '\0') candidates.emplace_back(path);
}

void addInstalled(const fs::path& lib, const std::string& triplet,
                  std::vector<fs::path>& directories) {
    if (!triplet.empty()) {
        directories.push_back(lib / triplet / "cabinaudio");
        directories.push_back(lib / triplet);
    }
    directories.push_back(lib / "cabinaudio");
    directories.push_back(lib);
}

/// Maps .../build/native/devkit/board to .../build/armhf/devkit/board.
void addNeighbours(const fs::path& here, std::vector<fs::path>& directories) {
    fs::path within;
    for (fs::path tree = here; tree.has_relative_path(); tree = tree.parent_path()) {
        directories.push_back(tree.parent_path() / "armhf" / within);
        within = tree.filename() / within;
    }
}

std::vector<fs::path> candidatesFor(const ElfFile& program) {
    std::vector<fs::path> candidates;
    if (program.machine == EM_ARM) addFromEnvironment(ARM_LIBRARY_VARIABLE, candidates);
    addFromEnvironment(LIBRARY_VARIABLE, candidates);
    const fs::path here = launcherDirectory();
    std::vector<fs::path> directories{here};
    addInstalled(here.parent_path() / "lib", debianTriplet(program), directories);
    if (program.machine == EM_ARM) addNeighbours(here, directories);
    for (const fs::path& directory : directories)
        candidates.push_back(directory / board::LIBRARY_NAME);
    return candidates;
}

bool isBoardLibrary(const std::optional<ElfFile>& elf) {
    return elf && elf->soname == board::LIBRARY_NAME;
}

std::string absolutePath(const fs::path& path) {
    return fs::absolute(path).lexically_normal();
}

std::string checkGiven(const std::string& given, const ElfFile& program) {
    const std::optional<ElfFile> elf = readElf(given);
    if (!isBoardLibrary(elf)) throw Refusal(given + " is not a " + board::LIBRARY_NAME);
    if (!elf->fits(program)) {
        throw Refusal(given + " is for " + describe(*elf) + ", the program for " +
                      describe(program));
    }
    return absolutePath(given);
}

}  // namespace

std::string findBoardLibrary(const std::string& given, const ElfFile& program) {
    if (!given.empty()) return checkGiven(given, program);
    for (const fs::path& candidate : candidatesFor(program)) {
        std::error_code failed;
        if (!fs::is_regular_file(candidate, failed)) continue;
        const std::optional<ElfFile> elf = readElf(candidate);
        if (isBoardLibrary(elf) && elf->fits(program)) return absolutePath(candidate);
    }
    throw Refusal(std::string("no ") + board::LIBRARY_NAME + " for " + describe(program) +
                  " programs is found; name one with --board-lib");
}

}  // namespace cabinaudio::run
