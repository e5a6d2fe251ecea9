// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/run/Program.h"

#include "devkit/board/run/Refusal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace cabinaudio::run {
namespace {

constexpr int MOST_INTERPRETERS = 5;  // the kernel's limit

enum class Found { Executable, NotExecutable, Unreachable, Nothing };

Found classify(const std::string& path) {
    struct stat64 status;
    if (stat64(path.c_str(), &status) != 0)
        return errno == ENOENT || errno == ENOTDIR ? Found::Nothing : Found::Unreachable;
    const bool executable =
        S_ISREG(status.st_mode) && faccessat(AT_FDCWD, path.c_str(), X_OK, AT_EACCESS) == 0;
    return executable ? Found::Executable : Found::NotExecutable;
}

std::vector<std::string> searchPath() {
    const char* given = std::getenv("PATH");
    std::istringstream path(given != nullptr ? given : "/bin:/usr/bin");
    std::vector<std::string> directories;
    for (std::string directory; std::getline(path, directory, ':');)
        directories.push_back(directory.empty() ? "." : directory);
    return directories;
}

/// The words of "#!interpreter argument": at most two, split as by the kernel.
std::vector<std::string> interpreterLine(const std::string& script) {
    std::ifstream file(script, std::ios::binary);
    std::string line;
    std::getline(file, line);
    if (!line.starts_with("#!")) return {};
    const char* blanks = " \t";
    const std::size_t begin = line.find_first_not_of(blanks, 2);
    if (begin == std::string::npos) return {};
    const std::size_t end = line.find_first_of(blanks, begin);
    std::vector<std::string> words{line.substr(begin, end - begin)};
    const std::size_t argument = line.find_first_not_of(blanks, end);
    if (argument != std::string::npos)
        words.push_back(line.substr(argument, line.find_last_not_of(blanks) + 1 - argument));
    return words;
}

/// Puts the interpreter's words before the file that it runs.
void goToInterpreter(Program& program) {
    std::vector<std::string> words = interpreterLine(program.binary);
    if (words.empty()) {
        throw Refusal(program.binary + " is neither an ELF program nor a #! script",
                      NOT_EXECUTABLE);
    }
    const std::string interpreter = words.front();
    if (classify(interpreter) != Found::Executable) {
        throw Refusal(program.binary + ": its interpreter " + interpreter + " is not executable",
                      NOT_EXECUTABLE);
    }
    if (program.viaScript.empty()) program.viaScript.push_back(program.path);
    program.viaScript.insert(program.viaScript.begin(), words.begin(), words.end());
    program.binary = interpreter;
}

void checkLoader(const Program& program) {
    if (program.elf.loader.empty())
        throw Refusal(program.binary + " is a static program: nothing can be preloaded into it");
    const std::string name = program.elf.loader.substr(program.elf.loader.rfind('/') + 1);
    // Other loaders may not support the dry run, and would run the program.
    if (!name.starts_with("ld-linux")) {
        throw Refusal(program.binary + " is loaded by " + program.elf.loader +
                      ", not by the GNU C library's loader");
    }
}

}  // namespace

std::string findCommand(const std::string& name) {
    if (name.find('/') != std::string::npos) {
        switch (classify(name)) {
            case Found::Executable:
                return name;
            case Found::NotExecutable:
            case Found::Unreachable:
                throw Refusal(name + " is not executable", NOT_EXECUTABLE);
            case Found::Nothing:
                throw Refusal(name + " is not found", NOT_FOUND);
        }
    }
    bool seen = false;
    for (const std::string& directory : searchPath()) {
        std::string candidate = directory;
        candidate.append("/").append(name);
        const Found found = name.empty() ? Found::Nothing : classify(candidate);
        if (found == Found::Executable) return candidate;
        seen = seen || found == Found::NotExecutable;
    }
    throw seen ? Refusal(name + " is not executable", NOT_EXECUTABLE)
               : Refusal("'" + name + "' is not found in PATH", NOT_FOUND);
}

Program inspectProgram(const std::vector<std::string>& command) {
    Program program;
    program.path = findCommand(command.front());
    program.arguments = command;
    program.binary = program.path;
    for (int i = 0; i <= MOST_INTERPRETERS; ++i) {
        if (const std::optional<ElfFile> elf = readElf(program.binary)) {
            program.elf = *elf;
            checkLoader(program);
            return program;
        }
        goToInterpreter(program);
    }
    throw Refusal(program.path + ": too many interpreters", NOT_EXECUTABLE);
}

}  // namespace cabinaudio::run
