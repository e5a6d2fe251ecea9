// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/trace/Happening.h"
#include "devkit/trace/Record.h"

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

namespace cabinaudio::trace {

/// Puts the records of a capture together: replies with their requests, and all with their clients.
/// Not thread-safe.
class Conversations {
public:
    /// @return what the record completes, in order: a request that will not be answered, then what
    /// the record itself is about
    [[nodiscard]] std::vector<Happening> add(const Record& record);
    /// The requests that wait for their replies, when the capture is over.
    [[nodiscard]] std::vector<Happening> end();

private:
    struct Connection {
        Peer peer;
        std::optional<Record> request;  // not answered yet
    };

    [[nodiscard]] static Happening about(const Connection& connection, Happening::Kind kind,
                                         const Record& record);
    [[nodiscard]] static Happening unanswered(Connection& connection);
    [[nodiscard]] static std::optional<Happening> fromClient(Connection& connection,
                                                             const Record& record);
    [[nodiscard]] static Happening fromServer(Connection& connection, const Record& record);
    [[nodiscard]] static Happening answer(Connection& connection, const Record& record);

    std::map<std::uint32_t, Connection> mConnections;
};

}  // namespace cabinaudio::trace
