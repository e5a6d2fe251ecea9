// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>

namespace cabinaudio::tool {

using VersionTriple = std::array<std::int32_t, 3>;

struct ClientVersions {
    VersionTriple first;
    VersionTriple second;
};

struct ServerVersions {
    VersionTriple first;
    VersionTriple second;
    std::int32_t third;
};

/// What became of a version query.
enum class Reach {
    Answered,
    NoServer,  // nobody listens
    Refused,   // somebody listens, but the library got no handle
    Failed,    // the request did not go through, or the server answered it with a status
    Silent,    // no answer in time
    Crashed,   // the querying process died
};

struct ServerQuery {
    Reach reach = Reach::Silent;
    std::optional<ClientVersions> client;  // of the library in this process
    std::optional<ServerVersions> server;  // when it answered, whatever its status
    std::int32_t status = 0;               // of the query
    std::chrono::microseconds took{};      // connection, registration and query; when answered
};

/// Asks library and server for their versions, each in a child process: a server may take a
/// connection and never answer. Only while this process has one thread.
/// @throws Failure when there can be no child
[[nodiscard]] ServerQuery queryServer(std::chrono::milliseconds bound);

}  // namespace cabinaudio::tool
