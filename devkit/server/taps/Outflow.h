// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/clients/Admission.h"
#include "devkit/server/loop/EventLoop.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

namespace cabinaudio::server {

/// Bytes on their way to a control connection that only receives. Never waits for the other side:
/// what the connection does not take stays here, and the owner decides how much may. Of the event
/// loop's thread.
class Outflow {
public:
    /// @param onGone  called once the other side has closed its connection
    Outflow(EventLoop& loop, UniqueFd socket, Admitted admitted, std::function<void()> onGone);
    ~Outflow();
    Outflow(const Outflow&) = delete;
    Outflow& operator=(const Outflow&) = delete;

    void append(const void* bytes, std::size_t size);
    /// Sends what the connection takes without waiting. @return whether it took anything
    bool send();

    /// Whether the other side has closed its connection.
    [[nodiscard]] bool isGone() const { return mIsGone; }
    /// Whether something still waits for the other side.
    [[nodiscard]] bool isPending() const { return !mIsGone && queuedBytes() != 0; }
    [[nodiscard]] std::size_t queuedBytes() const { return mBuffer.size() - mSent; }
    [[nodiscard]] int descriptor() const { return mSocket.get(); }

    /// Sends the rest of all, and waits for those that still read: for each of their pauses up to
    /// half a second, in all up to 5 s.
    static void drain(std::span<Outflow* const> outflows);

private:
    void onEvent();
    void watch();
    [[nodiscard]] static bool waitForRoom(std::span<Outflow* const> outflows);

    EventLoop& mLoop;
    UniqueFd mSocket;
    Admitted mAdmitted;
    std::function<void()> mOnGone;
    std::vector<std::uint8_t> mBuffer;
    std::size_t mSent = 0;  // bytes at the buffer's front that were sent
    bool mIsGone = false;
    std::uint32_t mWatched = 0;  // events
};

}  // namespace cabinaudio::server
