// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/testing/Directory.h>
#include <cabinaudio/testing/Program.h>
#include <cabinaudio/testing/Server.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace cabinaudio::testing {

/// Base of test fixtures: each test has a server of its own.
///
/// At the end of a test, its programs are killed and the server is stopped. An error of time, and a
/// server that ends with a signal or a status that no test asked for, fail the test, also in runs
/// before a restart(); crash() asks for a signal. See
/// TestDirectory for the files of failed tests.
class ServerTest : public ::testing::Test {
protected:
    using Options = ServerOptions;

    /// How the server is started. A test that wants another one for itself calls start().
    virtual Options options() { return {}; }

    void SetUp() override;
    void TearDown() override;

    /// The server that runs, or the last one that did.
    /// @throws Failure when none was started
    [[nodiscard]] TestServer& server();
    /// Ends the server, if there is one, and starts another in the same directory.
    TestServer& start(const ServerOptions& options);
    /// Starts a program under cabinaudio-run, to be killed at the end of the test.
    TestProgram& launch(std::vector<std::string> words, ProgramOptions options = {});
    [[nodiscard]] const TestDirectory& directory() const { return mDirectory; }
    /// For tests of faults: the server's end and errors of time fail no test.
    void expectErrors() { mExpectsErrors = true; }

private:
    void judgeEnd();
    static void judge(const Result& result);

    TestDirectory mDirectory;
    std::unique_ptr<TestServer> mServer;
    std::vector<std::unique_ptr<TestProgram>> mPrograms;
    bool mExpectsErrors = false;
};

}  // namespace cabinaudio::testing
