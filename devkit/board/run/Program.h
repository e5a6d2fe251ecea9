// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/board/run/Elf.h"

#include <string>
#include <vector>

namespace cabinaudio::run {

/// A program that can be started, looked at down to the file that the kernel runs.
struct Program {
    std::string path;                    // what is to be executed
    std::vector<std::string> arguments;  // with the name as the user gave it
    std::string binary;                  // `path`, or the interpreter of a script
    std::vector<std::string> viaScript;  // interpreter, its argument, script; else empty
    ElfFile elf;                         // of `binary`
};

/// The file that a command name stands for, as execvp() finds it.
/// @throws Refusal with kNotFound or kNotExecutable
std::string findCommand(const std::string& name);

/// Finds the program and sees to it that a preload can work: a dynamic ELF file with
/// the GNU loader, or a script whose interpreter is one.
/// @throws Refusal
Program inspectProgram(const std::vector<std::string>& command);

}  // namespace cabinaudio::run
