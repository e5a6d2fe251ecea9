// SPDX-License-Identifier: Apache-2.0
#include "tools/play/PipeFeed.h"

#include "tools/Failure.h"
#include "tools/play/InputBytes.h"

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <span>

namespace cabinaudio::tool {

namespace {

/// @return false once nobody reads any more
bool sendAll(int descriptor, std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const ssize_t sent = send(descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) continue;
        if (sent <= 0) return false;
        bytes = bytes.subspan(static_cast<std::size_t>(sent));
    }
    return true;
}

}  // namespace

PipeFeed::PipeFeed(std::unique_ptr<InputBytes> input) : mInput(std::move(input)) {
    // Not a pipe: a write to a pipe that nobody reads raises a signal.
    std::array<int, 2> ends;
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
        throw Failure(std::string("no socket pair: ") + std::strerror(errno));
    mReadingEnd = ends[0];
    mWritingEnd = ends[1];
    mThread = std::thread([this] { feed(); });
}

PipeFeed::~PipeFeed() {
    stop();
}

bool PipeFeed::end() {
    shutdown(mReadingEnd, SHUT_RD);  // the thread may wait for space
    stop();
    if (mError) std::rethrow_exception(mError);
    return mOggEnd.isComplete();
}

void PipeFeed::stop() {
    mStop.set();
    if (mThread.joinable()) mThread.join();
}

void PipeFeed::feed() {
    try {
        feedAll();
    } catch (...) {
        mError = std::current_exception();
    }
    close(mWritingEnd);
}

void PipeFeed::feedAll() {
    std::array<std::uint8_t, 16384> buffer;
    while (mInput->wait(mStop)) {
        const std::size_t got = mInput->readSome(buffer);
        const auto bytes = std::span(buffer).first(got);
        mOggEnd.take(bytes);
        if (got == 0 || !sendAll(mWritingEnd, bytes)) return;
    }
}

}  // namespace cabinaudio::tool
