// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/diag/AudioOfstream.h>

#include "tests/support/ConfigDirectory.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

namespace cabinaudio::test {
namespace {

TEST(OutputFile, HasTheSizeOfTheStandardStream) {
    EXPECT_EQ(sizeof(AudioOfstream), sizeof(std::ofstream));
}

TEST(OutputFile, HasNoDescriptorUnlessItIsOpen) {
    const ConfigDirectory directory;
    AudioOfstream file;
    EXPECT_EQ(file.fd(), -1);
    file.open(directory.top() / "out");
    EXPECT_GE(file.fd(), 0);
    file.close();
    EXPECT_EQ(file.fd(), -1);
    file.open(directory.top() / "missing" / "out");
    EXPECT_EQ(file.fd(), -1);
}

TEST(OutputFile, ReturnsTheDescriptorOfItsFile) {
    const ConfigDirectory directory;
    AudioOfstream file;
    file.open(directory.top() / "out");
    const std::string link = "/proc/self/fd/" + std::to_string(file.fd());
    EXPECT_EQ(std::filesystem::read_symlink(link).filename(), "out");
    ASSERT_EQ(::write(file.fd(), "abc", 3), 3);
    EXPECT_EQ(contentsOf(directory.top() / "out"), "abc");
}

}  // namespace
}  // namespace cabinaudio::test
