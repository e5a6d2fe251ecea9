// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/clients/Program.h"

#include <algorithm>
#include <cstddef>
#include <fstream>
#include <iterator>

namespace cabinaudio::server {
namespace {

// Linux cuts a process's name to this length.
constexpr std::size_t LONGEST_NAME = 15;

std::string readProcessFile(std::int32_t process, const char* file) {
    std::ifstream stream("/proc/" + std::to_string(process) + "/" + file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// The program's own file name, from the command line.
std::string commandOf(std::int32_t process) {
    std::string command = readProcessFile(process, "cmdline");
    command.resize(std::min(command.size(), command.find('\0')));
    return command.substr(command.rfind('/') + 1);
}

}  // namespace

/// The command line is the process's own to change, so it only completes a name that was cut.
std::optional<std::string> programOf(std::int32_t process) {
    if (process <= 0) return std::nullopt;
    std::string name = readProcessFile(process, "comm");
    if (!name.empty() && name.back() == '\n') name.pop_back();
    if (name.empty()) return std::nullopt;
    if (name.size() < LONGEST_NAME) return name;
    std::string command = commandOf(process);
    return command.starts_with(name) ? command : name;
}

}  // namespace cabinaudio::server
