// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/run/Library.h"

#include "devkit/board/Board.h"
#include "devkit/board/recorder/Recorder.h"
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

std::vector<fs::path> librariesInEnvironment(const ElfFile& program) {
    std::vector<fs::path> candidates;
    if (program.machine == EM_ARM) addFromEnvironment(ARM_LIBRARY_VARIABLE, candidates);
    addFromEnvironment(LIBRARY_VARIABLE, candidates);
    return candidates;
}

std::vector<fs::path> directoriesFor(const ElfFile& program) {
    const fs::path here = launcherDirectory();
    std::vector<fs::path> directories{here};
    addInstalled(here.parent_path() / "lib", debianTriplet(program), directories);
    if (program.machine == EM_ARM) addNeighbours(here, directories);
    return directories;
}

bool isLibrary(const std::optional<ElfFile>& elf, const char* name) {
    return elf && elf->soname == name;
}

std::string absolutePath(const fs::path& path) {
    return fs::absolute(path).lexically_normal();
}

std::string checkGiven(const std::string& given, const ElfFile& program) {
    const std::optional<ElfFile> elf = readElf(given);
    if (!isLibrary(elf, board::LIBRARY_NAME))
        throw Refusal(given + " is not a " + board::LIBRARY_NAME);
    if (!elf->fits(program)) {
        throw Refusal(given + " is for " + describe(*elf) + ", the program for " +
                      describe(program));
    }
    return absolutePath(given);
}

/// The first candidate that is the library and fits the program.
std::string firstOf(const std::vector<fs::path>& candidates, const char* name,
                    const ElfFile& program) {
    for (const fs::path& candidate : candidates) {
        std::error_code failed;
        if (!fs::is_regular_file(candidate, failed)) continue;
        const std::optional<ElfFile> elf = readElf(candidate);
        if (isLibrary(elf, name) && elf->fits(program)) return absolutePath(candidate);
    }
    return {};
}

std::string notFound(const char* name, const ElfFile& program) {
    return std::string("no ") + name + " for " + describe(program) + " programs is found";
}

}  // namespace

std::string findBoardLibrary(const std::string& given, const ElfFile& program) {
    if (!given.empty()) return checkGiven(given, program);
    std::vector<fs::path> candidates = librariesInEnvironment(program);
    for (const fs::path& directory : directoriesFor(program))
        candidates.push_back(directory / board::LIBRARY_NAME);
    const std::string found = firstOf(candidates, board::LIBRARY_NAME, program);
    if (found.empty())
        throw Refusal(notFound(board::LIBRARY_NAME, program) + "; name one with --board-lib");
    return found;
}

std::string findRecorder(const std::string& boardLibrary, const ElfFile& program) {
    std::vector<fs::path> candidates;
    if (!boardLibrary.empty())
        candidates.push_back(fs::path(boardLibrary).parent_path() / recorder::LIBRARY_NAME);
    for (const fs::path& directory : directoriesFor(program))
        candidates.push_back(directory / recorder::LIBRARY_NAME);
    const std::string found = firstOf(candidates, recorder::LIBRARY_NAME, program);
    if (found.empty()) throw Refusal(notFound(recorder::LIBRARY_NAME, program));
    return found;
}

}  // namespace cabinaudio::run
