// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/contract/broken/Breakage.h"

#include <cstring>
#include <string>
#include <utility>

/// What breakages have in common.
namespace cabinaudio::broken {

using Change = std::function<void(const Conversation& client, Outgoing& frame)>;
using Choice = std::function<bool(const Conversation& client)>;

/// A status that is no success.
inline constexpr std::uint32_t BAD = 0xffffffff;

/// Requests of this kind.
[[nodiscard]] inline Choice requests(std::uint32_t type, std::uint32_t function) {
    return [=](const Conversation& client) {
        return client.handle != 0 && client.requests > 0 && client.type == type &&
               client.function == function;
    };
}

/// The same with these arguments.
[[nodiscard]] inline Choice requests(std::uint32_t type, std::uint32_t function, Bytes arguments) {
    return [=, isMeant = requests(type, function)](const Conversation& client) {
        return isMeant(client) && client.arguments == arguments;
    };
}

/// Whether a stream's or an object's name is that of the rule, or begins with it.
[[nodiscard]] inline bool isOf(const std::string& rule, const std::string& name) {
    return name.compare(0, rule.size(), rule) == 0;
}

/// Only connections with the rule's name: without them, no other rule could be checked.
[[nodiscard]] inline Choice own(const std::string& rule, Choice choice) {
    return [=, choice = std::move(choice)](const Conversation& client) {
        return isOf(rule, client.name) && choice(client);
    };
}

/// Changes replies.
[[nodiscard]] inline Change replies(Choice choice, std::function<void(Outgoing& frame)> change) {
    return [choice = std::move(choice), change = std::move(change)](const Conversation& client,
                                                                    Outgoing& frame) {
        if (frame.isReply() && choice(client)) change(frame);
    };
}

[[nodiscard]] inline std::uint32_t wordOf(const Bytes& bytes, std::size_t offset) {
    return contract::recordAt<std::uint32_t>(bytes, offset);
}

inline void setWord(Bytes& bytes, std::size_t offset, std::uint32_t word) {
    if (bytes.size() >= offset + sizeof word) std::memcpy(&bytes[offset], &word, sizeof word);
}

/// A word of the reply's body; word 0 is the status.
[[nodiscard]] inline Change setsWord(Choice choice, std::size_t offset, std::uint32_t word) {
    return replies(std::move(choice), [=](Outgoing& frame) { setWord(frame.body, offset, word); });
}

[[nodiscard]] inline Change addsToWord(Choice choice, std::size_t offset, std::uint32_t more) {
    return replies(std::move(choice), [=](Outgoing& frame) {
        setWord(frame.body, offset, wordOf(frame.body, offset) + more);
    });
}

/// The lowest bit of a byte of the reply's body.
[[nodiscard]] inline Change flips(Choice choice, std::size_t offset) {
    return replies(std::move(choice), [=](Outgoing& frame) {
        if (offset < frame.body.size()) frame.body[offset] ^= 1;
    });
}

/// Status 0 in place of any other.
[[nodiscard]] inline Change accepts(Choice choice) {
    return setsWord(std::move(choice), 0, 0);
}

/// A frame of a notification.
[[nodiscard]] inline Bytes notification(std::uint32_t event, std::uint32_t value = 0) {
    SocketFrameHeader header = {};
    header.magic = FRAME_MAGIC;
    header.headerId = HEADER_NOTIFY;
    header.event = event;
    header.param = value;
    return contract::join(header);
}

}  // namespace cabinaudio::broken
