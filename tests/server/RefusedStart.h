// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/server/TemporaryDirectory.h"
#include "tests/support/RealServer.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

namespace cabinaudio::test {

inline std::string contentOf(const std::string& file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// The messages of a server that refuses to start with this state file.
inline std::string complaintAbout(const std::string& stateFile,
                                  const TemporaryDirectory& directory) {
    const std::string log = directory.file("log");
    const std::string command =
        "timeout 60 '" + RealServer::path() + "' --output null --state " + stateFile + " 2>" + log;
    const int status = std::system(command.c_str());
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1) << status;
    return contentOf(log);
}

}  // namespace cabinaudio::test
