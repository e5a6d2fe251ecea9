// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/link/AudioConnection.h>
#include <cabinaudio/link/RemoteCall.h>

#include "tests/interpose/Replaced.h"
#include "tests/interpose/Sockets.h"
#include "tests/interpose/Threads.h"
#include "tests/support/Logged.h"
#include "tests/support/Row.h"
#include "tests/support/ScriptedServer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <future>
#include <limits>
#include <memory>
#include <mutex>
#include <ostream>
#include <string>
#include <vector>

namespace cabinaudio::test {

inline constexpr std::chrono::seconds BOUND = std::chrono::seconds(30);
/// Time that a wrong library has to do something that must not happen.
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

/// Counts events, from any thread, and lets a test wait for them.
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

/// As a failing function of the platform.
inline int failWith(int error) {
    errno = error;
    return -1;
}

/// Whether a thread with these attributes is one of the library's: those choose their scheduling.
inline bool isLibraryThread(const pthread_attr_t* attributes) {
    int inherit = PTHREAD_INHERIT_SCHED;
    if (attributes != nullptr) pthread_attr_getinheritsched(attributes, &inherit);
    return inherit == PTHREAD_EXPLICIT_SCHED;
}

/// Sleeps of the library, in microseconds; none of them takes any time.
class NoSleeping {
public:
    NoSleeping()
        : mReplace([this](int, fd_set*, fd_set*, fd_set*, timeval* timeout) {
              const std::lock_guard lock(mLock);
              mSleeps.push_back(static_cast<long>(timeout->tv_sec) * 1000000 +
                                static_cast<long>(timeout->tv_usec));
              return failWith(EINTR);  // as after a signal: errno is another one
          }) {}
    [[nodiscard]] std::vector<long> sleeps() const {
        const std::lock_guard lock(mLock);
        return mSleeps;
    }

private:
    mutable std::mutex mLock;
    std::vector<long> mSleeps;
    Replaced<platform::select> mReplace;
};

/// Library threads that the system refuses: all of them, or the first ones.
class RefusedThreads {
public:
    explicit RefusedThreads(int count = std::numeric_limits<int>::max())
        : mCount(count),
          mReplace([this](pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*entry)(void*), void* argument) {
              if (isLibraryThread(attributes) && ++mThreads <= mCount) return EPERM;
              return platform::pthread_create.real(thread, attributes, entry, argument);
          }) {}
    /// Library threads so far, refused or not.
    [[nodiscard]] int threads() const { return mThreads; }

private:
    const int mCount;
    std::atomic<int> mThreads = 0;
    Replaced<platform::pthread_create> mReplace;
};

/// In place of send or recv: returns this number, with this errno, and counts the calls.
inline auto returning(ssize_t result, int error, std::atomic<int>* calls = nullptr) {
    return [=](int, const void*, std::size_t, int) {
        if (calls != nullptr) ++*calls;
        errno = error;
        return result;
    };
}

/// A send of the library that returns this number, with EPIPE, when the test lets it.
class HeldSend {
public:
    explicit HeldSend(ssize_t result)
        : mSend([this, result](int descriptor, const void*, std::size_t, int) {
              mDescriptor = descriptor;
              mEntered.add();
              mLeave.get_future().wait();
              errno = EPIPE;
              return result;
          }),
          mShutdown([this](int descriptor, int how) {
              const int done = platform::shutdown.real(descriptor, how);
              mShutDown.add();
              return done;
          }) {}

    [[nodiscard]] bool waitForSend() const { return mEntered.waitFor(1); }
    /// Waits until the library has shut a socket down.
    [[nodiscard]] bool waitForShutdown() const { return mShutDown.waitFor(1); }
    [[nodiscard]] int descriptor() const { return mDescriptor; }
    void release() { mLeave.set_value(); }

private:
    Counter mEntered;
    Counter mShutDown;
    std::promise<void> mLeave;
    std::atomic<int> mDescriptor = -1;
    Replaced<platform::send> mSend;
    Replaced<platform::shutdown> mShutdown;
};

/// Of sending a message or receiving a body, when each call of the platform's function returns the
/// same.
struct Attempts : Row {
    ssize_t result;  // of the platform's function
    int error;
    const char* cause;  // as logged
    std::int32_t status;
    int calls;
    /// Each attempt has a warning and a pause, each but the first a debug line.
    void expectIn(const LogCapture& log, const std::string& operation,
                  const NoSleeping& sleeping) const {
        const std::string number = "(" + std::to_string(result) + ") ";
        for (int retry = 0; retry < calls; ++retry) {
            const std::string which = std::to_string(retry) + "\n";
            EXPECT_TRUE(
                logged(log, WARN, "AudioConnection", operation,
                       operation + " failed" + number + "errno:" + cause + ", reTry=" + which));
            EXPECT_TRUE(logged(log, DEBUG, "AudioConnection", operation,
                               operation + number + "reTry:" + which, retry == 0 ? 0 : 1));
        }
        const auto count = static_cast<std::size_t>(calls);
        EXPECT_TRUE(loggedLike(log, WARN, operation + " failed.*\n", count));
        EXPECT_EQ(sleeping.sleeps(), std::vector<long>(count, 10000));
    }
};

inline constexpr Attempts ATTEMPTS[] = {
    {"TryAgain", -1, EAGAIN, "Resource temporarily unavailable 11", 1, 11},
    {"AnotherError", -1, ECONNRESET, "Connection reset by peer 104", 1, 1},
    {"BelowMinusOne", -2, EAGAIN, "Resource temporarily unavailable 11", 1, 1},
    {"NothingDone", 0, EIO, "Input/output error 5", 0, 11},
};

/// A remote call that the test makes, and its server.
class RemoteCallFixture : public ::testing::Test {
protected:
    void connect() {
        call = std::make_unique<RemoteCall>(AUDIO_CONNECT_MAIN, &Mailbox::take, &box, "name");
        ASSERT_EQ(call->initCheck(), 0);
    }

    LogCapture log;
    ScriptedServer server;
    Mailbox box;
    std::unique_ptr<RemoteCall> call;
};

/// A connection whose every frame is written by the test.
class Connection : public ::testing::Test {
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
