// SPDX-License-Identifier: Apache-2.0
#include "tools/top/ServerPoll.h"

#include "devkit/text/Printable.h"
#include "tools/Failure.h"

#include <sys/socket.h>

#include <array>
#include <cerrno>

namespace cabinaudio::tool::top {

void ServerPoll::ask(const std::string& question) {
    if (mAskedAt) {
        if (Clock::now() - *mAskedAt >= mTimeout) lose("it does not answer");
        return;
    }
    try {
        if (!mSocket) mSocket.emplace();
        mSocket->send(question + "\n");
        mAskedAt = Clock::now();
    } catch (const Failure& failure) {
        lose(failure.code() == ExitCode::NoServer ? "it is not running" : failure.what());
    }
}

std::optional<Json> ServerPoll::receive() {
    std::array<char, 16384> part;
    const ssize_t got = recv(mSocket->descriptor(), part.data(), part.size(), MSG_DONTWAIT);
    if (got < 0 && (errno == EAGAIN || errno == EINTR)) return {};
    if (got <= 0) {
        lose("it is not running");
        return {};
    }
    mInput.append(part.data(), static_cast<std::size_t>(got));
    const std::size_t end = mInput.find('\n');
    if (end == std::string::npos) return {};
    Json state = Json::parse(mInput.substr(0, end), nullptr, false);
    if (!state.is_object()) {
        lose("its answer is no state: " + text::printable(mInput.substr(0, end)));
        return {};
    }
    mInput.erase(0, end + 1);
    mAskedAt.reset();
    mLostSince.reset();
    return state;
}

/// A server that does not answer gets a new connection: its answer to the old one would be late.
void ServerPoll::lose(const std::string& problem) {
    mSocket.reset();
    mInput.clear();
    mAskedAt.reset();
    mProblem = problem;
    if (!mLostSince) mLostSince = Wall::now();
}

}  // namespace cabinaudio::tool::top
