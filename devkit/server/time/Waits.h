// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::server {

/// Something that must happen before time passes.
struct Need {
    std::string key;                    // distinguishes the needs of one stage
    std::string name;                   // of the stream; empty when any stream will do
    const char* why;                    // for programs
    std::uint32_t handle = 0;           // of the stream's client; 0 when it does not exist
    std::optional<std::size_t> queued;  // frames in the stream's ring
    std::string complaint;              // when it has not happened in time; empty: that is no error
    std::chrono::milliseconds bound{0};  // real time
};

/// Keeps how long time has waited for each need, and which needs have been given up: time passes
/// without them until they are met.
class Waits {
public:
    /// Needs that are looked for together.
    enum class Stage : std::uint8_t { Start, Settling, Streams, Writing };

    /// Nothing is waited for, until require() is called again.
    void release();
    /// The present needs of a stage. Needs that were there before continue to wait; those that are
    /// no longer there are met.
    /// @return whether any holds up time
    bool require(Stage stage, const std::vector<Need>& needs);
    /// Counts time for the needs that hold up time. @return those that are given up now
    std::vector<Need> count(std::chrono::milliseconds elapsed);

    [[nodiscard]] bool isWaiting() const;
    [[nodiscard]] bool isGivenUp(Stage stage, const std::string& key) const;
    [[nodiscard]] nlohmann::json describe() const;

private:
    struct Entry {
        Need need;
        std::chrono::milliseconds waited{0};
        bool isWaiting = false;
        bool isGivenUp = false;
        bool isThere = false;
    };

    std::map<std::pair<Stage, std::string>, Entry> mEntries;
};

}  // namespace cabinaudio::server
