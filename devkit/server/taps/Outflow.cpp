// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/taps/Outflow.h"

#include <poll.h>
#include <sys/epoll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <utility>

namespace cabinaudio::server {
namespace {

using Clock = std::chrono::steady_clock;

// At the server's end: for connections that do not read, and in all.
constexpr std::chrono::milliseconds PATIENCE{500};
constexpr std::chrono::seconds LONGEST_END{5};

}  // namespace

Outflow::Outflow(EventLoop& loop, UniqueFd socket, Admitted admitted, std::function<void()> onGone)
    : mLoop(loop),
      mSocket(std::move(socket)),
      mAdmitted(std::move(admitted)),
      mOnGone(std::move(onGone)) {
    watch();
}

Outflow::~Outflow() {
    mLoop.remove(mSocket.get());
}

void Outflow::append(const void* bytes, std::size_t size) {
    const auto* const begin = static_cast<const std::uint8_t*>(bytes);
    mBuffer.insert(mBuffer.end(), begin, begin + size);
}

bool Outflow::send() {
    if (mIsGone || mSent == mBuffer.size()) return false;
    const ssize_t sent = ::send(mSocket.get(), mBuffer.data() + mSent, mBuffer.size() - mSent,
                                MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent < 0 && errno != EAGAIN && errno != EINTR) mIsGone = true;
    if (sent > 0) mSent += static_cast<std::size_t>(sent);
    // Moving the rest is cheap only now and then.
    if (mSent > mBuffer.size() / 2) {
        mBuffer.erase(mBuffer.begin(), mBuffer.begin() + static_cast<std::ptrdiff_t>(mSent));
        mSent = 0;
    }
    watch();
    return sent > 0;
}

/// The other side sends nothing: input is the end of its connection, or is ignored.
void Outflow::onEvent() {
    send();
    std::array<char, 256> ignored;
    const ssize_t count = recv(mSocket.get(), ignored.data(), ignored.size(), MSG_DONTWAIT);
    if (count == 0 || (count < 0 && errno != EAGAIN && errno != EINTR)) mIsGone = true;
    if (!mIsGone) return;
    mLoop.remove(mSocket.get());
    mOnGone();
}

void Outflow::watch() {
    const std::uint32_t wanted = isPending() ? EPOLLIN | EPOLLOUT : EPOLLIN;
    if (wanted == std::exchange(mWatched, wanted)) return;
    mLoop.remove(mSocket.get());
    mLoop.add(mSocket.get(), wanted, [this](std::uint32_t) { onEvent(); });
}

void Outflow::drain(std::span<Outflow* const> outflows) {
    const Clock::time_point last = Clock::now() + LONGEST_END;
    for (Outflow* const outflow : outflows)
        outflow->send();
    while (Clock::now() < last && waitForRoom(outflows)) {
        for (Outflow* const outflow : outflows)
            outflow->send();
    }
}

/// @return false when no connection takes anything in time, or none has to
bool Outflow::waitForRoom(std::span<Outflow* const> outflows) {
    std::vector<struct pollfd> entries;
    for (const Outflow* const outflow : outflows)
        if (outflow->isPending()) entries.push_back({outflow->descriptor(), POLLOUT, 0});
    return !entries.empty() &&
           poll(entries.data(), entries.size(), static_cast<int>(PATIENCE.count())) > 0;
}

}  // namespace cabinaudio::server
