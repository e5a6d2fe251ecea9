// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::replay {

using Bytes = std::vector<std::uint8_t>;

/// One event of a recorded conversation.
struct Step {
    enum class Kind : std::uint8_t {
        Connected,
        Request,  // a registration, too
        Reply,
        Notification,
        Sound,
        Disconnected,
    };

    std::size_t record = 0;      // number in the file, from 1
    std::uint64_t timeNs = 0;    // since the first record
    std::size_t connection = 0;  // index in Conversation::connections
    Kind kind = Kind::Connected;
    Bytes bytes;            // a message as sent, or sound
    std::size_t sound = 0;  // bytes of sound; `bytes` is empty when they were not recorded
    std::string fault;      // why the message breaks the protocol; empty when it does not

    [[nodiscard]] bool isMessage() const { return kind == Kind::Request || kind == Kind::Reply; }
};

/// One connection of the recorded application.
struct RecordedConnection {
    std::uint32_t number = 0;  // in the capture
    std::uint32_t type = 0;    // audio_connect_type
    std::string name;
    std::uint32_t handle = 0;        // that the recorded server gave; 0: none
    bool isRegistered = false;       // the capture has a registration
    bool hasSound = false;           // the sound itself was recorded, not only its amount
    std::vector<std::size_t> steps;  // indices in Conversation::steps

    /// Such as `connection 3 (volume "settings")`.
    [[nodiscard]] std::string title() const;
    [[nodiscard]] bool isPlayback() const;
    [[nodiscard]] bool isCapture() const;
};

struct Conversation {
    std::string file;
    std::vector<Step> steps;  // in the order of the capture
    std::vector<RecordedConnection> connections;
    std::vector<std::string> warnings;  // one line each
};

/// @throws Error  the file is no capture, is cut off, or begins in the middle of a connection
[[nodiscard]] Conversation readConversation(const std::string& file);

}  // namespace cabinaudio::replay
