// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "wire/Layout.h"

#include <cstddef>
#include <cstdint>

// The messages of the control socket. docs/protocol.md describes the conversation.

/// Header of everything that the server sends.
struct SocketFrameHeader {
    std::uint32_t magic;                  // 0   FRAME_MAGIC, else not a frame
    std::uint32_t headerId;               // 4   HEADER_NOTIFY or HEADER_REPLY
    std::uint32_t event;                  // 8   notification: first value
    std::uint32_t spare12;                // 12  sent as 0, not read
    alignas(8) std::uint64_t sendTimeUs;  // 16  us, clock of AudioTime::now()
    std::uint32_t param;                  // 24  notification: second value
    std::uint32_t spare28;                // 28  sent as 0, not read
};
static_assert(cabinaudio::wire::Layout<SocketFrameHeader>);
static_assert(sizeof(SocketFrameHeader) == 32);
static_assert(offsetof(SocketFrameHeader, magic) == 0);
static_assert(offsetof(SocketFrameHeader, headerId) == 4);
static_assert(offsetof(SocketFrameHeader, event) == 8);
static_assert(offsetof(SocketFrameHeader, spare12) == 12);
static_assert(offsetof(SocketFrameHeader, sendTimeUs) == 16);
static_assert(offsetof(SocketFrameHeader, param) == 24);
static_assert(offsetof(SocketFrameHeader, spare28) == 28);

constexpr std::uint32_t FRAME_MAGIC = 0x00112233;
/// The frame is a notification and has no body.
constexpr std::uint32_t HEADER_NOTIFY = 0;
/// The body of a reply follows; its length is known to the requester.
constexpr std::uint32_t HEADER_REPLY = 1;

/// Header of everything that a client sends; a registration is this record alone.
struct audio_param {
    std::uint32_t cmd;                   // 0   AUDIO_CMD_*
    std::uint32_t type;                  // 4   audio_connect_type
    std::uint32_t handle;                // 8   registration: AUDIO_REGISTER_WORD
    std::uint32_t length;                // 12  bytes of payload; registration: size of name
    alignas(8) std::uint64_t timestamp;  // 16  us, clock of AudioTime::now(), when it was built
    char name[64];                       // 24  zero-terminated; requests say NAME_UNKNOWN
};
static_assert(cabinaudio::wire::Layout<audio_param>);
static_assert(sizeof(audio_param) == 88);
static_assert(offsetof(audio_param, cmd) == 0);
static_assert(offsetof(audio_param, type) == 4);
static_assert(offsetof(audio_param, handle) == 8);
static_assert(offsetof(audio_param, length) == 12);
static_assert(offsetof(audio_param, timestamp) == 16);
static_assert(offsetof(audio_param, name) == 24);

constexpr std::uint32_t AUDIO_CMD_CALL = 195;
constexpr std::uint32_t AUDIO_CMD_REGISTER = 196;
constexpr std::uint32_t AUDIO_CMD_CALL_FLAG = 198;
constexpr std::uint32_t AUDIO_REGISTER_WORD = 0x00191802;

namespace cabinaudio::wire {

/// Abstract name of the server's socket, without the leading zero byte.
inline constexpr char SERVER_SOCKET[] = "/tmp/as_internal_file";
/// Stored by a connection and not used: a local socket has no port.
inline constexpr std::int32_t SERVER_PORT = 4003;
/// Name of a client that gives none, and the name in every request.
inline constexpr char NAME_UNKNOWN[] = "unkn";

/// Body of the reply to a registration.
struct RegistrationReply {
    std::uint32_t spare0;  // 0  not read
    std::uint32_t handle;  // 4  sent in every request of this client; 0: refused
};
static_assert(Layout<RegistrationReply>);
static_assert(sizeof(RegistrationReply) == 8);
static_assert(offsetof(RegistrationReply, spare0) == 0);
static_assert(offsetof(RegistrationReply, handle) == 4);

/// Event passed to a client's callback when its connection to the server is lost; the server also
/// sends it when it removes a stream.
constexpr std::uint32_t EVENT_SERVER_GONE = 255;

}  // namespace cabinaudio::wire
