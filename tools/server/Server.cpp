// SPDX-License-Identifier: Apache-2.0
#include "tools/server/Server.h"

#include "tools/Failure.h"
#include "tools/Json.h"
#include "tools/Terminal.h"
#include "tools/server/ControlLine.h"
#include "tools/server/StateText.h"

namespace cabinaudio::tool {

namespace {

constexpr char ERROR[] = "error: ";

Json parsedState(const std::string& answer) {
    Json state = Json::parse(answer, nullptr, false);
    if (!state.is_object()) throw Failure("the server's answer is no state: " + answer);
    return state;
}

}  // namespace

ExitCode run(const ServerOptions& options, const CommonOptions& common) {
    // A client that is started after this command must not reach the dying server.
    const AfterCommand after =
        options.command == "crash" ? AfterCommand::WaitForServerEnd : AfterCommand::Return;
    const std::string answer = askServer(options.command, options.timeout, after);
    if (answer.rfind(ERROR, 0) == 0) throw Failure(answer.substr(sizeof ERROR - 1));
    if (options.isState) {
        const Json state = parsedState(answer);
        if (common.json)
            printJson(state);
        else
            say(stateText(state));
        return ExitCode::Done;
    }
    if (answer != SERVER_DONE) throw Failure("the server answered '" + answer + "'");
    if (common.json) {
        Json report = {{"command", options.command}, {"ended", endName(ExitCode::Done)}};
        addEnd(report, ExitCode::Done, "");
        printJson(report);
    }
    return ExitCode::Done;
}

}  // namespace cabinaudio::tool
