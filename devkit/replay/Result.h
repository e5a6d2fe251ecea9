// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::replay {

/// Something that is not as recorded.
struct Difference {
    std::size_t record = 0;        // number in the capture, from 1; 0: it was not recorded
    std::uint32_t connection = 0;  // number in the capture; 0: it was not recorded
    std::string client;            // such as `volume "settings"`
    std::string operation;         // or "notification", "sound", "connection"
    std::string field;             // "" for the whole
    std::string recorded;
    std::string got;

    /// One line.
    [[nodiscard]] std::string text() const;
};

/// What a replay has done and found.
struct Result {
    std::size_t connections = 0;
    std::size_t requests = 0;
    std::size_t notifications = 0;
    std::uint64_t soundBytes = 0;  // to the server
    std::uint64_t heardBytes = 0;  // from the server
    std::vector<Difference> differences;
    std::vector<std::string> warnings;  // one line each
    std::optional<int> programStatus;   // wait status of the application that was started
};

}  // namespace cabinaudio::replay
