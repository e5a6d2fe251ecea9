// SPDX-License-Identifier: Apache-2.0
#include "bench/streams/Process.h"

#include "bench/support/Errors.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace cabinaudio::bench {

namespace {

long kibibytes(const char* text, const char* field) {
    const char* const line = std::strstr(text, field);
    if (line == nullptr) throw std::runtime_error(std::string("smaps_rollup without ") + field);
    return std::strtol(line + std::strlen(field), nullptr, 10);
}

std::string readToEnd(int descriptor) {
    std::string text;
    char buffer[256];
    for (ssize_t got; (got = read(descriptor, buffer, sizeof buffer)) > 0;)
        text.append(buffer, static_cast<std::size_t>(got));
    return text;
}

/// One line of /proc/self/maps.
struct Mapping {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
    bool readable = false;
    std::string file;  // empty for anonymous memory

    explicit Mapping(const std::string& line) {
        char access[5] = "";
        int path = 0;
        if (std::sscanf(line.c_str(), "%" SCNxPTR "-%" SCNxPTR " %4s %*s %*s %*s %n", &begin, &end,
                        access, &path) < 3)
            throw std::runtime_error("cannot read " + line);
        readable = access[0] == 'r';
        const std::filesystem::path name(line.substr(static_cast<std::size_t>(path)));
        if (name.is_absolute()) file = name.filename();
    }
};

void touch(const Mapping& mapping) {
    const auto pageSize = static_cast<std::uintptr_t>(getpagesize());
    for (std::uintptr_t at = mapping.begin; at < mapping.end; at += pageSize)
        static_cast<void>(*reinterpret_cast<const volatile char*>(at));
}

pid_t spawnThisProgram(const std::string& argument, int output) {
    std::string program = std::filesystem::read_symlink("/proc/self/exe");
    std::string word = argument;
    const std::array<char*, 3> arguments{program.data(), word.data(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    pid_t process = -1;
    const int error =
        posix_spawn(&process, program.c_str(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) raise(error, "posix_spawn");
    return process;
}

}  // namespace

Memory memoryNow() {
    static std::array<char, 4096> text;
    const int file = checked(open("/proc/self/smaps_rollup", O_RDONLY | O_CLOEXEC), "smaps_rollup");
    const ssize_t length = read(file, text.data(), text.size() - 1);
    close(file);
    text[static_cast<std::size_t>(checked(length, "read of smaps_rollup"))] = '\0';
    return {kibibytes(text.data(), "\nRss:"), kibibytes(text.data(), "\nPrivate_Clean:") +
                                                  kibibytes(text.data(), "\nPrivate_Dirty:")};
}

void touchMappedFilesExcept(const std::string& exempt) {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        const Mapping mapping(line);
        const bool isExempt = mapping.file.compare(0, exempt.size(), exempt) == 0;
        if (mapping.readable && !mapping.file.empty() && !isExempt) touch(mapping);
    }
}

int threadCount() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return static_cast<int>(std::distance(begin(tasks), end(tasks)));
}

std::string outputOfThisProgram(const std::string& argument) {
    int ends[2];
    checked(pipe2(ends, O_CLOEXEC), "pipe2");
    const pid_t process = spawnThisProgram(argument, ends[1]);
    close(ends[1]);
    std::string text = readToEnd(ends[0]);
    close(ends[0]);
    int status = 0;
    checked(waitpid(process, &status, 0), "waitpid");
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        throw std::runtime_error("a process of this program failed: " + argument);
    return text;
}

}  // namespace cabinaudio::bench
