// SPDX-License-Identifier: Apache-2.0
#include "tools/scenario/PrivateServer.h"

#include "tools/Failure.h"
#include "tools/scenario/Files.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <thread>

namespace cabinaudio::tool::scenario {

/// The server writes into it when it is ready.
class PrivateServer::Pipe {
public:
    Pipe() {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0)
            throw Failure(std::string("cannot make a pipe: ") + std::strerror(errno));
        mReading = ends[0];
        // Not the number that the child uses: dup2() would leave it closed on exec.
        mWriting = fcntl(ends[1], F_DUPFD_CLOEXEC, 10);
        close(ends[1]);
    }
    ~Pipe() {
        close(mReading);
        closeWriting();
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    void closeWriting() {
        if (mWriting >= 0) close(mWriting);
        mWriting = -1;
    }
    [[nodiscard]] int reading() const { return mReading; }
    [[nodiscard]] int writing() const { return mWriting; }

private:
    int mReading;
    int mWriting;
};

namespace {

// After SIGTERM the server writes its report and removes its shared memory.
constexpr std::chrono::milliseconds END_BOUND{2000};
constexpr std::chrono::milliseconds POLL_PAUSE{2};

ChildStart startOf(const Locations& locations, const std::string& instance, const PartFiles& files,
                   const Words& own, int readyFd) {
    ChildStart start;
    start.words = {
        locations.server, "--instance", instance,   "--ready-fd", std::to_string(Child::READY_FD),
        "--time",         "lockstep",   "--strict", "--output",   "wav:" + files.heard,
        "--report",       files.report, "--stems",  files.stems,  "--trace"};
    start.words.insert(start.words.end(), own.begin(), own.end());
    start.outputFile = files.trace;
    start.errorFile = files.log;
    start.readyFd = readyFd;
    return start;
}

}  // namespace

PrivateServer::PrivateServer(const Locations& locations, const std::string& instance,
                             const PartFiles& files, const Words& own)
    : mInstance(instance),
      mLog(files.log),
      mReady(std::make_unique<Pipe>()),
      mChild(startOf(locations, instance, files, own, mReady->writing())) {
    mReady->closeWriting();
}

PrivateServer::~PrivateServer() {
    mChild.send(SIGCONT);
    mChild.send(SIGTERM);
    const auto deadline = std::chrono::steady_clock::now() + END_BOUND;
    while (!mChild.ended() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(POLL_PAUSE);
}

bool PrivateServer::isReady(std::chrono::milliseconds bound) {
    struct pollfd entry = {mReady->reading(), POLLIN, 0};
    if (poll(&entry, 1, static_cast<int>(bound.count())) <= 0) return false;
    char text[16];
    return read(mReady->reading(), text, sizeof text) > 0;
}

void PrivateServer::connect() {
    mLink.emplace(mInstance);
}

std::string PrivateServer::lastWords() const {
    return lastLine(mLog);
}

}  // namespace cabinaudio::tool::scenario
