// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/control/Commands.h"

#include "devkit/server/base/Text.h"

#include <utility>

namespace cabinaudio::server {

void Commands::add(std::string words, Handler handler) {
    mCommands.push_back({std::move(words), std::move(handler)});
}

std::string Commands::run(const std::string& line) const {
    for (const auto& [words, handler] : mCommands) {
        if (line == words) return handler("");
        if (line.rfind(words + " ", 0) == 0) return handler(line.substr(words.size() + 1));
    }
    return "error: no such command: " + printable(line);
}

}  // namespace cabinaudio::server
