// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/contract/Bytes.h"
#include "wire/Frame.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// The development server, broken in one place at a time: what it receives, sends and removes
/// passes through functions that stand in front of those of the C library.
namespace cabinaudio::broken {

using contract::Bytes;

/// What is known of a client's connection.
struct Conversation {
    std::uint32_t type = 0;
    std::uint32_t handle = 0;  // 0: not registered
    std::string name;
    std::uint32_t command = 0;   // of the last message
    std::uint32_t function = 0;  // of the last request
    Bytes arguments;             // of the last request, behind the function
    int requests = 0;            // since the registration
};

/// A frame that the server sends.
struct Outgoing {
    SocketFrameHeader header;
    Bytes body;
    Bytes before;          // sent in front of it
    bool isCut = false;    // the connection ends instead
    bool isSplit = false;  // the header is sent in two pieces

    [[nodiscard]] bool isReply() const { return header.headerId == HEADER_REPLY; }
};

/// How a rule is broken. Functions that are empty change nothing.
struct Breakage {
    std::string rule;
    /// A header has arrived, and may be changed.
    std::function<void(const Conversation& client, audio_param& header)> onHeader = {};
    /// The payload of a request has arrived; its bytes may be changed.
    std::function<void(const Conversation& client, Bytes& payload)> onPayload = {};
    /// A frame is to be sent.
    std::function<void(const Conversation& client, Outgoing& frame)> onSend = {};
    /// Whether the name of an object stays although the server removes it.
    std::function<bool(const std::string& object)> keepsObject = {};
    /// A part of a header has arrived.
    std::function<void()> onPiece = {};
};

/// One for each rule.
[[nodiscard]] const std::vector<Breakage>& breakages();

// Parts of the table, by subject.
void breakRegistrations(std::vector<Breakage>& table);
void breakSettings(std::vector<Breakage>& table);
void breakStreams(std::vector<Breakage>& table);
void breakRings(std::vector<Breakage>& table);
void breakNeighbours(std::vector<Breakage>& table);

/// The breakages that the command line chooses.
[[nodiscard]] const std::vector<const Breakage*>& chosenBreakages();

void chooseBreakages(const std::string& pattern);

/// Option of the server with the rules to break, a pattern of the shell.
inline constexpr char OPTION[] = "--break";

}  // namespace cabinaudio::broken
