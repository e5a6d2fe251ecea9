// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/scenario/Child.h"
#include "tools/scenario/ControlLink.h"
#include "tools/scenario/Locations.h"
#include "tools/scenario/Scenario.h"

#include <memory>
#include <optional>
#include <string>

namespace cabinaudio::tool::scenario {

/// Files of one part of a scenario.
struct PartFiles {
    std::string heard;   // WAV file with the mix
    std::string report;  // JSON
    std::string stems;   // directory
    std::string log;     // of the server
    std::string trace;   // requests and notifications
    std::string picture;
};

/// A development server for one part of a scenario, whose time passes in lock step. The destructor
/// ends it.
class PrivateServer {
public:
    /// Starts the server; see isReady().
    /// @param own  options besides those of the scenario's file
    PrivateServer(const Locations& locations, const std::string& instance, const PartFiles& files,
                  const Words& own);
    ~PrivateServer();
    PrivateServer(const PrivateServer&) = delete;
    PrivateServer& operator=(const PrivateServer&) = delete;

    /// Waits until the server takes clients and commands.
    /// @return false when it does not yet
    [[nodiscard]] bool isReady(std::chrono::milliseconds bound);

    /// Connects to the control socket. @throws Failure
    void connect();
    [[nodiscard]] ControlLink& link() { return *mLink; }

    [[nodiscard]] Child& process() { return mChild; }
    /// The last line of its log: the reason of a failed start.
    [[nodiscard]] std::string lastWords() const;

private:
    class Pipe;

    const std::string mInstance;
    const std::string mLog;
    std::unique_ptr<Pipe> mReady;
    Child mChild;
    std::optional<ControlLink> mLink;
};

}  // namespace cabinaudio::tool::scenario
