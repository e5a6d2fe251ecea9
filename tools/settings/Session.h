// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/CommonOptions.h"
#include "tools/ExitCode.h"
#include "tools/Failure.h"
#include "tools/Interruption.h"
#include "tools/Json.h"
#include "tools/Watchdog.h"
#include "tools/settings/Clients.h"
#include "tools/settings/Directory.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace cabinaudio::tool {

/// Options common to the settings commands.
struct SettingsOptions {
    std::chrono::milliseconds timeout{5000};  // for each of the server's answers
};

/// A conversation with the server: bounded requests, and a JSON report that is printed however the
/// conversation ends.
class Session {
public:
    Session(const SettingsOptions& options, const CommonOptions& common);

    /// Runs a command and reports how it ended: errors on stderr, and JSON if requested.
    [[nodiscard]] ExitCode run(const std::function<void()>& command);

    /// A part of the JSON report.
    [[nodiscard]] Json& report(const char* key) { return mReport[key]; }
    /// Extra text that is printed if the command fails.
    void setFailureNote(std::string text) { mFailureNote = std::move(text); }
    [[nodiscard]] bool wantsJson() const { return mCommon.json; }
    [[nodiscard]] const Interruption& interruption() const { return mInterruption; }

    // All of these throw a Failure when the server is absent or does not answer, and on an
    // interruption.
    // The names that the server knows.
    [[nodiscard]] Directory directory();
    /// The same, with only the fixed names when there is no server.
    [[nodiscard]] Directory directoryOrFixed();
    /// Makes one request. @return the answer, with the server's status
    [[nodiscard]] Reading get(const Named& named, bool inSteps = false);
    /// @return the server's status
    [[nodiscard]] std::int32_t set(const Named& named, const Value& value);
    /// Sets two settings in one request.
    [[nodiscard]] std::int32_t set(const Named& named, const Value& value, const Value& partner);

    /// The names of the stream types; empty if the server does not tell them.
    [[nodiscard]] Texts streamTypes();
    /// The server's two version triples, "1.2.3, 4.5.6"; empty if it does not tell them.
    [[nodiscard]] std::string serverVersion();
    /// Drops all connections; the next request makes new ones. For servers that have come back.
    void reconnect() { mClients.emplace(); }

    /// Throws when what was printed could not be written; for commands that print for a long time.
    static void endIfOutputIsLost();

private:
    template <typename Call>
    auto ask(const char* what, Call call) {
        endIfInterrupted();
        endIfOutputIsLost();
        const auto since = Watchdog::Clock::now();
        const auto answer = mWatchdog.limit(what, mOptions.timeout + Watchdog::GRACE, call);
        if (Watchdog::Clock::now() - since >= mOptions.timeout) throw overdue(what);
        return answer;
    }
    void requireServer() const;
    void endIfInterrupted() const;
    /// Throws unless the request was answered.
    void check(std::int32_t status) const;
    void finish(ExitCode code, std::string why);
    [[nodiscard]] Failure overdue(const std::string& what) const;
    [[noreturn]] void endOverdue(const std::string& what);

    const SettingsOptions& mOptions;
    const CommonOptions& mCommon;
    Json mReport = Json::object();
    std::string mFailureNote;
    std::optional<Clients> mClients{std::in_place};
    Interruption mInterruption;
    Watchdog mWatchdog;
};

}  // namespace cabinaudio::tool
