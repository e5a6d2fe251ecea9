// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/Process.h"
#include "tests/support/RealServer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>

namespace cabinaudio::test {

/// Runs the server to its end, which must have this exit status.
/// @param arguments  separated by blanks
inline Outcome runServer(int status, const std::string& arguments,
                         const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    Start start = {{RealServer::path()}};
    std::istringstream words(arguments);
    for (std::string word; words >> word;)
        start.words.push_back(word);
    return Process(start).finishExpecting(status, file, line);
}

/// Runs a server that must refuse to start. @return its one line of explanation
inline std::string refusal(int status, const std::string& arguments,
                           const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    const ::testing::ScopedTrace trace(file, line, arguments);
    const Outcome outcome = runServer(status, arguments, file, line);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    return outcome.err;
}

/// The messages of a server that refuses to start with this state file.
inline std::string complaintAbout(const std::string& stateFile) {
    return runServer(1, "--output null --state " + stateFile).err;
}

}  // namespace cabinaudio::test
