// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/scenario/Child.h"
#include "tools/scenario/Locations.h"
#include "tools/scenario/ResultDirectory.h"
#include "tools/scenario/Scenario.h"

#include <chrono>
#include <map>
#include <memory>
#include <string>

namespace cabinaudio::tool::scenario {

/// The programs of a scenario, each run by the launcher, with its output in NAME.log.
class Programs {
public:
    Programs(const Locations& locations, const std::string& instance,
             const ResultDirectory& directory)
        : mLocations(locations), mInstance(instance), mDirectory(directory) {}

    void start(const Program& program);
    /// Without effect on a program that has ended.
    void send(const std::string& name, int signal) const;

    /// Asks those that run to end, and kills them if they have not after this time. An interruption
    /// does not end the wait.
    void end(std::chrono::milliseconds grace);

    /// Looks which programs have ended. @return whether another one has since the last call
    bool update();
    [[nodiscard]] bool hasEnded(const std::string& name) const;
    [[nodiscard]] bool haveAllEnded() const;
    /// Names of the programs that run, for people.
    [[nodiscard]] std::string running() const;
    /// Which programs have failed and what they said last, for people; "" if none has.
    [[nodiscard]] std::string failures() const;

    /// Wait statuses of those that have ended.
    [[nodiscard]] const std::map<std::string, int>& ends() const { return mEnds; }
    [[nodiscard]] const std::map<std::string, std::string>& logs() const { return mLogs; }

private:
    void sendToAll(int signal) const;

    const Locations& mLocations;
    const std::string mInstance;
    const ResultDirectory& mDirectory;
    std::map<std::string, std::unique_ptr<Child>> mChildren;
    std::map<std::string, int> mEnds;
    std::map<std::string, std::string> mLogs;
};

}  // namespace cabinaudio::tool::scenario
