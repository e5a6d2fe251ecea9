// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/link/LinkPolicy.h>

#include "devkit/board/Board.h"
#include "devkit/board/ServerWait.h"
#include "tools/BoardLaunch.h"
#include "tools/Duration.h"
#include "tools/Failure.h"
#include "tools/Json.h"
#include "tools/LibraryLog.h"
#include "tools/ServerSocket.h"
#include "tools/Terminal.h"
#include "tools/options/CommandLine.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>

namespace cabinaudio::tool {

namespace {

/// A file is checked, or shown, without a server.
bool needsServer(const Command& command) {
    const auto* check = std::get_if<CheckOptions>(&command.options);
    const auto* trace = std::get_if<TraceOptions>(&command.options);
    return (check == nullptr || check->isLive) && (trace == nullptr || trace->file.empty());
}

/// Prepares the process for the library: loads the board stand-in if needed.
void prepare(const Start& start, const Command& command, char** argv) {
    const CommonOptions& common = command.common;
    if (!common.instance.empty()) setenv(board::INSTANCE_VARIABLE, common.instance.c_str(), 1);
    try {
        // A scenario only starts programs.
        if (!std::holds_alternative<ScenarioOptions>(command.options))
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

/// Such a command checks its own connection.
bool usesControlSocketOnly(const Command& command) {
    return std::holds_alternative<ServerOptions>(command.options) ||
           std::holds_alternative<ListenOptions>(command.options) ||
           std::holds_alternative<TopOptions>(command.options) ||
           std::holds_alternative<CheckOptions>(command.options) ||
           std::holds_alternative<TraceOptions>(command.options) ||
           std::holds_alternative<ScenarioOptions>(command.options);
}

/// For scripts that start a server and do not know when it serves.
void waitForServer(const Command& command) {
    const std::chrono::milliseconds bound = command.common.wait;
    // The control socket is the last one that the development server opens.
    const auto socket = usesControlSocketOnly(command) ? board::AwaitedSocket::Control
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
    if (needsServer(*command)) {
        prepare(start, *command, argv);
        waitForServer(*command);
    } else {
        fillStandardDescriptors();
    }
    if (!usesControlSocketOnly(*command)) warnOfForeignServer();
    boundWaits(*command);
    if (auto* doctor = std::get_if<DoctorOptions>(&command->options))
        doctor->closedDescriptors = start.closedDescriptors;
    return std::visit([&](const auto& options) { return run(options, command->common); },
                      command->options);
}

/// The command line may be wrong, so its options are not known.
bool wantsJson(int argc, char** argv) {
    return std::any_of(argv, argv + argc,
                       [](const char* word) { return std::strcmp(word, "--json") == 0; });
}

ExitCode fail(int argc, char** argv, ExitCode code, const std::string& why) {
    if (wantsJson(argc, argv)) printEnd(code, why);
    complain(why);
    return code;
}

}  // namespace

}  // namespace cabinaudio::tool

int main(int argc, char** argv) {
    using namespace cabinaudio::tool;
    ExitCode code = ExitCode::Failed;
    try {
        code = runTool(argc, argv);
    } catch (const Failure& failure) {
        code = fail(argc, argv, failure.code(), failure.what());
    } catch (const std::exception& error) {
        code = fail(argc, argv, ExitCode::Failed, error.what());
    }
    return static_cast<int>(afterOutput(code));
}
