// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioConnectType.h>

#include "devkit/server/Client.h"
#include "devkit/server/Describe.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <vector>

namespace cabinaudio::server {

struct Services;

/// Who asks, and what the server has to answer with.
struct Call {
    Client& client;
    Services& services;
};

/// One request that the server knows: a row of the table of its connection type.
struct Operation {
    std::uint32_t id;
    const char* name;         // in trace lines
    std::size_t requestSize;  // shortest payload, function id included
    std::size_t replySize;
    /// `payload` has requestSize bytes at least; `reply` has replySize bytes, all 0.
    void (*run)(Call& call, std::span<const std::uint8_t> payload, std::uint8_t* reply);
    std::string (*describeRequest)(std::span<const std::uint8_t> payload);
    std::string (*describeReply)(std::span<const std::uint8_t> reply);
};

namespace detail {

template <typename Record>
Record load(std::span<const std::uint8_t> bytes) {
    Record record;
    std::memcpy(&record, bytes.data(), sizeof record);
    return record;
}

template <typename Record>
std::string describeBytes(std::span<const std::uint8_t> bytes) {
    return describe(load<Record>(bytes));
}

template <typename Function>
struct Signature;
template <typename Request, typename Reply>
struct Signature<std::int32_t (*)(Call&, const Request&, Reply&)> {
    using RequestType = Request;
    using ReplyType = Reply;
};

template <auto Function>
void run(Call& call, std::span<const std::uint8_t> payload, std::uint8_t* reply) {
    using Types = Signature<decltype(Function)>;
    typename Types::ReplyType body = {};
    body.status = Function(call, load<typename Types::RequestType>(payload), body);
    std::memcpy(reply, &body, sizeof body);
}

}  // namespace detail

/// The row of a function `std::int32_t f(Call&, const Request&, Reply&)` that returns the status
/// and fills the rest of the reply. The reply has its full size whatever the status: a client reads
/// up to that many bytes and would take a part of the next frame for the rest.
template <auto Function, typename Id>
constexpr Operation operation(Id id, const char* name) {
    using Types = detail::Signature<decltype(Function)>;
    return {static_cast<std::uint32_t>(id),
            name,
            sizeof(typename Types::RequestType),
            sizeof(typename Types::ReplyType),
            &detail::run<Function>,
            &detail::describeBytes<typename Types::RequestType>,
            &detail::describeBytes<typename Types::ReplyType>};
}

/// What a connection of this type may ask for; empty for types that have nothing yet.
std::span<const Operation> operationsOf(audio_connect_type type);

}  // namespace cabinaudio::server
