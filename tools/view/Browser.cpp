// SPDX-License-Identifier: Apache-2.0
#include "tools/view/Browser.h"

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <string_view>
#include <vector>

namespace cabinaudio::tool::view {

namespace {

/// The browser must not get the stand-in of the board.
std::vector<char*> environmentWithoutPreload() {
    std::vector<char*> kept;
    for (char** entry = environ; *entry != nullptr; ++entry)
        if (!std::string_view(*entry).starts_with("LD_PRELOAD=")) kept.push_back(*entry);
    kept.push_back(nullptr);
    return kept;
}

bool hasDisplay() {
    return std::getenv("DISPLAY") != nullptr || std::getenv("WAYLAND_DISPLAY") != nullptr;
}

}  // namespace

void openBrowser(const std::string& address) {
    if (!hasDisplay()) return;
    std::string program = "xdg-open";
    std::string argument = address;
    char* const words[] = {program.data(), argument.data(), nullptr};
    std::vector<char*> environment = environmentWithoutPreload();
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        posix_spawn_file_actions_addopen(&files, descriptor, "/dev/null", O_RDWR, 0);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setpgroup(&attributes, 0);  // Ctrl-C is for this program only
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETPGROUP);
    pid_t child = 0;
    // Without the program the user opens the address that was printed.
    (void)posix_spawnp(&child, program.c_str(), &files, &attributes, words, environment.data());
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&files);
}

}  // namespace cabinaudio::tool::view
