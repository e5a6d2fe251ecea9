// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace cabinaudio::server {

/// Decides when a period is mixed and recorded, and how long the period is. Of the event loop's
/// thread.
///
/// The functions of commands return the answer line, "ok" or "error: ...". With a clock there is
/// nothing to command, so their defaults refuse.
class TimeLine {
public:
    using Milliseconds = std::uint64_t;
    /// Sends the answer to a command; called once.
    using Later = std::function<void(std::string answer)>;

    virtual ~TimeLine() = default;

    /// Must be called after streams were added, removed, started, stopped, written to or read from,
    /// and after changes of settings.
    virtual void update() = 0;
    /// A client's request has changed a setting.
    /// @param request  name of the request
    virtual void settingChanged(const std::string& /*request*/) {}
    /// The server ends: answers the commands that wait.
    virtual void end() {}
    /// Mode, state, position, waits and errors.
    [[nodiscard]] virtual nlohmann::json describe() const = 0;
    /// Whether the output depends on more than the frames, so that the server must say so.
    [[nodiscard]] virtual bool hasErrors() const { return false; }

    /// Lets `ms` of time pass and answers then. stop() and until() end it earlier, with an error.
    virtual void run(Milliseconds ms, const Later& later);
    /// Lets time stand, now or once it is at `ms`.
    virtual std::string stop(std::optional<Milliseconds> ms);
    virtual std::string go();
    /// @param ms  now if empty
    virtual std::string await(const std::string& name, std::optional<Milliseconds> ms);
    virtual std::string hold(std::uint32_t streams);
    /// Answers once no stream can write more before time passes; with an error when time passes and
    /// nothing limits it.
    virtual void settle(const Later& later);
    /// Lets time stand for good once a playback stream of this name has been played to its end,
    /// was stopped or is gone. Streams that are gone are known from the records for the report.
    /// @param name  empty: no longer
    virtual std::string until(const std::string& name);
    /// Runs a command of the control socket when time is at `ms`.
    virtual std::string at(Milliseconds ms, const std::string& command);
};

}  // namespace cabinaudio::server
