// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/run/Launch.h"

#include "devkit/board/Board.h"
#include "devkit/board/Names.h"
#include "devkit/board/ServerOwner.h"
#include "devkit/board/ServerWait.h"
#include "devkit/board/run/Capture.h"
#include "devkit/board/run/Command.h"
#include "devkit/board/run/DryRun.h"
#include "devkit/board/run/Leftovers.h"
#include "devkit/board/run/Library.h"
#include "devkit/board/run/PreloadList.h"
#include "devkit/board/run/Program.h"
#include "devkit/board/run/Refusal.h"
#include "devkit/board/run/Watcher.h"
#include "devkit/text/Printable.h"

#include <sys/random.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace cabinaudio::run {
namespace {

namespace fs = std::filesystem;

std::string newInstance() {
    std::uint32_t random = 0;
    if (getrandom(&random, sizeof random, 0) != sizeof random)
        throw Refusal(withReason("cannot name a private instance"));
    char name[board::INSTANCE_LENGTH + 1];
    std::snprintf(name, sizeof name, "run-%d-%08x", static_cast<int>(getpid()),
                  static_cast<unsigned>(random));
    return name;
}

/// Sets the instance in the environment. @return its name
std::string chooseInstance(const Options& options) {
    const std::string chosen = options.isPrivate ? newInstance() : options.instance;
    if (!chosen.empty()) setenv(board::INSTANCE_VARIABLE, chosen.c_str(), 1);
    const char* instance = board::instanceInEnvironment();
    if (instance == nullptr) {
        throw Refusal(std::string(board::INSTANCE_VARIABLE) + "=" +
                      std::getenv(board::INSTANCE_VARIABLE) + " is not an instance name");
    }
    return instance;
}

void chooseConfigDirectory(const Options& options) {
    if (!options.configDirectory.empty()) {
        const fs::path path = fs::absolute(options.configDirectory);
        setenv(board::CONFIG_DIRECTORY_VARIABLE, path.c_str(), 1);
    }
}

/// For scripts that start a server and do not know when it serves.
void waitForServer(const std::string& instance, std::chrono::milliseconds bound) {
    if (bound.count() == 0) return;
    if (board::waitForServer(instance, board::AwaitedSocket::Clients, bound)) return;
    throw Refusal("timed out waiting for a server" +
                      (instance.empty() ? "" : " of instance '" + instance + "'"),
                  TIMED_OUT);
}

/// In secure mode the loader ignores LD_PRELOAD silently.
std::string skipReason(const Program& program, const LoadedObjects& objects) {
    struct stat64 status;
    if (stat64(program.binary.c_str(), &status) == 0 &&
        (status.st_mode & (S_ISUID | S_ISGID)) != 0) {
        return "it is set-user-id or set-group-id";
    }
    if (getxattr(program.binary.c_str(), "security.capability", nullptr, 0) > 0)
        return "it has file capabilities";
    if (!objects.complaints.empty())
        return "the loader said: " + objects.complaints.substr(0, objects.complaints.find('\n'));
    return "the loader left it out";
}

/// The libraries of ours to preload, in this order: the recorder sees the names that the program
/// uses, before the stand-in maps them.
struct OwnLibraries {
    std::string recorder;  // "" without one
    std::string board;     // "" without one

    std::vector<std::string> all() const {
        std::vector<std::string> libraries;
        for (const std::string& library : {recorder, board})
            if (!library.empty()) libraries.push_back(library);
        return libraries;
    }
};

OwnLibraries findLibraries(const Options& options, const ElfFile& program) {
    OwnLibraries libraries;
    if (options.hasBoard) libraries.board = findBoardLibrary(options.boardLibrary, program);
    if (!options.traceFile.empty() || isInCapture())
        libraries.recorder = loadablePath(findRecorder(libraries.board, program));
    if (options.hasBoard) libraries.board = loadablePath(libraries.board);
    return libraries;
}

void checkObjects(const Program& program, const LoadedObjects& objects,
                  const OwnLibraries& libraries) {
    for (const std::string& library : libraries.all()) {
        if (objects.contains(library)) continue;
        const char* name = library == libraries.board ? "board library" : "recorder";
        throw Refusal(std::string("the ") + name + " cannot be preloaded into " + program.binary +
                      ": " + skipReason(program, objects));
    }
    if (!objects.missing.empty()) {
        throw Refusal(program.binary + " needs " + objects.missing + ", which is not found",
                      NOT_FOUND);
    }
}

/// Determines the preloads, in an order that the program's loader accepts.
void arrangePreloads(Command& command, const Program& program, const OwnLibraries& libraries,
                     std::chrono::seconds timeout) {
    std::vector<std::string> preloads;
    if (!command.isEmulated()) preloads = foreignPreloads();
    for (const std::string& library : libraries.all())
        preloads.push_back(library);
    command.preload(preloads);
    LoadedObjects objects = dryRun(command, timeout);
    checkObjects(program, objects, libraries);
    const std::string sanitizer = objects.sanitizer();
    if (!sanitizer.empty()) {
        // A sanitizer's run time must be the first of all objects.
        preloads.insert(preloads.begin(), loadablePath(sanitizer));
        command.preload(preloads);
        objects = dryRun(command, timeout);
        checkObjects(program, objects, libraries);
    }
}

void reportLaunch(const Program& program, const Command& command, const OwnLibraries& libraries,
                  const std::string& instance) {
    std::string list;
    for (const std::string& library : libraries.all())
        list += ", " + text::printable(library);
    std::fprintf(stderr, "cabinaudio-run: %s%s, instance %s%s\n",
                 text::printable(program.path).c_str(), command.isEmulated() ? " in qemu-arm" : "",
                 instance.empty() ? "(common)" : instance.c_str(), list.c_str());
}

// Set by the tool `cabinaudio` when it starts itself through this launcher. The tool prints the
// warning itself.
constexpr char TOOL_VARIABLE[] = "CABINAUDIO_TOOL_LAUNCHED";

void warnOfForeignServer(const std::string& instance) {
    if (std::getenv(TOOL_VARIABLE) != nullptr) return;
    const std::string warning =
        board::warningOfForeignServer(instance, board::CheckedSockets::Both);
    if (!warning.empty()) std::fprintf(stderr, "cabinaudio-run: %s\n", warning.c_str());
}

}  // namespace

void launch(const Options& options) {
    // Without the stand-in, instances have no meaning: the program uses the names of the board.
    const std::string instance = options.hasBoard ? chooseInstance(options) : std::string();
    chooseConfigDirectory(options);
    const Program program = inspectProgram(options.program);
    Command command(program);
    const OwnLibraries libraries = findLibraries(options, program.elf);
    arrangePreloads(command, program, libraries, options.timeout);
    if (!options.traceFile.empty()) beginCapture(options.traceFile, options.traceSound);
    if (options.verbose) reportLaunch(program, command, libraries, instance);
    waitForServer(instance, options.wait);
    warnOfForeignServer(instance);
    const Watcher watcher({program.path, program.elf.machine, options.timeout,
                           options.hasBoard ? "board library" : "recorder",
                           options.isPrivate ? instance : std::string()});
    watcher.offer();
    command.execute();
    const int error = errno;
    watcher.dismiss();
    errno = error;
    throw Refusal(withReason("cannot execute " + program.path), NOT_EXECUTABLE);
}

void clean(const Options& options) {
    const std::string instance = chooseInstance(options);
    for (const std::string& removed : removeLeftovers(instance)) {
        if (options.verbose)
            std::fprintf(stderr, "cabinaudio-run: removed %s\n", text::printable(removed).c_str());
    }
}

}  // namespace cabinaudio::run
