// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/trace/Record.h"
#include "tests/support/ScriptedServer.h"

#include <cstdint>
#include <string>
#include <vector>

namespace cabinaudio::test {

constexpr std::uint32_t FLAGGED_CALL = 198;
constexpr std::uint32_t PLAIN_CALL = 195;
constexpr std::uint32_t TALK_HANDLE = 0x4711;

/// Bytes of the header of a client's message.
[[nodiscard]] Bytes headerOf(std::uint32_t command, std::uint32_t type, std::uint32_t handle,
                             std::uint32_t length, const std::string& name = "unkn");
/// Bytes of the header of a server's message.
[[nodiscard]] Bytes frameOf(std::uint32_t headerId, std::uint32_t event = 0,
                            std::uint32_t param = 0);

/// Records of conversations, put together by hand.
class Talk {
public:
    /// Begins a connection; what follows belongs to it. Registers when there is a type.
    void connect(std::uint32_t type, const std::string& name = "");
    /// Only begins it.
    void connectOnly();

    /// A request and its reply. @param payload  from the function id on
    void call(const Bytes& payload, const Bytes& reply, std::uint32_t command = FLAGGED_CALL);
    void request(const Bytes& payload, std::uint32_t command = FLAGGED_CALL);
    void reply(const Bytes& body, std::uint64_t microseconds = 150);
    void notify(std::uint32_t event, std::uint32_t value);
    void disconnect();

    /// A record of the connection with these bytes; requests and replies have a function.
    void add(trace::Kind kind, const Bytes& bytes, std::uint32_t function = trace::UNKNOWN,
             std::uint64_t detail = 0);

    std::vector<trace::Record> records;

private:
    std::uint32_t mType = trace::UNKNOWN;
    std::uint32_t mConnection = 0;
    std::uint32_t mFunction = trace::UNKNOWN;  // of the last request
};

}  // namespace cabinaudio::test
