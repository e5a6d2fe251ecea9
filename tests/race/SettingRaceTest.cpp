// SPDX-License-Identifier: Apache-2.0
//
// Objects that make requests: destroyed while one is under way, and used by several threads at
// once.
#include <cabinaudio/client/ClientAppSetting.h>
#include <cabinaudio/client/ClientMixerSetting.h>
#include <cabinaudio/client/ClientRecordControl.h>
#include <cabinaudio/client/ClientSourceSetting.h>
#include <cabinaudio/client/ClientVersionSetting.h>
#include <cabinaudio/client/ClientVolumeSetting.h>
#include <cabinaudio/foundation/AudioStatus.h>
#include <cabinaudio/link/RemoteCall.h>

#include "tests/race/Rounds.h"
#include "tests/support/ProcessState.h"
#include "tests/support/ScriptedServer.h"

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

constexpr int ROUNDS_PER_SERVER = 200;  // it keeps what it has received

// ---- Destroyed while a request is under way -----------------------------------------------------

/// An object that an application asks something of.
class Asker {
public:
    virtual ~Asker() = default;
    virtual int ask() = 0;
};

template <typename Object, typename Ask>
class AskerOf : public Asker {
public:
    explicit AskerOf(Ask ask) : mAsk(ask) {}
    int ask() override { return mAsk(mObject); }

private:
    Object mObject;
    Ask mAsk;
};

template <typename Object, typename Ask>
std::unique_ptr<Asker> asker(Ask ask) {
    return std::make_unique<AskerOf<Object, Ask>>(ask);
}

struct Kind {
    const char* name;
    std::unique_ptr<Asker> (*create)();
};

class BareCall : public RemoteCall {
public:
    BareCall() : RemoteCall(AUDIO_CONNECT_MAIN, nullptr, nullptr, "bare") {}
};

const std::vector<Kind>& kinds() {
    static const std::vector<Kind> all = {
        {"volume",
         [] {
             return asker<ClientVolumeSetting>(
                 [](ClientVolumeSetting& one) { return one.setMasterVolume(std::uint8_t{5}); });
         }},
        {"source",
         [] {
             return asker<ClientSourceSetting>(
                 [](ClientSourceSetting& one) { return one.setOutPutSource("radio", "main"); });
         }},
        {"app",
         [] {
             return asker<ClientAppSetting>([](ClientAppSetting& one) {
                 return one.setQualityOfAEC(audio::audio_aec_quality_e{1});
             });
         }},
        {"mixer",
         [] {
             return asker<ClientMixerSetting>(
                 [](ClientMixerSetting& one) { return one.mixExtGps(7); });
         }},
        {"recordControl",
         [] {
             return asker<ClientAudioRecordControl>([](ClientAudioRecordControl& one) {
                 audio::effect_param_t effect{};
                 return one.set("uplink", "noise", effect);
             });
         }},
        {"version",
         [] {
             return asker<ClientVersionSetting>([](ClientVersionSetting& one) {
                 int first[3];
                 int second[3];
                 int third = 0;
                 return one.getServerVersions(first, second, &third);
             });
         }},
        {"remoteCall",
         [] {
             return asker<BareCall>([](BareCall& one) { return one.callFuncId(1, 2, 3, true); });
         }},
    };
    return all;
}

class ARequestInARace : public ::testing::TestWithParam<std::size_t> {};

TEST_P(ARequestInARace, EndsWithItsObject) {
    const Kind& kind = kinds()[GetParam()];
    const ProcessState before = ProcessState::now();
    std::unique_ptr<ScriptedServer> server;
    std::minstd_rand random(GetParam() + 1);
    const int count = rounds(2);
    std::size_t made = 0;
    for (int round = 0; round < count && !HasFailure(); ++round) {
        if (round % ROUNDS_PER_SERVER == 0) {
            server = nullptr;
            server = std::make_unique<ScriptedServer>();
            made = 0;
        }
        const auto how = static_cast<unsigned>(random() >> 4) % 4;
        switch (how) {
            case 0:
                server->onOther(Answer::none());
                break;
            case 1:
                server->onOther(Answer::close());
                break;
            default:
                server->onOther(Answer::status(0).after(7, 0));
                break;
        }
        std::unique_ptr<Asker> asker = kind.create();
        std::thread storm([&] {
            for (int i = 0; i < 20; ++i)
                server->notify(static_cast<std::uint32_t>(i), 0, server->clients() - 1);
        });
        std::future<int> answered =
            std::async(std::launch::async, [own = asker.get()] { return own->ask(); });
        ++made;
        EXPECT_TRUE(server->waitForRequest(
            [](const Request& request) { return !request.isRegistration(); }, made));
        asker.reset();
        const int result = answered.get();
        EXPECT_TRUE(result == 1 || (how > 1 && result == 0)) << result << ", answer " << how;
        storm.join();
    }
    server = nullptr;
    EXPECT_TRUE(leavesNoMoreThan(before));
    RecordProperty("rounds", count);
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, ARequestInARace, ::testing::Range<std::size_t>(0, 7),
                         [](const auto& kind) { return kinds()[kind.param].name; });

// ---- Used by several threads at once ------------------------------------------------------------

constexpr std::uint32_t BLOCK = 96;

/// A request whose bytes are all of one kind, and its answer, which says the same.
class UserOfACall {
public:
    UserOfACall(RemoteCall& call, std::uint8_t mark) : mCall(call), mMark(mark) {}

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

TEST(ConcurrentRequestsOfOneObject, AreRefusedAndNeverTorn) {
    std::atomic<int> torn{0};
    const int count = rounds(6);
    for (int round = 0; round < count; round += ROUNDS_PER_SERVER) {
        ScriptedServer server;
        server.onOther([&](const Request& request) {
            const Bytes& bytes = request.payload;
            if (bytes.size() != BLOCK || bytes != Bytes(BLOCK, bytes.empty() ? 0 : bytes[0]))
                ++torn;
            return Answer::bytes(bytes);
        });
        RemoteCall call(AUDIO_CONNECT_MAIN, nullptr, nullptr, nullptr);
        ASSERT_EQ(call.initCheck(), AUDIO_NO_ERROR);
        std::vector<UserOfACall> users;
        for (std::uint8_t mark = 1; mark <= 3; ++mark)
            users.emplace_back(call, mark);
        std::vector<std::thread> threads;
        for (UserOfACall& user : users)
            threads.emplace_back([&] {
                for (int i = 0; i < ROUNDS_PER_SERVER; ++i)
                    user.use();
            });
        for (std::thread& thread : threads)
            thread.join();
        int done = 0;
        for (const UserOfACall& user : users) {
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
