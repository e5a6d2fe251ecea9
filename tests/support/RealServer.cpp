// SPDX-License-Identifier: Apache-2.0
#include "tests/support/RealServer.h"

#include "testing/src/ServerProcess.h"
#include "tests/support/Files.h"
#include "tests/support/Metronome.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

namespace cabinaudio::test {
namespace {

// Under an emulator, and with sanitizers, on a busy machine.
constexpr std::chrono::minutes PATIENCE{1};

/// A new file below TMPDIR. @return its path
std::string newFile() {
    const char* const directory = std::getenv("TMPDIR");
    std::string path =
        std::string(directory != nullptr ? directory : "/tmp") + "/cabinaudio-server.XXXXXX";
    const int file = mkstemp(path.data());
    if (file < 0) throw std::runtime_error(path + ": " + std::strerror(errno));
    close(file);
    return path;
}

std::string instanceOfThisTest() {
    const char* const instance = std::getenv("CABINAUDIO_INSTANCE");
    return instance != nullptr ? instance : "";
}

}  // namespace

/// The testing kit's.
class RealServer::Process : public testing::ServerProcess {
public:
    using ServerProcess::ServerProcess;
};

std::string RealServer::path() {
    const char* const path = std::getenv("CABINAUDIO_SERVER");
    return path != nullptr && *path != '\0' ? path : CABINAUDIO_TEST_SERVER;
}

RealServer::RealServer(std::vector<std::string> arguments) : mOutputFile(newFile()) {
    if (std::find(arguments.begin(), arguments.end(), "--fast") == arguments.end())
        Metronome::start();
    arguments.insert(arguments.begin(), path());
    try {
        mProcess = std::make_unique<Process>(std::move(arguments), instanceOfThisTest(),
                                             mOutputFile, PATIENCE);
    } catch (const std::exception&) {
        unlink(mOutputFile.c_str());
        throw;
    }
    mPid = mProcess->pid();
}

RealServer::~RealServer() {
    // Among others, one that has lost memory ends with a status of its own under a sanitizer.
    const int status = mPid > 0 ? stop() : 0;
    if (WIFEXITED(status) && WEXITSTATUS(status) != 0)
        ADD_FAILURE() << "the development server ended with status " << WEXITSTATUS(status) << ":\n"
                      << output();
    unlink(mOutputFile.c_str());
}

std::string RealServer::command(const std::string& line) const {
    return mProcess->ask(line, PATIENCE);
}

void RealServer::kill(int signal) const {
    if (mPid > 0) ::kill(mPid, signal);
}

int RealServer::stop() {
    kill(SIGTERM);
    return wait();
}

/// A server that does not end is killed, which its wait status then says.
int RealServer::wait() {
    mPid = -1;
    return mProcess->wait(PATIENCE);
}

std::string RealServer::output() const {
    return contentsOf(mOutputFile);
}

}  // namespace cabinaudio::test
