// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/board/ServerOwner.h"
#include "tools/CommonOptions.h"
#include "tools/StandardDescriptors.h"

#include <filesystem>
#include <optional>
#include <string>

namespace cabinaudio::tool {

/// How this process was started, recorded before anything is opened.
struct Start {
    ClosedDescriptors closedDescriptors;  // as inherited from the user's shell
    bool launched = false;                // by this program itself, through the launcher
};

[[nodiscard]] Start noteStart();

/// The board's two devices, or their stand-ins.
struct Devices {
    static constexpr char MEMORY[] = "/dev/mem";
    static constexpr char CACHE[] = "/dev/cache";
};

/// The launcher beside this program, or that of the build tree. Empty when there is none.
[[nodiscard]] std::filesystem::path launcherProgram();

/// @return whether the stand-in is loaded in this process
[[nodiscard]] bool boardIsActive();

/// @return the instance name of this process, "" for the common one or without the stand-in
[[nodiscard]] std::string boardInstance();

/// On a desktop, replaces this process by the launcher, which runs the same program with the same
/// arguments and the stand-in loaded. Returns if the stand-in is already loaded, if the board's own
/// devices exist, or if the options forbid it.
/// @throws Failure when the stand-in is needed but unavailable
void enterBoard(const Start& start, const CommonOptions& options, char** argv);

using board::ServerProcess;

/// The server that this process reaches; empty without a server. On a board only the development
/// server.
[[nodiscard]] std::optional<ServerProcess> serverProcess();

/// Warns on stderr when the server belongs to a user who is neither root nor this one.
void warnOfForeignServer();

}  // namespace cabinaudio::tool
