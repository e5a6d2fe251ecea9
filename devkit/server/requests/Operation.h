// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioConnectType.h>

#include "devkit/server/clients/Client.h"
#include "devkit/server/requests/Describe.h"

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

/// What follows the record of a request: nothing, or a block as long as the record's `size` says.
/// The reply to a request for a block has one of the same length.
enum class Block { None, Sent, Returned };

/// One request that the server knows: a row of the table of its connection type.
struct Operation {
    std::uint32_t id;
    const char* name;         // in trace lines
    std::size_t requestSize;  // shortest payload, function id included, without a block
    std::size_t replySize;    // without a block
    Block block;
    /// `payload` has requestSize bytes at least, and the block; `reply` has replySize bytes and
    /// perhaps the block, all 0.
    void (*run)(Call& call, std::span<const std::uint8_t> payload, std::span<std::uint8_t> reply);
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
    static constexpr Block BLOCK = Block::None;
};
template <typename Request, typename Reply>
struct Signature<std::int32_t (*)(Call&, const Request&, std::span<const std::uint8_t>, Reply&)> {
    using RequestType = Request;
    using ReplyType = Reply;
    static constexpr Block BLOCK = Block::Sent;
};
template <typename Request, typename Reply>
struct Signature<std::int32_t (*)(Call&, const Request&, Reply&, std::span<std::uint8_t>)> {
    using RequestType = Request;
    using ReplyType = Reply;
    static constexpr Block BLOCK = Block::Returned;
};

template <auto Function>
void run(Call& call, std::span<const std::uint8_t> payload, std::span<std::uint8_t> reply) {
    using Types = Signature<decltype(Function)>;
    using Request = typename Types::RequestType;
    const auto request = load<Request>(payload);
    typename Types::ReplyType body = {};
    if constexpr (Types::BLOCK == Block::Sent) {
        body.status = Function(call, request, payload.subspan(sizeof request, request.size), body);
    } else if constexpr (Types::BLOCK == Block::Returned) {
        body.status = Function(call, request, body, reply.subspan(sizeof body));
    } else {
        body.status = Function(call, request, body);
    }
    std::memcpy(reply.data(), &body, sizeof body);
}

}  // namespace detail

/// The row of a function `std::int32_t f(Call&, const Request&, Reply&)` that returns the status
/// and fills the rest of the reply. The reply has its full size whatever the status: a client reads
/// up to that many bytes and would take a part of the next frame for the rest. A function whose
/// request is followed by a block gets that in front of the reply; one that answers with a block
/// gets the place for it behind the reply.
template <auto Function, typename Id>
constexpr Operation operation(Id id, const char* name) {
    using Types = detail::Signature<decltype(Function)>;
    using Request = typename Types::RequestType;
    using Reply = typename Types::ReplyType;
    return {static_cast<std::uint32_t>(id),
            name,
            sizeof(Request),
            sizeof(Reply),
            Types::BLOCK,
            &detail::run<Function>,
            &detail::describeBytes<Request>,
            &detail::describeBytes<Reply>};
}

/// What a connection of this type may ask for; empty for types that have nothing yet.
std::span<const Operation> operationsOf(audio_connect_type type);

}  // namespace cabinaudio::server
