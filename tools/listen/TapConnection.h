// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/taps/TapRecord.h"
#include "tools/Interruption.h"
#include "tools/record/RecordFormat.h"
#include "tools/server/ControlStream.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

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
    void readFormat(const std::string& answer);
    [[nodiscard]] bool takeRecord();

    ControlStream mStream;
    RecordFormat mFormat;
    std::size_t mRecordBytes = 0;  // of the last record, at the front of the input
    server::TapHeader mHeader{Kind::Samples, 0};
};

}  // namespace cabinaudio::tool
