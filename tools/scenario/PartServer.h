// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/scenario/Locations.h"
#include "tools/scenario/PrivateServer.h"
#include "tools/scenario/Scenario.h"
#include "tools/scenario/Wait.h"

#include <chrono>
#include <optional>
#include <string>

namespace cabinaudio::tool::scenario {

/// How long a server may take until it is ready: an emulator on a busy machine is slow.
/// @param bound  of the scenario's waits
[[nodiscard]] std::chrono::milliseconds startBound(std::chrono::milliseconds bound);

/// The life of one part's server: start, commands, end. All waits are bounded.
class PartServer {
public:
    PartServer(const Scenario& scenario, const Locations& locations, const std::string& instance,
               const Wait& wait)
        : mScenario(scenario), mLocations(locations), mInstance(instance), mWait(wait) {}

    /// Starts a server and waits until it takes commands.
    /// @param own  its options besides those of the scenario's file
    /// @throws Failure when it does not start, with ExitCode::Usage when it refuses an option
    void start(const PartFiles& files, const Words& own);

    [[nodiscard]] bool isThere() const { return mServer.has_value(); }
    /// Whether commands make sense: it is there and has answered all.
    [[nodiscard]] bool answers() const { return isThere() && !mIsSilent; }

    /// Sends a command that answers "ok".
    /// @param line  that asks for it; 0: none
    /// @throws NotFulfilled on another answer; as ask()
    void command(unsigned line, const std::string& text);

    /// @return the answer
    /// @throws Overdue, and Failure when the server has ended by itself
    [[nodiscard]] std::string ask(unsigned line, const std::string& text);

    /// Lets the server end as if it were killed. @throws Overdue
    void crash(unsigned line);

    /// Ends the server, which writes its report. Without effect if none is there.
    /// @throws Failure when it does not end, or badly
    void end();

private:
    void waitForStart();
    [[noreturn]] void refuse(int status) const;
    [[noreturn]] void throwLost();
    [[nodiscard]] std::string askToEnd();
    [[nodiscard]] bool hasEnded() { return mServer->process().ended().has_value(); }

    const Scenario& mScenario;
    const Locations& mLocations;
    const std::string mInstance;
    const Wait& mWait;
    std::optional<PrivateServer> mServer;
    std::string mLog;
    bool mIsSilent = false;
};

}  // namespace cabinaudio::tool::scenario
