// SPDX-License-Identifier: Apache-2.0
#include "tools/server/Server.h"

#include "tools/Failure.h"
#include "tools/Json.h"
#include "tools/Terminal.h"
#include "tools/server/ControlLine.h"
#include "tools/server/StateText.h"
#include "tools/server/TimeText.h"

namespace cabinaudio::tool {

namespace {

Json parsed(const std::string& answer, const char* what) {
    Json document = Json::parse(answer, nullptr, false);
    if (!document.is_object())
        throw Failure(std::string("the server's answer is no ") + what + ": " + answer);
    return document;
}

}  // namespace

ExitCode run(const ServerOptions& options, const CommonOptions& common) {
    // A client that is started after this command must not reach the dying server.
    const AfterCommand after =
        options.command == "crash" ? AfterCommand::WaitForServerEnd : AfterCommand::Return;
    const auto timeout = options.isLong ? options.longTimeout : options.timeout;
    const std::string answer = askServer(options.command, timeout, after);
    if (answer.rfind(SERVER_ERROR, 0) == 0) throw Failure(answer.substr(sizeof SERVER_ERROR - 1));
    if (options.answer != ServerOptions::Answer::Ok) {
        const bool isState = options.answer == ServerOptions::Answer::State;
        const Json document = parsed(answer, isState ? "state" : "time");
        if (common.json)
            printJson(document);
        else
            say(isState ? stateText(document) : timeText(document));
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
