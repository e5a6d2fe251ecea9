// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/replay/Conversation.h"
#include "wire/Frame.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string>
#include <type_traits>

namespace cabinaudio::replay {

/// The record at this offset; zeros behind the end of the bytes.
template <typename Record>
[[nodiscard]] Record recordAt(std::span<const std::uint8_t> bytes, std::size_t offset) {
    static_assert(std::is_trivially_copyable_v<Record>);
    Record record{};
    if (offset < bytes.size())
        std::memcpy(&record, bytes.data() + offset, std::min(sizeof record, bytes.size() - offset));
    return record;
}

template <typename Record>
void putAt(Bytes& bytes, std::size_t offset, const Record& record) {
    static_assert(std::is_trivially_copyable_v<Record>);
    if (offset + sizeof record <= bytes.size())
        std::memcpy(bytes.data() + offset, &record, sizeof record);
}

/// Parts of a client's message.
[[nodiscard]] inline audio_param headerOf(std::span<const std::uint8_t> message) {
    return recordAt<audio_param>(message, 0);
}
[[nodiscard]] inline bool isRegistration(std::span<const std::uint8_t> message) {
    return message.size() == sizeof(audio_param) && headerOf(message).cmd == AUDIO_CMD_REGISTER;
}
/// Of a request; empty when it has none.
[[nodiscard]] inline std::optional<std::uint32_t> functionOf(
    std::span<const std::uint8_t> message) {
    if (message.size() < sizeof(audio_param) + sizeof(std::uint32_t) || isRegistration(message))
        return std::nullopt;
    return recordAt<std::uint32_t>(message, sizeof(audio_param));
}

/// Bytes of a server's message before its body.
inline constexpr std::size_t FRAME_SIZE = sizeof(SocketFrameHeader);

/// Parts of a server's message.
[[nodiscard]] inline SocketFrameHeader frameOf(std::span<const std::uint8_t> message) {
    return recordAt<SocketFrameHeader>(message, 0);
}
[[nodiscard]] inline std::size_t bodySizeOf(std::span<const std::uint8_t> reply) {
    return reply.size() > sizeof(SocketFrameHeader) ? reply.size() - sizeof(SocketFrameHeader) : 0;
}

/// The functions of streams that a replay must act on.
enum class StreamAction : std::uint8_t {
    None,
    Create,
    Start,
    Stop,
    WriteDone,
    ShowRing,     // asks for the ring's address
    ReleaseRing,  // acknowledges its withdrawal
};
[[nodiscard]] StreamAction actionOf(std::uint32_t type, std::uint32_t function);
[[nodiscard]] bool isPlaybackType(std::uint32_t type);
[[nodiscard]] bool isCaptureType(std::uint32_t type);
/// Whether streams of this type have their ring in physical memory, announced by a notification.
[[nodiscard]] bool hasAnnouncedRing(std::uint32_t type);

/// What a notification says about the ring of a stream.
enum class RingNews : std::uint8_t { None, Ready, Withdrawn };
[[nodiscard]] RingNews newsOf(std::uint32_t type, const SocketFrameHeader& notification);

/// Why a client's message breaks the protocol; empty when it does not.
/// @param expected  type and handle of the client; null before its registration
struct Registered {
    std::uint32_t type;
    std::uint32_t handle;
};
[[nodiscard]] std::string faultOf(std::span<const std::uint8_t> message,
                                  const Registered* expected);

}  // namespace cabinaudio::replay
