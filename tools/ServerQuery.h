// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace cabinaudio::tool {

using VersionTriple = std::array<std::int32_t, 3>;

/// "2.24.25".
[[nodiscard]] std::string dotted(const VersionTriple& triple);

/// The library's status of a request without an answer.
inline constexpr std::int32_t UNANSWERED = 1;

struct ClientVersions {
    VersionTriple first;
    VersionTriple second;
};

struct ServerVersions {
    VersionTriple first;
    VersionTriple second;
    std::int32_t third;
};

/// Result of a version query.
enum class Reach {
    Answered,
    NoServer,  // no listening socket
    Refused,   // the server listens, but the library got no handle
    Failed,    // the request was not completed, or answered with an error status
    Silent,    // no answer in time
    Crashed,   // the querying process died
};

struct ServerQuery {
    Reach reach = Reach::Silent;
    std::optional<ClientVersions> client;  // of the library in this process
    std::optional<ServerVersions> server;  // set if it answered, whatever the status
    std::int32_t status = 0;               // of the query
    std::chrono::microseconds took{};      // connection, registration and query; set if answered
};

/// Queries the versions of library and server, each in a child process: a server may accept a
/// connection and never answer. Call only while this process has one thread.
/// @throws Failure when a child cannot be created
[[nodiscard]] ServerQuery queryServer(std::chrono::milliseconds bound);

}  // namespace cabinaudio::tool
