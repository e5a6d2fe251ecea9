// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/requests/Dispatcher.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include "devkit/server/base/Log.h"
#include "devkit/server/base/Text.h"
#include "devkit/server/requests/Operation.h"
#include "devkit/trace/ConnectType.h"
#include "wire/Stream.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <exception>
#include <vector>

namespace cabinaudio::server {
namespace {

/// Bytes after a request's record, from the record's last word.
std::size_t blockSize(const Operation& operation, std::span<const std::uint8_t> payload) {
    if (operation.block == Block::None) return 0;
    std::uint32_t size = 0;
    std::memcpy(&size, payload.data() + operation.requestSize - sizeof size, sizeof size);
    return size;
}

bool isComplete(const Operation& operation, std::span<const std::uint8_t> payload) {
    return payload.size() >= operation.requestSize &&
           payload.size() - operation.requestSize >= blockSize(operation, payload);
}

}  // namespace

void Dispatcher::dispatch(Client& client, std::span<const std::uint8_t> payload) {
    std::uint32_t function = 0;
    std::memcpy(&function, payload.data(), sizeof function);
    const auto operations = operationsOf(client.type());
    const auto operation =
        std::find_if(operations.begin(), operations.end(),
                     [&](const Operation& candidate) { return candidate.id == function; });
    if (operation == operations.end())
        refuse(client, function, payload);
    else if (!isComplete(*operation, payload))
        client.fail(format("%s with a payload of %zu bytes", operation->name, payload.size()));
    else
        run(client, *operation, payload);
}

void Dispatcher::refuse(Client& client, std::uint32_t function,
                        std::span<const std::uint8_t> payload) {
    wire::StatusReply reply = {};
    reply.status = AUDIO_INVALID_OPERATION;
    log::warning("%s: unknown function %u on connection type %u", client.title().c_str(), function,
                 static_cast<unsigned>(client.type()));
    const std::span body(reinterpret_cast<const std::uint8_t*>(&reply), sizeof reply);
    client.reply(body);
    remember(client, format("function %u", function), reply.status, {});
    mTrace.request(client, payload, body, {});
}

void Dispatcher::remember(const Client& client, const std::string& request, std::int32_t status,
                          std::chrono::steady_clock::duration duration) {
    mLog.add({.time = std::chrono::system_clock::now(),
              .who = trace::connectTypeName(client.type()),
              .name = client.name(),
              .request = request,
              .status = status,
              .duration = std::chrono::duration_cast<std::chrono::microseconds>(duration)});
}

void Dispatcher::run(Client& client, const Operation& operation,
                     std::span<const std::uint8_t> payload) {
    const auto begin = std::chrono::steady_clock::now();
    const bool returnsBlock = operation.block == Block::Returned;
    std::vector<std::uint8_t> reply(operation.replySize +
                                    (returnsBlock ? blockSize(operation, payload) : 0));
    Call call{client, mServices};
    mRunning = operation.name;
    try {
        operation.run(call, payload, reply);
    } catch (const std::exception& error) {
        log::error("%s: %s: %s", client.title().c_str(), operation.name, error.what());
        constexpr std::int32_t STATUS = AUDIO_NO_MEMORY;
        std::memcpy(reply.data(), &STATUS, sizeof STATUS);
    }
    client.reply(reply, mFaults.take(operation.name, client.name()));
    const auto duration = std::chrono::steady_clock::now() - begin;
    std::int32_t status = 0;
    std::memcpy(&status, reply.data(), sizeof status);
    remember(client, operation.name, status, duration);
    mTrace.request(client, payload, reply,
                   std::chrono::duration_cast<std::chrono::microseconds>(duration));
}

}  // namespace cabinaudio::server
