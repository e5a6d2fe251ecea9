// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/board/run/Elf.h"

#include <string>
#include <vector>

namespace cabinaudio::run {

/// A program to start, resolved down to the file that the kernel runs.
struct Program {
    std::string path;                    // file to execute
    std::vector<std::string> arguments;  // including the name as given by the user
    std::string binary;                  // `path`, or the interpreter of a script
    std::vector<std::string> viaScript;  // interpreter, its argument, script; else empty
    ElfFile elf;                         // of `binary`
};

/// The file for a command name, as execvp() finds it.
/// @throws Refusal with NOT_FOUND or NOT_EXECUTABLE
std::string findCommand(const std::string& name);

/// Finds the program and checks that a preload can work: a dynamic ELF file with the GNU loader, or
/// a script whose interpreter is such a file.
/// @throws Refusal
Program inspectProgram(const std::vector<std::string>& command);

}  // namespace cabinaudio::run
