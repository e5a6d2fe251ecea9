// SPDX-License-Identifier: Apache-2.0
#include "tools/scenario/PartServer.h"

#include "tools/Duration.h"
#include "tools/Failure.h"
#include "tools/scenario/ServerWords.h"
#include "tools/scenario/Signals.h"

#include <sys/wait.h>

#include <algorithm>
#include <csignal>

namespace cabinaudio::tool::scenario {

namespace {

constexpr std::chrono::milliseconds SHORTEST_START_BOUND{60000};
// Between two looks for an interruption or an end.
constexpr std::chrono::milliseconds LOOK{20};

/// The log of a server that was killed early may be empty.
std::string behind(const std::string& text, const std::string& lastWords) {
    return lastWords.empty() ? text : text + ": " + lastWords;
}

bool endedWith(int waitStatus, int status) {
    return WIFEXITED(waitStatus) && WEXITSTATUS(waitStatus) == status;
}

}  // namespace

std::chrono::milliseconds startBound(std::chrono::milliseconds bound) {
    return std::max(bound, SHORTEST_START_BOUND);
}

void PartServer::start(const PartFiles& files, const Words& own) {
    Words options = own;
    options.insert(options.end(), mScenario.serverOptions.begin(), mScenario.serverOptions.end());
    mLog = files.log;
    mIsSilent = true;
    mServer.emplace(mLocations, mInstance, files, options);
    waitForStart();
    mServer->connect();
    mIsSilent = false;
}

void PartServer::waitForStart() {
    const std::chrono::milliseconds bound = startBound(mWait.bound());
    const auto deadline = std::chrono::steady_clock::now() + bound;
    while (!mServer->isReady(LOOK)) {
        mWait.requireNoInterruption();
        if (const std::optional<int> status = mServer->process().ended()) refuse(*status);
        if (std::chrono::steady_clock::now() > deadline)
            throw Failure(behind("waited " + secondsText(bound) + " for the server's start",
                                 mServer->lastWords()));
    }
}

void PartServer::refuse(int status) const {
    const std::string said = mServer->lastWords();
    const bool isUsage = endedWith(status, static_cast<int>(ExitCode::Usage));
    const std::string place = isUsage && !said.empty() ? optionPlace(mScenario, said) : "";
    if (!place.empty()) throw Failure(place + said, ExitCode::Usage);
    throw Failure(behind("the server has not started, it ended with " + endText(status), said),
                  isUsage ? ExitCode::Usage : ExitCode::Failed);
}

void PartServer::command(unsigned line, const std::string& text) {
    const std::string answer = ask(line, text);
    if (answer != "ok")
        throw NotFulfilled(line, "the server answered '" + answer + "' to '" + text + "'");
}

std::string PartServer::ask(unsigned line, const std::string& text) {
    std::optional<std::string> answer;
    const auto isAnswered = [&] {
        answer = mServer->link().receive(LOOK);
        return answer.has_value();
    };
    // Until the answer is here: a late one would be taken for that of the next command.
    mIsSilent = true;
    try {
        mServer->link().send(text);
        mWait.until(
            line, "the answer to '" + text + "'", [] { return false; }, isAnswered);
    } catch (const Failure& failure) {
        if (failure.code() == ExitCode::NoServer) throwLost();
        throw;
    }
    mIsSilent = false;
    return *answer;
}

void PartServer::throwLost() {
    mWait.until(
        0, "the server's end", [] { return false; }, [&] { return hasEnded(); });
    const std::string text =
        behind("the server ended by itself with " + endText(*mServer->process().ended()),
               mServer->lastWords());
    mServer.reset();
    throw Failure(text);
}

void PartServer::crash(unsigned line) {
    mIsSilent = true;
    mServer->link().send("crash");
    mWait.until(
        line, "the server's crash", [] { return false; }, [&] { return hasEnded(); });
    mServer.reset();
}

void PartServer::end() {
    if (!mServer) return;
    const std::string fault = askToEnd();
    mServer.reset();
    if (!fault.empty()) throw Failure(fault);
}

/// @return what is wrong with its end, or ""
std::string PartServer::askToEnd() {
    mServer->process().send(SIGTERM);
    if (!mWait.atMost(mScenario.patience, [&] { return hasEnded(); }))
        return "the server did not end; see " + mLog;
    // With 5, time had errors; the report has them.
    const int status = *mServer->process().ended();
    if (endedWith(status, 0) || endedWith(status, static_cast<int>(ExitCode::CheckNotMet)))
        return "";
    return behind("the server ended with " + endText(status), mServer->lastWords());
}

}  // namespace cabinaudio::tool::scenario
