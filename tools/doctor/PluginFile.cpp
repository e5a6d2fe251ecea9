// SPDX-License-Identifier: Apache-2.0
#include "tools/doctor/PluginFile.h"

#include "devkit/board/run/Elf.h"
#include "devkit/board/run/Refusal.h"
#include "tools/BoardLaunch.h"
#include "tools/ChildProcess.h"
#include "tools/doctor/SoundChecks.h"

#include <dlfcn.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <cstring>
#include <sstream>

namespace cabinaudio::tool {

namespace {

using namespace std::chrono_literals;

// Reading a few dozen files from a slow disk.
constexpr std::chrono::milliseconds MOST_OF_THE_LOADER = 10s;

constexpr char OWN_FILE[] = "/proc/self/exe";
constexpr char PRELOAD[] = "LD_PRELOAD=";
constexpr char LIBRARY[] = "libcabinaudio.so.2";

std::optional<run::ElfFile> elfAt(const std::string& path) {
    try {
        return run::readElf(path);
    } catch (const run::Refusal&) {
        return std::nullopt;
    }
}

const std::optional<run::ElfFile>& ownFile() {
    static const std::optional<run::ElfFile> own = elfAt(OWN_FILE);
    return own;
}

/// The environment for the dynamic loader: it lists libraries instead of running a file. Without
/// the stand-in, which programs of the desktop do not have.
std::vector<char*> loaderEnvironment() {
    static char list[] = "LD_TRACE_LOADED_OBJECTS=1";
    std::vector<char*> variables = {list};
    for (char** variable = environ; *variable != nullptr; ++variable)
        if (std::strncmp(*variable, PRELOAD, std::strlen(PRELOAD)) != 0)
            variables.push_back(*variable);
    variables.push_back(nullptr);
    return variables;
}

/// Becomes the dynamic loader, which lists the libraries of a file.
void becomeLoader(const std::string& loader, const std::string& file, int answers) {
    dup2(answers, STDOUT_FILENO);
    dup2(answers, STDERR_FILENO);
    std::array<std::string, 2> words = {loader, file};
    std::array<char*, 3> arguments = {words[0].data(), words[1].data(), nullptr};
    std::vector<char*> variables = loaderEnvironment();
    execve(loader.c_str(), arguments.data(), variables.data());
}

/// "libx.so.1" of "libx.so.1 => not found"; the whole line where it tells of an error; else "".
std::string missingIn(const std::string& line) {
    if (const auto arrow = line.find(" => not found"); arrow != std::string::npos) {
        const auto begin = line.find_first_not_of(" \t");
        return line.substr(begin, arrow - begin);
    }
    const bool isError = line.find(": version `") != std::string::npos ||
                         line.find("error while loading") != std::string::npos;
    return isError ? line : "";
}

/// Empty when the loader cannot be started, as in an emulator.
std::optional<std::vector<std::string>> missingLibraries(const std::string& loader,
                                                         const std::string& file) {
    const ChildResult child =
        runInChild(MOST_OF_THE_LOADER, [&](int answers) { becomeLoader(loader, file, answers); });
    if (child.output.empty() || child.end == ChildEnd::Overdue) return std::nullopt;
    std::vector<std::string> missing;
    std::istringstream lines(child.output);
    for (std::string line; std::getline(lines, line);)
        if (const std::string name = missingIn(line); !name.empty()) missing.push_back(name);
    return missing;
}

void fail(const char* value, const std::string& detail, const std::string& cure, Check& check) {
    check.ok = false;
    check.value = value;
    check.detail = detail;
    check.cure = cure;
}

std::string cureOfMissing(const std::vector<std::string>& missing, const std::string& package) {
    for (const std::string& name : missing)
        if (name == LIBRARY) return "install libcabinaudio2, of the version of " + package;
    return "install the packages that have them, or " + package + " anew";
}

}  // namespace

Json PluginFile::toJson() const {
    Json json = {{"path", path}, {"kind", orNull(kind)}, {"fits", fits}, {"missing", nullptr}};
    if (missing) json["missing"] = *missing;
    return json;
}

PluginFile lookAt(const std::string& path) {
    PluginFile file;
    file.path = path;
    file.isThere = isThere(path);
    const std::optional<run::ElfFile> elf = elfAt(path);
    if (!elf) return file;
    file.kind = run::describe(*elf);
    file.fits = ownFile() && elf->fits(*ownFile());
    if (file.fits) file.missing = missingLibraries(ownFile()->loader, path);
    return file;
}

bool findProblem(const std::vector<PluginFile>& files, const std::string& package, Check& check) {
    const std::string anew = "install " + package + " anew";
    for (const PluginFile& file : files) {
        if (!file.isThere)
            fail("incomplete", file.path + " is missing", anew, check);
        else if (file.kind.empty())
            fail("damaged", file.path + " is no library", anew, check);
        else if (!file.fits)
            fail("wrong_word_size",
                 file.path + " is for " + file.kind + ", this machine's programs are for " +
                     ownKind(),
                 "install " + package + " for " + ownKind(), check);
        else if (file.missing && !file.missing->empty())
            fail("not_loadable", file.path + " lacks " + joined(*file.missing),
                 cureOfMissing(*file.missing, package), check);
        else
            continue;
        return true;
    }
    return false;
}

std::string ownKind() {
    return ownFile() ? run::describe(*ownFile()) : "an unknown machine";
}

std::string directoryOfLibrary(void* handle) {
    char origin[PATH_MAX] = "";
    return dlinfo(handle, RTLD_DI_ORIGIN, origin) == 0 ? origin : "";
}

bool isThere(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}

std::string reachText(bool hasKit) {
    if (hasKit) return "programs need no launcher (development kit)";
    if (!boardIsActive() && isThere(Devices::MEMORY) && isThere(Devices::CACHE))
        return "programs reach the board's server";
    return std::string(
               "programs outside cabinaudio-run have the tag alternative and recordings, "
               "and no instances; with ") +
           KIT_PACKAGE + " all of them";
}

}  // namespace cabinaudio::tool
