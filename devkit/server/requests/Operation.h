// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioConnectType.h>

#include "devkit/server/clients/Client.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <vector>

namespace cabinaudio::server {

struct Services;

/// The client that sent the request, and the server's data for the answer.
struct Call {
    Client& client;
    Services& services;
};

/// A block may follow a request's record; the record's `size` gives its length. The reply to a
/// request for a block carries a block of the same length.
enum class Block { None, Sent, Returned };

/// A request known to the server: a row of its connection type's table.
struct Operation {
    std::uint32_t id;
    const char* name;         // as in the catalogue
    std::size_t requestSize;  // minimum payload: function id included, block excluded
    std::size_t replySize;    // without a block
    Block block;
    /// `payload` has at least requestSize bytes, plus the block; `reply` has replySize bytes, plus
    /// the block if any, zero-filled.
    void (*run)(Call& call, std::span<const std::uint8_t> payload, std::span<std::uint8_t> reply);
};

namespace detail {

template <typename Record>
Record load(std::span<const std::uint8_t> bytes) {
    Record record;
    std::memcpy(&record, bytes.data(), sizeof record);
    return record;
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

template <auto FUNCTION>
void run(Call& call, std::span<const std::uint8_t> payload, std::span<std::uint8_t> reply) {
    using Types = Signature<decltype(FUNCTION)>;
    using Request = typename Types::RequestType;
    const auto request = load<Request>(payload);
    typename Types::ReplyType body = {};
    if constexpr (Types::BLOCK == Block::Sent)
        body.status = FUNCTION(call, request, payload.subspan(sizeof request, request.size), body);
    else if constexpr (Types::BLOCK == Block::Returned)
        body.status = FUNCTION(call, request, body, reply.subspan(sizeof body));
    else
        body.status = FUNCTION(call, request, body);
    std::memcpy(reply.data(), &body, sizeof body);
}

}  // namespace detail

/// The row of a function `std::int32_t f(Call&, const Request&, Reply&)` that returns the status
/// and fills the rest of the reply. The reply always has its full size, whatever the status: a
/// client reads that many bytes and would otherwise take bytes of the next frame. For a request
/// with a block, the function gets the block before the reply; for a reply with a block, it gets
/// the block's place after the reply.
template <auto FUNCTION, typename Id>
constexpr Operation operation(Id id, const char* name) {
    using Types = detail::Signature<decltype(FUNCTION)>;
    using Request = typename Types::RequestType;
    using Reply = typename Types::ReplyType;
    return {static_cast<std::uint32_t>(id), name, sizeof(Request), sizeof(Reply), Types::BLOCK,
            &detail::run<FUNCTION>};
}

/// Operations of a connection type; empty for types without any.
std::span<const Operation> operationsOf(audio_connect_type type);

}  // namespace cabinaudio::server
