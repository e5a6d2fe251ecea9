// SPDX-License-Identifier: Apache-2.0
// Objects that make requests: destroyed during one, and used by several threads at once.
#include <cabinaudio/foundation/AudioConnectType.h>
#include <cabinaudio/foundation/AudioStatus.h>
#include <cabinaudio/link/RemoteCall.h>

#include "tests/support/ProcessState.h"
#include "tests/support/Rounds.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/kinds/SettingKinds.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <future>
#include <memory>
#include <random>
#include <thread>
#include <vector>

namespace cabinaudio::test {
namespace {

constexpr int SETTING_ROUNDS_PER_SERVER = 200;  // a scripted server keeps each request

// ---- Destroyed while a request is under way -----------------------------------------------------

class BareCall : public RemoteCall {
public:
    BareCall() : RemoteCall(AUDIO_CONNECT_MAIN, nullptr, nullptr, "bare") {}
};

std::unique_ptr<AnySetting> createBareCall() {
    const auto ask = [](BareCall& one) { return one.callFuncId(1, 2, 3, true); };
    return std::make_unique<SettingOf<BareCall, decltype(ask)>>(ask);
}

std::vector<SettingKind> requesters() {
    std::vector<SettingKind> all = settingKinds();
    all.push_back({"remoteCall", AUDIO_CONNECT_MAIN, 4, createBareCall});
    return all;
}

class RequestRace : public ::testing::TestWithParam<SettingKind> {};

TEST_P(RequestRace, RequestEndsWhenItsObjectIsDestroyed) {
    const ProcessState before = ProcessState::now();
    std::unique_ptr<ScriptedServer> server;
    std::minstd_rand random(GetParam().type);
    const int count = rounds(2);
    std::size_t made = 0;
    for (int round = 0; round < count && !HasFailure(); ++round) {
        if (round % SETTING_ROUNDS_PER_SERVER == 0) {
            server = nullptr;
            server = std::make_unique<ScriptedServer>();
            made = 0;
        }
        const auto how = static_cast<unsigned>(random() >> 4) % 4;
        server->onOther(how == 0   ? Answer::none()
                        : how == 1 ? Answer::close()
                                   : Answer::status(0).after(7, 0));
        std::unique_ptr<AnySetting> object = GetParam().create();
        std::thread storm([&] {
            for (int i = 0; i < 20; ++i)
                server->notify(static_cast<std::uint32_t>(i), 0, server->clients() - 1);
        });
        std::future<int> answered =
            std::async(std::launch::async, [own = object.get()] { return own->ask(); });
        ++made;
        EXPECT_TRUE(server->waitForRequest(
            [](const Request& request) { return !request.isRegistration(); }, made));
        object.reset();
        const int result = answered.get();
        EXPECT_TRUE(result == 1 || (how > 1 && result == 0)) << result << ", answer " << how;
        storm.join();
    }
    server = nullptr;
    EXPECT_TRUE(leavesNoMoreThan(before));
    RecordProperty("rounds", count);
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, RequestRace, ::testing::ValuesIn(requesters()),
                         ::testing::PrintToStringParamName());

// ---- Used by several threads at once ------------------------------------------------------------

constexpr std::uint32_t BLOCK = 96;

/// A request whose bytes are all of one kind, and its answer, which says the same.
class CallUser {
public:
    CallUser(RemoteCall& call, std::uint8_t mark) : mCall(call), mMark(mark) {}

    void use() {
        std::uint8_t* request = nullptr;
        std::uint8_t* reply = nullptr;
        const std::int32_t allocated = mCall.rcalloc(&request, BLOCK, &reply, BLOCK);
        if (allocated != AUDIO_NO_ERROR) {
            if (allocated != AUDIO_BAD_SEQUENCE) ++wrong;
            return;
        }
        std::memset(request, mMark, BLOCK);
        std::memset(reply, 0, BLOCK);
        if (mCall.call(request, BLOCK, reply, BLOCK, true) != 0) ++wrong;
        for (std::uint32_t i = 0; i < BLOCK; ++i)
            if (reply[i] != mMark) ++wrong;
        if (mCall.rcfree(request, reply) != AUDIO_NO_ERROR) ++wrong;
        ++done;
    }

    int done = 0;
    int wrong = 0;

private:
    RemoteCall& mCall;
    const std::uint8_t mMark;
};

TEST(RequestsOfOneObject, AreRefusedWhenConcurrentAndNeverTorn) {
    std::atomic<int> torn{0};
    const int count = rounds(6);
    for (int round = 0; round < count; round += SETTING_ROUNDS_PER_SERVER) {
        ScriptedServer server;
        server.onOther([&](const Request& request) {
            const Bytes& bytes = request.payload;
            if (bytes.size() != BLOCK || bytes != Bytes(BLOCK, bytes.empty() ? 0 : bytes[0]))
                ++torn;
            return Answer::bytes(bytes);
        });
        RemoteCall call(AUDIO_CONNECT_MAIN, nullptr, nullptr, nullptr);
        ASSERT_EQ(call.initCheck(), AUDIO_NO_ERROR);
        std::vector<CallUser> users;
        for (std::uint8_t mark = 1; mark <= 3; ++mark)
            users.emplace_back(call, mark);
        std::vector<std::thread> threads;
        for (CallUser& user : users)
            threads.emplace_back([&] {
                for (int i = 0; i < SETTING_ROUNDS_PER_SERVER; ++i)
                    user.use();
            });
        for (std::thread& thread : threads)
            thread.join();
        int done = 0;
        for (const CallUser& user : users) {
            EXPECT_EQ(user.wrong, 0);
            done += user.done;
        }
        EXPECT_EQ(server.count([](const Request& one) { return !one.isRegistration(); }),
                  static_cast<std::size_t>(done));
    }
    EXPECT_EQ(torn, 0);
    RecordProperty("rounds", count);
}

}  // namespace
}  // namespace cabinaudio::test
