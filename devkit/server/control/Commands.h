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

    void add(std::string words, Handler handler);

    /// Answers "error: ..." to an unknown command.
    [[nodiscard]] std::string run(const std::string& line) const;

private:
    struct Command {
        std::string words;
        Handler handler;
    };
    std::vector<Command> mCommands;
};

}  // namespace cabinaudio::server
