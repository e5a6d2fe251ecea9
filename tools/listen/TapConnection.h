// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/taps/TapRecord.h"
#include "tools/Interruption.h"
#include "tools/record/RecordFormat.h"
#include "tools/server/ControlLine.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace cabinaudio::tool {

/// The connection through which the development server sends the sound that it plays.
class TapConnection {
public:
    using Clock = std::chrono::steady_clock;
    using Kind = server::TapRecord;

    enum class Reception { Record, ServerGone, Interrupted, Overdue };

    /// Sends the command and receives the server's answer.
    /// @throws Failure when the server refuses, or does not answer in time
    TapConnection(const Interruption& interruption, const std::string& command,
                  std::chrono::milliseconds timeout);

    [[nodiscard]] const RecordFormat& format() const { return mFormat; }

    /// Waits for the next record. After an interruption, what has arrived is still received.
    /// @param deadline  empty: without a limit
    [[nodiscard]] Reception receive(const std::optional<Clock::time_point>& deadline);

    // The record that was received last.
    [[nodiscard]] Kind kind() const { return mHeader.kind; }
    [[nodiscard]] std::uint32_t lostFrames() const { return mHeader.count; }
    /// Whole frames. Valid until the next call of receive().
    [[nodiscard]] std::span<const std::uint8_t> samples() const;

private:
    enum class Wait { Readable, Closed, Interrupted, Overdue };

    [[nodiscard]] std::string receiveAnswer(Clock::time_point deadline);
    void readFormat(const std::string& answer);
    [[nodiscard]] bool takeRecord();
    [[nodiscard]] Wait waitForMore(const std::optional<Clock::time_point>& deadline);

    const Interruption& mInterruption;
    const std::chrono::milliseconds mTimeout;
    const ControlSocket mSocket;
    RecordFormat mFormat;
    std::vector<std::uint8_t> mInput;
    std::size_t mTaken = 0;  // bytes at the front that belong to records received before
    server::TapHeader mHeader{Kind::Samples, 0};
};

}  // namespace cabinaudio::tool
