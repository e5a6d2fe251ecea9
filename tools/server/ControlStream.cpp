// SPDX-License-Identifier: Apache-2.0
#include "tools/server/ControlStream.h"

#include "tools/Duration.h"
#include "tools/Failure.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace cabinaudio::tool {

namespace {

constexpr std::size_t CHUNK = 65536;

}  // namespace

ControlStream::ControlStream(const Interruption& interruption, const std::string& command,
                             std::chrono::milliseconds timeout)
    : mInterruption(interruption), mTimeout(timeout) {
    mSocket.warnOfForeignServer();
    mSocket.send(command + "\n");
    mAnswer = receiveAnswer(Clock::now() + timeout);
    if (mAnswer.starts_with(SERVER_ERROR)) throw Failure(mAnswer.substr(sizeof SERVER_ERROR - 1));
}

std::string ControlStream::receiveAnswer(Clock::time_point deadline) {
    for (;;) {
        const auto end = std::find(mInput.begin(), mInput.end(), '\n');
        if (end != mInput.end()) {
            mTaken = static_cast<std::size_t>(end - mInput.begin()) + 1;
            return {mInput.begin(), end};
        }
        switch (wait(deadline)) {
            case Wait::Readable:
                break;
            case Wait::Closed:
                throw Failure("the server is gone; it has not answered", ExitCode::NoServer);
            case Wait::Interrupted:
                throw Failure("interrupted by " + mInterruption.signalName());
            case Wait::Overdue:
                throw Failure(
                    "timed out after " + secondsText(mTimeout) + " waiting for the server's answer",
                    ExitCode::TimedOut);
        }
    }
}

/// Data before interruptions: everything that was sent before the user's signal is received.
ControlStream::Wait ControlStream::wait(const std::optional<Clock::time_point>& deadline) {
    int bound = -1;
    if (deadline)
        bound = static_cast<int>(std::max<std::chrono::milliseconds::rep>(
            0, std::chrono::ceil<std::chrono::milliseconds>(*deadline - Clock::now()).count()));
    std::array<struct pollfd, 2> entries = {
        {{mSocket.descriptor(), POLLIN, 0}, {mInterruption.event().descriptor(), POLLIN, 0}}};
    if (poll(entries.data(), entries.size(), bound) == 0) return Wait::Overdue;
    if (entries[0].revents == 0)
        return entries[1].revents != 0 ? Wait::Interrupted : Wait::Readable;
    mInput.erase(mInput.begin(), mInput.begin() + static_cast<std::ptrdiff_t>(mTaken));
    mTaken = 0;
    const std::size_t before = mInput.size();
    mInput.resize(before + CHUNK);
    const ssize_t got = recv(mSocket.descriptor(), &mInput[before], CHUNK, MSG_DONTWAIT);
    mInput.resize(before + static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    if (got > 0 || (got < 0 && (errno == EAGAIN || errno == EINTR))) return Wait::Readable;
    return Wait::Closed;
}

}  // namespace cabinaudio::tool
