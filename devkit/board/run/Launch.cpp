// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/run/Launch.h"

#include "devkit/board/Board.h"
#include "devkit/board/Names.h"
#include "devkit/board/ServerOwner.h"
#include "devkit/board/ServerWait.h"
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

void checkObjects(const Program& program, const LoadedObjects& objects,
                  const std::string& library) {
    if (!objects.contains(library)) {
        throw Refusal("the board library cannot be preloaded into " + program.binary + ": " +
                      skipReason(program, objects));
    }
    if (!objects.missing.empty()) {
        throw Refusal(program.binary + " needs " + objects.missing + ", which is not found",
                      NOT_FOUND);
    }
}

/// Determines the preloads, in an order that the program's loader accepts.
void arrangePreloads(Command& command, const Program& program, const std::string& library,
                     std::chrono::seconds timeout) {
    std::vector<std::string> preloads;
    if (!command.isEmulated()) preloads = foreignPreloads();
    preloads.push_back(library);
    command.preload(preloads);
    LoadedObjects objects = dryRun(command, timeout);
    checkObjects(program, objects, library);
    const std::string sanitizer = objects.sanitizer();
    if (!sanitizer.empty()) {
        // A sanitizer's run time must be the first of all objects.
        preloads.insert(preloads.begin(), loadablePath(sanitizer));
        command.preload(preloads);
        objects = dryRun(command, timeout);
        checkObjects(program, objects, library);
    }
}

void reportLaunch(const Program& program, const Command& command, const std::string& library,
                  const std::string& instance) {
    std::fprintf(stderr, "cabinaudio-run: %s%s, instance %s, %s\n",
                 text::printable(program.path).c_str(), command.isEmulated() ? " in qemu-arm" : "",
                 instance.empty() ? "(common)" : instance.c_str(),
                 text::printable(library).c_str());
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
    const std::string instance = chooseInstance(options);
    chooseConfigDirectory(options);
    const Program program = inspectProgram(options.program);
    Command command(program);
    const std::string library = loadablePath(findBoardLibrary(options.boardLibrary, program.elf));
    arrangePreloads(command, program, library, options.timeout);
    if (options.verbose) reportLaunch(program, command, library, instance);
    waitForServer(instance, options.wait);
    warnOfForeignServer(instance);
    const Watcher watcher({program.path, program.elf.machine, options.timeout,
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
