// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/testing/ServerTest.h>

#include "testing/src/Text.h"

#include <utility>

namespace cabinaudio::testing {

void ServerTest::SetUp() {
    start(options());
}

void ServerTest::TearDown() {
    // Programs first: what they do to a server that stops is not part of the test.
    mPrograms.clear();
    if (mServer) judgeEnd();
}

void ServerTest::judgeEnd() {
    mServer->stop();
    if (mExpectsErrors) return;
    for (const Result& result : mServer->results())
        judge(result);
}

void ServerTest::judge(const Result& result) {
    constexpr int TIME_ERRORS = 5;
    if (result.isCrash()) return;
    if (result.signal() != 0)
        ADD_FAILURE() << "the server was ended by signal " << result.signal() << ":\n"
                      << lastLinesOf(result.log(), 20);
    else if (result.exitStatus() == TIME_ERRORS)
        for (const std::string& error : result.errors())
            ADD_FAILURE() << error;
    else if (result.exitStatus() != 0)
        ADD_FAILURE() << "the server ended with status " << result.exitStatus() << ":\n"
                      << lastLinesOf(result.log(), 20);
}

TestServer& ServerTest::server() {
    if (!mServer) throw Failure("no server was started");
    return *mServer;
}

TestServer& ServerTest::start(const ServerOptions& options) {
    if (mServer) judgeEnd();
    mServer.reset();
    mServer = std::make_unique<TestServer>(options, mDirectory.path());
    return *mServer;
}

TestProgram& ServerTest::launch(std::vector<std::string> words, ProgramOptions options) {
    if (options.directory.empty()) options.directory = mDirectory.path();
    mPrograms.push_back(std::make_unique<TestProgram>(std::move(words), options));
    return *mPrograms.back();
}

}  // namespace cabinaudio::testing
