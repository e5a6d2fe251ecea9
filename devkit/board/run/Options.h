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
    bool isPrivate = false;
    bool hasBoard = true;  // false: the devices are the machine's own
    bool traceSound = false;
    bool verbose = false;
    std::string instance;
    std::string configDirectory;
    std::string boardLibrary;
    std::string traceFile;  // "" for none
    std::chrono::seconds timeout{30};
    std::chrono::milliseconds wait{0};  // for a server to listen
    std::vector<std::string> program;   // with its arguments
};

/// @throws Refusal with USAGE
Options parseOptions(int argc, char** argv);

void printHelp();
void printVersion();

}  // namespace cabinaudio::run
