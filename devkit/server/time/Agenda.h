// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::server {

/// What happens at given frames: starts of streams that are awaited, and commands. Frames count
/// from the begin of time.
class Agenda {
public:
    struct Start {
        std::uint64_t frame;
        std::string name;
    };
    struct Command {
        std::uint64_t frame;
        std::string line;
    };

    void await(std::uint64_t frame, const std::string& name);
    /// Commands of one frame are run in the order of these calls.
    void add(std::uint64_t frame, const std::string& line);

    /// Starts that are due at `frame`, or were before.
    [[nodiscard]] std::vector<Start> dueStarts(std::uint64_t frame) const;
    /// Forgets the first awaited start of this name.
    void startedOrGivenUp(const std::string& name);
    [[nodiscard]] bool isAwaited(const std::string& name) const;
    /// Whether the first awaited start of this name comes after `frame`.
    [[nodiscard]] bool isEarly(const std::string& name, std::uint64_t frame) const;

    [[nodiscard]] bool hasCommands() const { return !mCommands.empty(); }
    [[nodiscard]] bool isCommandDue(std::uint64_t frame) const;
    /// The first command. Only if one is due.
    [[nodiscard]] Command takeCommand();

    /// The first frame after `frame` at which something happens.
    [[nodiscard]] std::optional<std::uint64_t> next(std::uint64_t frame) const;

private:
    [[nodiscard]] const Start* firstStart(const std::string& name) const;

    std::vector<Start> mStarts;      // rising
    std::vector<Command> mCommands;  // rising
};

}  // namespace cabinaudio::server
