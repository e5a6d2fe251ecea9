// SPDX-License-Identifier: Apache-2.0
//
// Many clients at once that send too many requests, read no replies, or send invalid data: a client
// that plays meanwhile has no gap.
#include <cabinaudio/foundation/AudioStatus.h>

#include "tests/server/Playing.h"
#include "tests/server/RawClient.h"
#include "tests/server/Sound.h"
#include "tests/support/ProcessState.h"
#include "tests/support/RealServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

namespace cabinaudio::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using ::testing::HasSubstr;

constexpr std::uint32_t GET_SPECTRUM = 11;  // of an application-setting connection

std::chrono::milliseconds since(Clock::time_point begin) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin);
}

/// The longest time for which this machine ran no thread: such pauses are not the server's fault.
class MachineWatch {
public:
    ~MachineWatch() {
        mEnds = true;
        mThread.join();
    }
    [[nodiscard]] std::chrono::milliseconds longestPause() const {
        return std::chrono::milliseconds(mLongest);
    }

private:
    void run() {
        while (!mEnds) {
            const auto begin = Clock::now();
            std::this_thread::sleep_for(5ms);
            mLongest = std::max<long long>(mLongest, since(begin).count());
        }
    }

    std::atomic<bool> mEnds{false};
    std::atomic<long long> mLongest{0};
    std::thread mThread{[this] { run(); }};
};

/// Repeats bad actions in threads of their own until the end.
class Rage {
public:
    void add(std::function<void()> action) {
        mThreads.emplace_back([this, action = std::move(action)] {
            while (!mEnds) {
                try {
                    action();
                    ++mActions;
                } catch (const std::runtime_error&) {
                    // The server has refused or disconnected this client.
                    std::this_thread::sleep_for(1ms);
                }
            }
        });
    }
    ~Rage() { end(); }
    void end() {
        mEnds = true;
        for (std::thread& thread : mThreads)
            thread.join();
        mThreads.clear();
    }
    [[nodiscard]] unsigned actions() const { return mActions; }

private:
    std::atomic<bool> mEnds{false};
    std::atomic<unsigned> mActions{0};
    std::vector<std::thread> mThreads;
};

Bytes requestOf(const RawClient& client, std::uint32_t function) {
    Bytes message = bytesOf(client.requestHeader(sizeof function));
    const Bytes payload = bytesOf(function);
    message.insert(message.end(), payload.begin(), payload.end());
    return message;
}

/// As many requests as the socket takes, the most expensive ones; no answer is read until the
/// server closes the connection.
void askWithoutListening() {
    const RawClient client(AUDIO_CONNECT_APP_SETTING, "greedy");
    const Bytes one = requestOf(client, GET_SPECTRUM);
    Bytes many;
    for (int i = 0; i < 500; ++i)
        many.insert(many.end(), one.begin(), one.end());
    for (int i = 0; i < 100; ++i)
        if (::send(client.fd(), many.data(), many.size(), MSG_NOSIGNAL) <= 0) return;
}

/// As many as the server answers.
void askAndListen() {
    RawClient client(AUDIO_CONNECT_APP_SETTING, "busy");
    Bytes many;
    for (int i = 0; i < 100; ++i) {
        const Bytes one = requestOf(client, GET_SPECTRUM);
        many.insert(many.end(), one.begin(), one.end());
    }
    for (int i = 0; i < 50; ++i) {
        client.send(many);
        Bytes answers(100 * (32 + 20));
        if (::recv(client.fd(), answers.data(), answers.size(), MSG_WAITALL) <= 0) return;
    }
}

void sendGarbage() {
    RawClient client;
    client.send(Bytes(5000, 0x41));
    EXPECT_TRUE(client.isClosedByServer());
}

void disconnectMidMessage() {
    RawClient client(AUDIO_CONNECT_AUXILIARY, "gone");
    Bytes message = requestOf(client, 21);
    message.resize(message.size() - 2);
    client.send(message);
}

void playNothing() {
    RawClient client(AUDIO_CONNECT_ALTERNATIVE, "hasty");
    (void)client.create(1, pcm(44100, 2, 16));
    (void)client.status(wire::StreamFunction::Start);
}

