// SPDX-License-Identifier: Apache-2.0
#include "tools/BoardLaunch.h"

#include "devkit/board/Board.h"
#include "devkit/board/ServerOwner.h"
#include "tools/Failure.h"
#include "tools/Terminal.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <vector>

namespace cabinaudio::tool {

namespace {

// Set for one exec: the launcher was tried. The value is "-" and the numbers of the standard
// descriptors that were closed before.
constexpr char LAUNCHED_VARIABLE[] = "CABINAUDIO_TOOL_LAUNCHED";

constexpr char LAUNCHER[] = "cabinaudio-run";

bool isUsable(const char* device) {
    return faccessat(AT_FDCWD, device, R_OK | W_OK, AT_EACCESS) == 0;
}

std::filesystem::path thisProgram() {
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error);
}

}  // namespace

std::filesystem::path launcherProgram() {
    const std::filesystem::path here = thisProgram().parent_path();
    for (const std::filesystem::path& place :
         {here / LAUNCHER, here.parent_path() / "devkit" / "board" / LAUNCHER})
        if (access(place.c_str(), X_OK) == 0) return place;
    return {};
}

namespace {

std::string descriptorList(const ClosedDescriptors& closed) {
    std::string list = "-";
    for (std::size_t descriptor = 0; descriptor < closed.size(); ++descriptor)
        if (closed[descriptor]) list += std::to_string(descriptor);
    return list;
}

[[noreturn]] void launch(const std::filesystem::path& program, const Start& start, char** argv) {
    std::string self = thisProgram();
    std::string separator = "--";
    std::string path = program;
    std::vector<char*> arguments = {path.data(), separator.data(), self.data()};
    for (char** argument = argv + 1; *argument != nullptr; ++argument)
        arguments.push_back(*argument);
    arguments.push_back(nullptr);
    setenv(LAUNCHED_VARIABLE, descriptorList(start.closedDescriptors).c_str(), 1);
    execv(path.c_str(), arguments.data());
    const int error = errno;
    throw Failure("cannot run " + path + ": " + std::strerror(error) +
                  "; start this program through cabinaudio-run yourself, or use --no-board");
}

board::CheckedSockets checkedSockets() {
    return boardIsActive() ? board::CheckedSockets::Both : board::CheckedSockets::ControlOnly;
}

}  // namespace

Start noteStart() {
    Start start{closedStandardDescriptors(), false};
    if (const char* closed = std::getenv(LAUNCHED_VARIABLE)) {
        start.launched = true;
        start.closedDescriptors.reset();
        for (std::size_t descriptor = 0; descriptor < start.closedDescriptors.size(); ++descriptor)
            start.closedDescriptors[descriptor] =
                std::strchr(closed, static_cast<char>('0' + descriptor)) != nullptr;
        unsetenv(LAUNCHED_VARIABLE);
    }
    return start;
}

bool boardIsActive() {
    return board::activeVersion() != 0;
}

std::string boardInstance() {
    const char* instance = boardIsActive() ? std::getenv(board::INSTANCE_VARIABLE) : nullptr;
    return instance != nullptr ? instance : "";
}

std::optional<ServerProcess> serverProcess() {
    return board::processOfServer("", checkedSockets());
}

void warnOfForeignServer() {
    // The stand-in appends the instance's name to the socket's name.
    const std::string warning = board::warningOfForeignServer("", checkedSockets());
    if (!warning.empty()) complain(warning);
}

void enterBoard(const Start& start, const CommonOptions& options, char** argv) {
    if (boardIsActive() || !options.board) return;
    if (isUsable(Devices::MEMORY) && isUsable(Devices::CACHE)) return;
    if (start.launched)
        throw Failure("cabinaudio-run has not loaded the board stand-in; reinstall it");
    const std::filesystem::path program = launcherProgram();
    if (program.empty())
        throw Failure(
            "the board's devices are missing and cabinaudio-run is not beside this program; "
            "install it, or use --no-board");
    launch(program, start, argv);
}

}  // namespace cabinaudio::tool
