// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace cabinaudio::run {

/// Values of the command line's options.
struct Options {
    enum class Task { RunProgram, Clean, Help, Version };

    Task task = Task::RunProgram;
    std::string instance;
    bool isPrivate = false;
    std::string configDirectory;
    std::string boardLibrary;
    bool hasBoard = true;   // false: the devices are the machine's own
    std::string traceFile;  // "" for none
    bool traceSound = false;
    std::chrono::seconds timeout{30};
    std::chrono::milliseconds wait{0};  // for a server to listen
    bool verbose = false;
    std::vector<std::string> program;  // with its arguments
};

/// @throws Refusal with USAGE
Options parseOptions(int argc, char** argv);

void printHelp();
void printVersion();

}  // namespace cabinaudio::run
