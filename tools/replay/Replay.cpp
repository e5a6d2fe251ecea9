// SPDX-License-Identifier: Apache-2.0
#include "tools/replay/Replay.h"

#include "devkit/replay/ClientReplay.h"
#include "devkit/replay/Error.h"
#include "devkit/replay/Fields.h"
#include "devkit/replay/ServerReplay.h"
#include "tools/BoardLaunch.h"
#include "tools/Duration.h"
#include "tools/Failure.h"
#include "tools/Interruption.h"
#include "tools/ServerSocket.h"
#include "tools/Terminal.h"
#include "tools/replay/Application.h"
#include "tools/replay/ReplayReport.h"

#include <memory>

namespace cabinaudio::tool {

namespace {

using replay::Error;

Failure failureOf(const Error& error, const Interruption& interruption,
                  const replay::Options& options) {
    switch (error.cause()) {
        case Error::Cause::NoServer:
            return Failure(noServerText(), ExitCode::NoServer);
        case Error::Cause::Busy:
            return Failure(boardInstance().empty()
                               ? "a server is running already: choose another --instance"
                               : "a server of instance '" + boardInstance() +
                                     "' is running already: end it, or choose another --instance");
        case Error::Cause::Overdue:
            return Failure("timed out after " + secondsText(options.startPatience) +
                               " waiting for the application",
                           ExitCode::TimedOut);
        case Error::Cause::Interrupted:
            return Failure("interrupted by " + interruption.signalName());
        case Error::Cause::Capture:
        case Error::Cause::System:
            break;
    }
    return Failure(error.what());
}

/// Through the launcher where this process itself was started by it.
std::vector<std::string> programOf(const ReplayOptions& options) {
    std::vector<std::string> words;
    if (boardIsActive()) words = {launcherProgram(), "--"};
    words.insert(words.end(), options.application.begin(), options.application.end());
    return words;
}

class Replay {
public:
    Replay(const ReplayOptions& options, const CommonOptions& common)
        : mOptions(options), mCommon(common) {
        Interruption::receiveHere();
        mHow.timing = options.keepsTiming ? replay::Timing::Kept : replay::Timing::Answered;
        mHow.ignored = options.ignored;
        mHow.patience = options.timeout;
        if (common.wait.count() > 0) mHow.startPatience = common.wait;
        mHow.interruption = mInterruption.event().descriptor();
        mHow.hasInstance = !boardInstance().empty();
    }

    ExitCode run() {
        const replay::Conversation conversation = read();
        replay::Result result;
        try {
            result = mOptions.asServer ? asServer(conversation)
                                       : replay::replayAsClient(conversation, mHow);
        } catch (const Error& error) {
            throw failureOf(error, mInterruption, mHow);
        }
        result.warnings.insert(result.warnings.begin(), conversation.warnings.begin(),
                               conversation.warnings.end());
        // First: where the file cannot be written, the differences are not lost.
        printReport(result, mOptions, mCommon.json);
        if (!mOptions.junitFile.empty()) writeJUnit(mOptions.junitFile, conversation, result);
        return codeOf(result);
    }

private:
    [[nodiscard]] replay::Conversation read() const {
        try {
            return replay::readConversation(mOptions.file);
        } catch (const Error& error) {
            throw Failure(error.what());
        }
    }

    /// The application is started when somebody listens to it.
    replay::Result asServer(const replay::Conversation& conversation) {
        std::unique_ptr<Application> application;
        if (!mOptions.application.empty()) {
            mHow.onListening = [&] {
                application = std::make_unique<Application>(programOf(mOptions), boardInstance(),
                                                            !mCommon.json);
            };
            mHow.hasApplicationEnded = [&] { return application->ended().has_value(); };
        }
        replay::Result result = replay::replayAsServer(conversation, mHow);
        if (application) {
            application->end();
            result.programStatus = application->ended();
        }
        return result;
    }

    const ReplayOptions& mOptions;
    const CommonOptions& mCommon;
    const Interruption mInterruption;
    replay::Options mHow;
};

}  // namespace

std::string optionFault(const ReplayOptions& options) {
    if (!options.application.empty() && !options.asServer)
        return "an application needs --as server: as a client, the capture is the application";
    for (const std::string& field : options.ignored)
        if (!replay::Fields::isKnown(field)) return "--ignore: there is no field '" + field + "'";
    return "";
}

ExitCode run(const ReplayOptions& options, const CommonOptions& common) {
    try {
        return Replay(options, common).run();
    } catch (const Failure& failure) {
        if (!options.junitFile.empty()) {
            try {
                writeJUnitError(options.junitFile, options.file, failure.what());
            } catch (const Failure& second) {
                complain(second.what());
            }
        }
        throw;
    }
}

}  // namespace cabinaudio::tool
