// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/control/Commands.h"

#include "devkit/server/base/Text.h"

#include <algorithm>
#include <utility>

namespace cabinaudio::server {

namespace {

std::string argumentOf(const std::string& line, const std::string& words) {
    return line.size() > words.size() ? line.substr(words.size() + 1) : "";
}

}  // namespace

void Commands::add(std::string words, Handler handler) {
    mCommands.push_back({std::move(words), std::move(handler), nullptr});
}

void Commands::addLater(std::string words, LaterHandler handler) {
    mCommands.push_back({std::move(words), nullptr, std::move(handler)});
}

const Commands::Command* Commands::find(const std::string& line) const {
    const auto found =
        std::find_if(mCommands.begin(), mCommands.end(), [&](const Command& command) {
            return line == command.words || line.starts_with(command.words + " ");
        });
    return found != mCommands.end() ? &*found : nullptr;
}

std::string Commands::faultOf(const std::string& line) const {
    const Command* const command = find(line);
    if (command == nullptr) return "no such command: " + printable(line);
    if (command->handler == nullptr) return "cannot be run at a time: " + printable(line);
    return {};
}

std::string Commands::run(const std::string& line) const {
    if (const std::string fault = faultOf(line); !fault.empty()) return "error: " + fault;
    const Command& command = *find(line);
    return command.handler(argumentOf(line, command.words));
}

void Commands::run(const std::string& line, const Later& later) const {
    const Command* const command = find(line);
    if (command != nullptr && command->laterHandler)
        command->laterHandler(argumentOf(line, command->words), later);
    else
        later(run(line));
}

}  // namespace cabinaudio::server
