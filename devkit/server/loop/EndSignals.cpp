// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/loop/EndSignals.h"

#include "devkit/server/base/SystemError.h"

#include <sys/epoll.h>
#include <sys/signalfd.h>

#include <utility>

namespace cabinaudio::server {
namespace {

sigset_t endSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    return signals;
}

}  // namespace

EndSignals::EndSignals(EventLoop& loop, std::function<void(int signal)> handler)
    : mLoop(loop), mHandler(std::move(handler)), mSignals(endSignals()) {
    pthread_sigmask(SIG_BLOCK, &mSignals, nullptr);
    mFd = UniqueFd(signalfd(-1, &mSignals, SFD_CLOEXEC | SFD_NONBLOCK));
    if (!mFd) throw systemError("signalfd");
    mLoop.add(
        mFd.get(), EPOLLIN, [this](std::uint32_t) { onReadable(); }, EventLoop::Turn::First);
}

EndSignals::~EndSignals() {
    mLoop.remove(mFd.get());
}

void EndSignals::onReadable() {
    signalfd_siginfo info = {};
    if (read(mFd.get(), &info, sizeof info) != sizeof info) return;
    pthread_sigmask(SIG_UNBLOCK, &mSignals, nullptr);
    mHandler(static_cast<int>(info.ssi_signo));
}

}  // namespace cabinaudio::server
