// SPDX-License-Identifier: Apache-2.0
#include "tests/wireshark/Talk.h"

#include "tests/settings/Row.h"

namespace cabinaudio::test {
namespace {

constexpr std::uint32_t REGISTER = 196;
constexpr std::uint32_t REGISTER_WORD = 0x00191802;
constexpr std::uint64_t BEGIN = 1'700'000'000'000'000'000;  // some time in 2023, ns
constexpr std::uint64_t STEP = 1'000'000;

Bytes wide(std::uint64_t value) {
    return joined(
        {word(static_cast<std::uint32_t>(value)), word(static_cast<std::uint32_t>(value >> 32))});
}

}  // namespace

Bytes headerOf(std::uint32_t command, std::uint32_t type, std::uint32_t handle,
               std::uint32_t length, const std::string& name) {
    return joined(
        {word(command), word(type), word(handle), word(length), wide(5'000'000), text(name)});
}

Bytes frameOf(std::uint32_t headerId, std::uint32_t event, std::uint32_t param) {
    return joined({word(0x00112233), word(headerId), word(event), word(0), wide(5'000'150),
                   word(param), word(0)});
}

void Talk::connectOnly() {
    ++mConnection;
    mType = trace::UNKNOWN;
    add(trace::Kind::Connected, {});
}

void Talk::connect(std::uint32_t type, const std::string& name) {
    connectOnly();
    add(trace::Kind::ToServer, headerOf(REGISTER, type, REGISTER_WORD, 64, name));
    mType = type;
    mFunction = trace::UNKNOWN;
    reply(joined({word(0), word(TALK_HANDLE)}));
}

void Talk::call(const Bytes& payload, const Bytes& answer, std::uint32_t command) {
    request(payload, command);
    reply(answer);
}

void Talk::request(const Bytes& payload, std::uint32_t command) {
    mFunction = static_cast<std::uint32_t>(payload[0] + 256 * payload[1]);
    const auto length = static_cast<std::uint32_t>(payload.size());
    add(trace::Kind::ToServer, joined({headerOf(command, mType, TALK_HANDLE, length), payload}),
        mFunction);
}

void Talk::reply(const Bytes& body, std::uint64_t microseconds) {
    add(trace::Kind::ToClient, joined({frameOf(1), body}), mFunction, microseconds);
}

void Talk::notify(std::uint32_t event, std::uint32_t value) {
    add(trace::Kind::ToClient, frameOf(0, event, value));
}

void Talk::disconnect() {
    add(trace::Kind::Disconnected, {});
}

void Talk::add(trace::Kind kind, const Bytes& bytes, std::uint32_t function, std::uint64_t detail) {
    trace::Record record;
    record.timeNs = BEGIN + STEP * records.size();
    record.kind = kind;
    record.connection = mConnection;
    record.pid = 4242;
    record.type = mType;
    record.function = function;
    record.detail = detail;
    record.bytes = bytes;
    records.push_back(record);
}

}  // namespace cabinaudio::test
