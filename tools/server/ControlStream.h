// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Interruption.h"
#include "tools/server/ControlLine.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace cabinaudio::tool {

/// A command to the development server that keeps its connection: bytes follow the answer.
class ControlStream {
public:
    using Clock = std::chrono::steady_clock;

    enum class Wait { Readable, Closed, Interrupted, Overdue };

    /// Sends the command and receives the server's answer.
    /// @throws Failure when the server refuses, or does not answer in time
    ControlStream(const Interruption& interruption, const std::string& command,
                  std::chrono::milliseconds timeout);

    /// The line before the bytes.
    [[nodiscard]] const std::string& answer() const { return mAnswer; }

    /// The bytes that have arrived and were not consumed. Valid until the next call of wait().
    [[nodiscard]] std::span<const std::uint8_t> input() const {
        return std::span(mInput).subspan(mTaken);
    }
    void consume(std::size_t bytes) { mTaken += bytes; }
    /// Waits for more bytes. After an interruption, what has arrived is still received.
    /// @param deadline  empty: without a limit
    [[nodiscard]] Wait wait(const std::optional<Clock::time_point>& deadline);

private:
    [[nodiscard]] std::string receiveAnswer(Clock::time_point deadline);

    const Interruption& mInterruption;
    const std::chrono::milliseconds mTimeout;
    const ControlSocket mSocket;
    std::vector<std::uint8_t> mInput;
    std::size_t mTaken = 0;  // bytes at the front that were consumed
    std::string mAnswer;
};

}  // namespace cabinaudio::tool
