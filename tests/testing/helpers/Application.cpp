// SPDX-License-Identifier: Apache-2.0
// application COMMAND...: does these commands, one after the other.
#include <dlfcn.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

void printPlace() {
    const char* const instance = std::getenv("CABINAUDIO_INSTANCE");
    const bool hasBoard = dlsym(RTLD_DEFAULT, "cabinaudio_board_active") != nullptr;
    std::printf("instance=%s board=%d\n", instance != nullptr ? instance : "", hasBoard);
}

[[noreturn]] void sleepForever() {
    for (;;)
        pause();
}

}  // namespace

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word == "place") printPlace();
        if (word == "say") std::printf("out\n");
        if (word == "complain") std::fprintf(stderr, "first\nsecond\nthird\n");
        if (word == "variable") std::printf("KIT_VARIABLE=%s\n", std::getenv("KIT_VARIABLE"));
        if (word == "fail") return 3;
        if (word == "crash") std::abort();
        if (word == "stubborn") std::signal(SIGTERM, SIG_IGN);
        if (word == "graceful") std::signal(SIGTERM, [](int) { _exit(7); });
        std::fflush(nullptr);
        if (word == "hang") sleepForever();
    }
    return 0;
}