TEST(GoodClient, PlaysWithoutAGapAmongManyBadClients) {
    const MachineWatch machine;
    // A second of sound in the ring: the client may be late, the server may not.
    RecordingServer recording({"--ring-periods", "64"});
    const auto samples = noise16(2 * 48000 * 2);
    Player player("music", AUDIO_TAG_AUXILIARY, pcm(48000, 2, 16));
    ASSERT_TRUE(player.hasRing());

    std::vector<std::unique_ptr<RawClient>> idle;
    for (int i = 0; i < 100; ++i)
        idle.push_back(std::make_unique<RawClient>());
    for (int i = 0; i < 100; ++i)
        idle.push_back(std::make_unique<RawClient>(AUDIO_CONNECT_VOLUME_SETTING, "idle"));
    Rage rage;
    for (int i = 0; i < 3; ++i) {
        rage.add(askWithoutListening);
        rage.add(askAndListen);
    }
    rage.add(sendGarbage);
    rage.add(disconnectMidMessage);
    rage.add(playNothing);

    auto* at = reinterpret_cast<const unsigned char*>(samples.data());
    const auto* const end = at + samples.size() * sizeof samples[0];
    const auto begin = Clock::now();
    while (at != end && since(begin) < 60s) {
        const auto left = static_cast<int>(std::min<std::ptrdiff_t>(end - at, 16384));
        const int written = player.track().write(const_cast<unsigned char*>(at), left, false);
        ASSERT_GE(written, 0);
        at += written;
        if (written < left) std::this_thread::sleep_for(5ms);
    }
    ASSERT_TRUE(player.end());
    const auto lasted = since(begin);
    rage.end();
    EXPECT_GE(rage.actions(), 10U);
    idle.clear();
    ASSERT_TRUE(recording.stop());

    EXPECT_TRUE(recording.heard("music", wide(samples)));
    const auto& output = recording.report().at("output");
    RecordProperty("deeds", static_cast<int>(rage.actions()));
    RecordProperty("milliseconds", static_cast<int>(lasted.count()));
    RecordProperty("late_periods", output.at("late_periods").get<int>());
    RecordProperty("longest_pause_ms", static_cast<int>(machine.longestPause().count()));
    std::printf("%u deeds, two seconds in %lld ms, %d periods late, machine away for %lld ms\n",
                rage.actions(), static_cast<long long>(lasted.count()),
                output.at("late_periods").get<int>(),
                static_cast<long long>(machine.longestPause().count()));
    if (machine.longestPause() > 100ms) return;  // a gap may be the machine's
    EXPECT_EQ(recording.stream("music").at("underruns"), 0);
    EXPECT_EQ(recording.stream("music").at("segments").size(), 1U);
}

/// Few descriptors for the server, which inherits the limit.
class FewDescriptors {
public:
    explicit FewDescriptors(rlim_t count) {
        getrlimit(RLIMIT_NOFILE, &mBefore);
        const rlimit few = {count, count};
        isSet = setrlimit(RLIMIT_NOFILE, &few) == 0;
    }
    bool isSet = false;
    [[nodiscard]] rlim_t before() const { return mBefore.rlim_cur; }

private:
    rlimit mBefore = {};
};

TEST(UserQuota, LeavesDescriptorsForTheStreamsOfAllAdmittedClients) {
    // The limit cannot be raised again, so it is this process's from here on.
    const FewDescriptors few(200);
    ASSERT_TRUE(few.isSet);
    const RealServer server({"--output", "null"});
    std::vector<std::unique_ptr<RawClient>> clients;
    for (int i = 0; i < 26; ++i)  // three quarters of 35
        clients.push_back(
            std::make_unique<RawClient>(AUDIO_CONNECT_ALTERNATIVE, "full" + std::to_string(i)));
    const auto isServed = [] {
        try {
            return RawClient().registerAs(AUDIO_CONNECT_VERSION_SETTING, "late") != 0;
        } catch (const std::runtime_error&) {
            return false;  // the server was quicker to close than this was to send
        }
    };
    EXPECT_FALSE(isServed());
    EXPECT_FALSE(isServed());
    for (const auto& client : clients) {
        EXPECT_EQ(client->create(1, pcm(48000, 2, 16)).status, AUDIO_NO_ERROR);
        EXPECT_EQ(client->status(wire::StreamFunction::Start), AUDIO_NO_ERROR);
    }
    EXPECT_THAT(server.output(), HasSubstr("has too many clients (limit 26)"));
    clients.pop_back();
    EXPECT_TRUE(eventually(isServed, 60s));
}

}  // namespace
}  // namespace cabinaudio::test
