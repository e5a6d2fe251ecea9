// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace cabinaudio::server {

/// The commands of the control socket: a few fixed words, then one argument that reaches to the end
/// of the line.
class Commands {
public:
    /// Gets the argument, which may be empty. @return the answer line
    using Handler = std::function<std::string(const std::string& argument)>;

    void add(std::string words, Handler handler);

    /// Answers "error: ..." to what is no command.
    [[nodiscard]] std::string run(const std::string& line) const;

private:
    struct Command {
        std::string words;
        Handler handler;
    };
    std::vector<Command> mCommands;
};

}  // namespace cabinaudio::server
