// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/trace/Record.h"
#include "wire/Frame.h"
#include "wire/SettingRecords.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

/// Records as the server makes them.
namespace cabinaudio::test {

template <typename Layout>
void append(std::vector<std::uint8_t>& bytes, const Layout& layout) {
    const auto* const begin = reinterpret_cast<const std::uint8_t*>(&layout);
    bytes.insert(bytes.end(), begin, begin + sizeof layout);
}

[[nodiscard]] inline trace::Record recordOf(trace::Kind kind) {
    trace::Record record;
    record.timeNs = 1'700'000'000'000'000'000;
    record.kind = kind;
    record.connection = 1;
    record.pid = 42;
    return record;
}

[[nodiscard]] inline trace::Record registration(std::uint32_t type, const std::string& name) {
    trace::Record record = recordOf(trace::Kind::ToServer);
    audio_param header = {};
    header.cmd = AUDIO_CMD_REGISTER;
    header.type = type;
    header.handle = AUDIO_REGISTER_WORD;
    header.length = sizeof header.name;
    name.copy(header.name, sizeof header.name - 1);
    append(record.bytes, header);
    return record;
}

/// The frame of a reply with this body.
template <typename Body>
[[nodiscard]] trace::Record reply(std::uint32_t type, std::uint32_t function, const Body& body,
                                  std::uint64_t microseconds = 14) {
    trace::Record record = recordOf(trace::Kind::ToClient);
    record.type = type;
    record.function = function;
    record.detail = microseconds;
    SocketFrameHeader header = {};
    header.magic = FRAME_MAGIC;
    header.headerId = HEADER_REPLY;
    append(record.bytes, header);
    append(record.bytes, body);
    return record;
}

[[nodiscard]] inline trace::Record registrationReply(std::uint32_t type, std::uint32_t handle) {
    return reply(type, trace::UNKNOWN, wire::RegistrationReply{0, handle});
}

template <typename Payload>
[[nodiscard]] trace::Record request(std::uint32_t type, const Payload& payload) {
    trace::Record record = recordOf(trace::Kind::ToServer);
    record.type = type;
    std::memcpy(&record.function, &payload, sizeof record.function);
    audio_param header = {};
    header.cmd = AUDIO_CMD_CALL_FLAG;
    header.type = type;
    header.handle = 5;
    header.length = sizeof payload;
    append(record.bytes, header);
    append(record.bytes, payload);
    return record;
}

[[nodiscard]] inline trace::Record notification(std::uint32_t type, std::uint32_t event) {
    trace::Record record = recordOf(trace::Kind::ToClient);
    record.type = type;
    SocketFrameHeader header = {};
    header.magic = FRAME_MAGIC;
    header.headerId = HEADER_NOTIFY;
    header.event = event;
    append(record.bytes, header);
    return record;
}

/// A record of a kind with a layout of its own.
template <typename Layout>
[[nodiscard]] trace::Record recordWith(trace::Kind kind, std::uint32_t type, const Layout& layout) {
    trace::Record record = recordOf(kind);
    record.type = type;
    append(record.bytes, layout);
    return record;
}

}  // namespace cabinaudio::test
