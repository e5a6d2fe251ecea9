// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/link/LinkPolicy.h>

#include "devkit/board/Board.h"
#include "devkit/board/ServerWait.h"
#include "tools/BoardLaunch.h"
#include "tools/CommandLine.h"
#include "tools/Duration.h"
#include "tools/Failure.h"
#include "tools/LibraryLog.h"
#include "tools/ServerSocket.h"
#include "tools/Terminal.h"

#include <cstdlib>
#include <exception>

namespace cabinaudio::tool {

namespace {

/// Prepares the process for the library: loads the board stand-in if needed.
void prepare(const Start& start, const Command& command, char** argv) {
    const CommonOptions& common = command.common;
    if (!common.instance.empty()) setenv(board::INSTANCE_VARIABLE, common.instance.c_str(), 1);
    try {
        enterBoard(start, common, argv);
    } catch (const Failure&) {
        // The doctor reports this failure itself.
        if (!std::holds_alternative<DoctorOptions>(command.options)) throw;
    }
    if (!common.instance.empty() && !boardIsActive())
        throw Failure("--instance needs the board stand-in, which is not in use here",
                      ExitCode::Usage);
    fillStandardDescriptors();
    routeLibraryLog(common);
}

/// For scripts that start a server and do not know when it serves.
void waitForServer(const Command& command) {
    const std::chrono::milliseconds bound = command.common.wait;
    // The control socket is the last one that the development server opens.
    const auto socket = std::holds_alternative<ServerOptions>(command.options)
                            ? board::AwaitedSocket::Control
                            : board::AwaitedSocket::Clients;
    if (bound.count() == 0 || board::waitForServer("", socket, bound)) return;
    // A server of another kind has no control socket; the command says so.
    if (serverListens()) return;
    throw Failure(
        "timed out after " + secondsText(bound) + " waiting for a server: " + noServerText(),
        ExitCode::TimedOut);
}

/// Bounds the library's waits. Otherwise a hanging server, a server that dies during a request, or
/// missing real-time permission would leave the tool waiting or unable to work.
void boundWaits(const Command& command) {
    LinkPolicy policy{{}, true, true};
    std::visit([&](const auto& options) { policy.replyTimeout = options.timeout; },
               command.options);
    setLinkPolicy(policy);
}

ExitCode runTool(int argc, char** argv) {
    const Start start = noteStart();
    std::optional<Command> command = parseCommandLine(argc, argv);
    if (!command) return ExitCode::Done;
    prepare(start, *command, argv);
    waitForServer(*command);
    // A server command checks its own connection.
    if (!std::holds_alternative<ServerOptions>(command->options)) warnOfForeignServer();
    boundWaits(*command);
    if (auto* doctor = std::get_if<DoctorOptions>(&command->options))
        doctor->closedDescriptors = start.closedDescriptors;
    return std::visit([&](const auto& options) { return run(options, command->common); },
                      command->options);
}

}  // namespace

}  // namespace cabinaudio::tool

int main(int argc, char** argv) {
    using namespace cabinaudio::tool;
    ExitCode code = ExitCode::Failed;
    try {
        code = runTool(argc, argv);
    } catch (const Failure& failure) {
        complain(failure.what());
        code = failure.code();
    } catch (const std::exception& error) {
        complain(error.what());
    }
    return static_cast<int>(code);
}
