// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace cabinaudio::server {

/// The commands of the control socket: fixed words, then one argument up to the end of the line.
class Commands {
public:
    /// Receives the argument, which may be empty. @return the answer line
    using Handler = std::function<std::string(const std::string& argument)>;

    /// Sends the answer line. Called once, before or after the handler returns.
    using Later = std::function<void(std::string answer)>;
    using LaterHandler = std::function<void(const std::string& argument, const Later& later)>;

    /// Of two commands that fit a line, the one that was added first is run.
    void add(std::string words, Handler handler);
    /// A command that may be answered later.
    void addLater(std::string words, LaterHandler handler);

    /// Answers "error: ..." to an unknown command.
    void run(const std::string& line, const Later& later) const;
    /// The same for commands that are answered at once; others are refused.
    [[nodiscard]] std::string run(const std::string& line) const;
    /// Why run(line) would not run a command that is answered at once; empty if it would.
    [[nodiscard]] std::string faultOf(const std::string& line) const;

private:
    struct Command {
        std::string words;
        Handler handler;
        LaterHandler laterHandler;  // instead of `handler`
    };
    [[nodiscard]] const Command* find(const std::string& line) const;

    std::vector<Command> mCommands;
};

}  // namespace cabinaudio::server
