// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/link/AudioConnection.h>

#include "tests/link/Platform.h"
#include "tests/support/Logged.h"
#include "tests/support/ScriptedServer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <future>
#include <mutex>
#include <ostream>
#include <vector>

namespace cabinaudio::test {

inline constexpr std::chrono::seconds BOUND = std::chrono::seconds(30);
/// For what must not happen: a wrong library has this long to do it.
inline constexpr std::chrono::milliseconds WHILE = std::chrono::milliseconds(100);

struct Notification {
    std::uint32_t event;
    std::uint32_t param;
    bool operator==(const Notification&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const Notification& notification) {
        return out << "(" << notification.event << ", " << notification.param << ")";
    }
};

/// Takes the callbacks of a connection or of a remote call; pass &take and the object.
class Mailbox {
public:
    static void take(void* opaque, std::uint32_t event, std::uint32_t param) {
        auto* const box = static_cast<Mailbox*>(opaque);
        if (box->onTake) box->onTake({event, param});
        const std::lock_guard lock(box->mLock);
        box->mTaken.push_back({event, param});
        box->mChanged.notify_all();
    }

    /// Runs on the delivering thread before the notification is recorded. Set it beforehand.
    std::function<void(const Notification&)> onTake;

    [[nodiscard]] std::vector<Notification> taken() const {
        const std::lock_guard lock(mLock);
        return mTaken;
    }
    [[nodiscard]] bool waitFor(std::size_t count, std::chrono::milliseconds bound = BOUND) const {
        std::unique_lock lock(mLock);
        return mChanged.wait_for(lock, bound, [&] { return mTaken.size() >= count; });
    }

private:
    mutable std::mutex mLock;
    mutable std::condition_variable mChanged;
    std::vector<Notification> mTaken;
};

/// Counts what happens, from any thread, and lets a test wait for it.
class Counter {
public:
    void add() {
        const std::lock_guard lock(mLock);
        ++mCount;
        mChanged.notify_all();
    }
    [[nodiscard]] std::size_t count() const {
        const std::lock_guard lock(mLock);
        return mCount;
    }
    [[nodiscard]] bool waitFor(std::size_t count, std::chrono::milliseconds bound = BOUND) const {
        std::unique_lock lock(mLock);
        return mChanged.wait_for(lock, bound, [&] { return mCount >= count; });
    }

private:
    mutable std::mutex mLock;
    mutable std::condition_variable mChanged;
    std::size_t mCount = 0;
};

/// Sleeps of the library, in microseconds; none of them takes any time.
class NoSleeping {
public:
    NoSleeping()
        : mReplace(platform::selectSlot, [this](int, fd_set*, fd_set*, fd_set*, timeval* timeout) {
              const std::lock_guard lock(mLock);
              mSleeps.push_back(static_cast<long>(timeout->tv_sec) * 1000000 +
                                static_cast<long>(timeout->tv_usec));
              return platform::failWith(EINTR);  // as when a signal comes: errno is another one
          }) {}
    [[nodiscard]] std::vector<long> sleeps() const {
        const std::lock_guard lock(mLock);
        return mSleeps;
    }

private:
    mutable std::mutex mLock;
    std::vector<long> mSleeps;
    platform::Replace mReplace;
};

/// A connection whose every frame is written by the test.
class AConnection : public ::testing::Test {
protected:
    /// Connected, and accepted by the server.
    void SetUp() override { ASSERT_TRUE(server.waitForClients(1)); }

    /// recv() on a thread of its own, which gets the result.
    std::future<std::int32_t> receivingInBackground(Bytes& buffer) {
        return std::async(std::launch::async, [&] {
            return connection.recv(buffer.data(), static_cast<std::int32_t>(buffer.size()));
        });
    }

    LogCapture log;
    ScriptedServer server;
    Mailbox box;
    AudioConnection connection{wire::SERVER_SOCKET, wire::SERVER_PORT, &Mailbox::take, &box};
};

inline Bytes operator+(Bytes front, const Bytes& back) {
    front.insert(front.end(), back.begin(), back.end());
    return front;
}

}  // namespace cabinaudio::test
