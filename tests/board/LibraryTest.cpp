// SPDX-License-Identifier: Apache-2.0
// The library as an object that is loaded into other programs.
#include "devkit/board/Board.h"
#include "tests/support/Process.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

namespace cabinaudio::test {
namespace {

std::string linesWith(const std::string& word, const std::string& text) {
    std::string found;
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t end = text.find('\n', begin) + 1;
        const std::string line = text.substr(begin, end - begin);
        if (line.find(word) != std::string::npos) found += line;
        begin = end == 0 ? text.size() : end;
    }
    return found;
}

std::string readElf(Words words) {
    words.insert(words.begin(), BOARD_TEST_READELF);
    words.emplace_back(BOARD_TEST_LIBRARY);
    return Process({words}).finishExpecting(0).out;
}

TEST(StandIn, ReportsItsVersion) {
    EXPECT_EQ(cabinaudio_board_active(), board::VERSION);
    EXPECT_EQ(board::activeVersion(), board::VERSION);
}

TEST(StandIn, NeedsNothingButTheCLibrary) {
    const std::string read = readElf({"-dW"});
    std::string needed = linesWith("(NEEDED)", read);
    ASSERT_NE(needed, "");
    for (const char* allowed : {"[libc.so.6]", "[libdl.so.2]", "[ld-linux"}) {
        const std::string line = linesWith(allowed, needed);
        if (!line.empty()) needed.erase(needed.find(line), line.size());
    }
    EXPECT_EQ(needed, "");
    EXPECT_NE(linesWith("(SONAME)", read).find("[libcabinaudio-board.so]"), std::string::npos);
}

TEST(StandIn, ExportsWhatItStandsInForAndNothingElse) {
    const std::string read = readElf({"--dyn-syms", "-W"});
    const std::string allowed[] = {"__ioctl_time64",
                                   "__open64_2",
                                   "__open_2",
                                   "__openat64_2",
                                   "__openat_2",
                                   "bind",
                                   "cabinaudio_board_active",
                                   "cabinaudio_board_instance",
                                   "connect",
                                   "fopen",
                                   "fopen64",
                                   "ioctl",
                                   "mkdir",
                                   "open",
                                   "open64",
                                   "openat",
                                   "openat64",
                                   "pthread_create",
                                   "shm_open",
                                   "shm_unlink"};
    std::string defined;
    for (const std::string& name : allowed) {
        const std::string line = linesWith(" " + name + "\n", read);
        EXPECT_NE(line.find(" FUNC "), std::string::npos) << name;
        EXPECT_EQ(line.find(" UND "), std::string::npos) << name;
        defined += line;
    }
    const auto count = [](const std::string& text) {
        return std::count(text.begin(), text.end(), '\n');
    };
    const std::string global = linesWith(" DEFAULT ", linesWith(" GLOBAL ", read));
    EXPECT_EQ(count(global) - count(linesWith(" UND ", global)), count(defined)) << global;
}

TEST(StandIn, PrecedesTheCLibrary) {
    Dl_info where{};
    void* libc = dlopen("libc.so.6", RTLD_NOLOAD | RTLD_LAZY);
    ASSERT_NE(dladdr(dlsym(RTLD_DEFAULT, "shm_unlink"), &where), 0);
    const std::string file = where.dli_fname;
    EXPECT_NE(file.find("libcabinaudio-board.so"), std::string::npos) << file;
    EXPECT_NE(dlsym(libc, "shm_unlink"), dlsym(RTLD_DEFAULT, "shm_unlink"));
}

}  // namespace
}  // namespace cabinaudio::test
