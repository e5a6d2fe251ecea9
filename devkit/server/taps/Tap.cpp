// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/taps/Tap.h"

#include "devkit/server/base/Log.h"

#include <sys/epoll.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <utility>

namespace cabinaudio::server {

Tap::Tap(EventLoop& loop, UniqueFd socket, Admitted admitted, Wanted wanted, std::size_t bound,
         std::function<void()> onGone)
    : mLoop(loop),
      mSocket(std::move(socket)),
      mAdmitted(std::move(admitted)),
      mWanted(std::move(wanted)),
      mBound(bound),
      mOnGone(std::move(onGone)) {
    watch();
}

Tap::~Tap() {
    mLoop.remove(mSocket.get());
}

void Tap::answer(const std::string& line) {
    const std::string whole = line + "\n";
    append(whole.data(), whole.size());
    send();
}

void Tap::add(std::span<const float> frames, unsigned channels) {
    if (mIsGone || mIsFinished) return;
    const std::size_t count = frames.size() / channels;
    encodeSamples(mWanted.type, selected(frames, channels), mEncoded);
    if (queuedBytes() + mEncoded.size() > mBound) {
        lose(count);
        return;
    }
    reportLoss();
    append(TapRecord::Samples, static_cast<std::uint32_t>(mEncoded.size()));
    append(mEncoded.data(), mEncoded.size());
    send();
}

void Tap::begin(const PlaybackStream& source) {
    mSource = &source;
    append(TapRecord::Begun, 0);
    send();
}

void Tap::finish(TapRecord kind) {
    if (std::exchange(mIsFinished, true)) return;
    mSource = nullptr;
    reportLoss();
    append(kind, 0);
    send();
}

std::span<const float> Tap::selected(std::span<const float> frames, unsigned channels) {
    if (!mWanted.channel) return frames;
    mChannel.clear();
    for (std::size_t i = *mWanted.channel; i < frames.size(); i += channels)
        mChannel.push_back(frames[i]);
    return mChannel;
}

void Tap::lose(std::size_t frames) {
    if (mLostFrames == 0)
        log::warning("a listener does not read its sound; what does not fit is lost");
    mLostFrames += frames;
    mUnreported += static_cast<std::uint32_t>(frames);
}

void Tap::reportLoss() {
    if (mUnreported != 0) append(TapRecord::Lost, std::exchange(mUnreported, 0));
}

void Tap::append(TapRecord kind, std::uint32_t count) {
    const TapHeader header = {kind, count};
    append(&header, sizeof header);
}

void Tap::append(const void* bytes, std::size_t size) {
    const auto* const begin = static_cast<const std::uint8_t*>(bytes);
    mBuffer.insert(mBuffer.end(), begin, begin + size);
}

bool Tap::send() {
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

/// A listener sends nothing: input is the end of its connection, or is ignored.
void Tap::onEvent() {
    send();
    std::array<char, 256> ignored;
    const ssize_t count = recv(mSocket.get(), ignored.data(), ignored.size(), MSG_DONTWAIT);
    if (count == 0 || (count < 0 && errno != EAGAIN && errno != EINTR)) mIsGone = true;
    if (!mIsGone) return;
    mLoop.remove(mSocket.get());
    mOnGone();
}

void Tap::watch() {
    const std::uint32_t wanted = isPending() ? EPOLLIN | EPOLLOUT : EPOLLIN;
    if (wanted == std::exchange(mWatched, wanted)) return;
    mLoop.remove(mSocket.get());
    mLoop.add(mSocket.get(), wanted, [this](std::uint32_t) { onEvent(); });
}

}  // namespace cabinaudio::server
