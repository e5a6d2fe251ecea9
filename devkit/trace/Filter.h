// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/trace/Record.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::trace {

/// Passes the records of some connections only. A connection's name and type are known from its
/// registration on; its records before wait here. Not thread-safe.
class Filter {
public:
    struct Wanted {
        std::optional<std::uint32_t> connection;  // number in the capture
        std::optional<std::string> name;          // as the client gave it
        std::optional<std::uint32_t> type;        // audio_connect_type
    };

    explicit Filter(Wanted wanted) : mWanted(std::move(wanted)) {}

    /// @return the records that pass now, in order
    [[nodiscard]] std::vector<Record> pass(const Record& record);

private:
    enum class Verdict { Open, Wanted, Unwanted };
    struct Connection {
        Verdict verdict = Verdict::Open;
        std::vector<Record> waiting;  // while the verdict is open
    };

    [[nodiscard]] Verdict judge(const Record& record) const;

    Wanted mWanted;
    std::map<std::uint32_t, Connection> mConnections;
};

}  // namespace cabinaudio::trace
