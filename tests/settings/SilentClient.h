// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/settings/Row.h"
#include "tests/support/Logged.h"

#include <gtest/gtest.h>

#include <string>

namespace cabinaudio::test {

/// A client of a scripted server whose calls send nothing. Each of them leaves one line in the log.
template <typename Client>
class SilentClient : public ::testing::Test {
protected:
    /// @param file  that the lines name
    explicit SilentClient(const char* file) : mFile(file) { log.clear(); }
    void TearDown() override {
        EXPECT_EQ(server.requests().size(), 1U) << "sent more than the registration";
    }

    /// @param operation  as the line names it
    void expectRefused(const char* operation, const std::string& message, int result,
                       int expected = REFUSED, int line = __builtin_LINE()) {
        expectLine(ERROR, operation, message, result, expected, line);
    }
    void expectInvalid(const char* operation, int result, int line = __builtin_LINE()) {
        expectRefused(operation, "invalid input param\n", result, REFUSED, line);
    }
    void expectNoEffect(const char* operation, int result, int line = __builtin_LINE()) {
        expectLine(WARN, operation, std::string("Deprecated API[") + operation + "] is called. \n",
                   result, 0, line);
    }

    ScriptedServer server;
    LogCapture log;
    Client client;

private:
    void expectLine(int priority, const char* operation, const std::string& message, int result,
                    int expected, int line) {
        SCOPED_TRACE(testing::Message() << operation << " in line " << line);
        EXPECT_EQ(result, expected);
        EXPECT_EQ(log.lines().size(), 1U) << log.dump();
        EXPECT_TRUE(logged(log, priority, mFile, operation, message)) << message;
        log.clear();
    }

    const char* mFile;
};

}  // namespace cabinaudio::test
