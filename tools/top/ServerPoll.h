// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Json.h"
#include "tools/server/ControlLine.h"

#include <chrono>
#include <optional>
#include <string>

namespace cabinaudio::tool::top {

/// Asks the development server for its state again and again over one connection, without waiting;
/// connects again when the server has gone and come back.
class ServerPoll {
public:
    using Clock = std::chrono::steady_clock;
    using Wall = std::chrono::system_clock;

    /// @param timeout  for an answer
    explicit ServerPoll(std::chrono::milliseconds timeout) : mTimeout(timeout) {}

    /// Sends the question, unless an answer is still awaited. Connects if necessary.
    void ask(const std::string& question = "state");
    /// Call when the descriptor is readable. @return a new state
    [[nodiscard]] std::optional<Json> receive();

    /// To wait for; -1 without a connection.
    [[nodiscard]] int descriptor() const { return mSocket ? mSocket->descriptor() : -1; }
    /// Since when there is no answer; empty while there is.
    [[nodiscard]] const std::optional<Wall::time_point>& lostSince() const { return mLostSince; }
    [[nodiscard]] const std::string& problem() const { return mProblem; }

private:
    void lose(const std::string& problem);

    const std::chrono::milliseconds mTimeout;
    std::optional<ControlSocket> mSocket;
    std::string mInput;
    std::optional<Clock::time_point> mAskedAt;  // while an answer is awaited
    std::optional<Wall::time_point> mLostSince;
    std::string mProblem;
};

}  // namespace cabinaudio::tool::top
