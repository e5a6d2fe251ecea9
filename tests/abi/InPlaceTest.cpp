// SPDX-License-Identifier: Apache-2.0
//
// Objects of the exported classes live in storage of exactly their documented size: neither
// construction nor use nor destruction touches a byte beside it.
#include <cabinaudio/client/ClientAppSetting.h>
#include <cabinaudio/client/ClientMixerSetting.h>
#include <cabinaudio/client/ClientRecord.h>
#include <cabinaudio/client/ClientRecordControl.h>
#include <cabinaudio/client/ClientRecordRt.h>
#include <cabinaudio/client/ClientSink.h>
#include <cabinaudio/client/ClientSourceSetting.h>
#include <cabinaudio/client/ClientTrack.h>
#include <cabinaudio/client/ClientVersionSetting.h>
#include <cabinaudio/client/ClientVolumeSetting.h>
#include <cabinaudio/diag/AudioDump.h>
#include <cabinaudio/foundation/AudioAlert.h>
#include <cabinaudio/foundation/AudioCondition.h>
#include <cabinaudio/foundation/AudioSemaphore.h>
#include <cabinaudio/foundation/AudioThread.h>
#include <cabinaudio/foundation/AudioTime.h>
#include <cabinaudio/foundation/ThreadSafety.h>
#include <cabinaudio/link/AudioConnection.h>
#include <cabinaudio/link/RemoteCall.h>
#include <cabinaudio/shm/ShareMemory.h>

#include "tests/abi/Skeletons.h"
#include "tests/support/ConfigDirectory.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/ServerRing.h"
#include "wire/Frame.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

namespace cabinaudio::test {
namespace {

/// An object in storage of the size of its skeleton, with guard bytes on both sides.
template <typename Object, typename Skeleton>
class InPlace {
public:
    template <typename... Argument>
    explicit InPlace(Argument&&... arguments)
        : mObject(new (mBytes.data() + GUARD) Object(std::forward<Argument>(arguments)...)) {
        expectGuards("construction");
    }
    ~InPlace() {
        expectGuards("use");
        std::destroy_at(mObject);
        expectGuards("destruction");
    }
    InPlace(const InPlace&) = delete;
    InPlace& operator=(const InPlace&) = delete;

    Object& operator*() { return *mObject; }
    Object* operator->() { return mObject; }

private:
    static constexpr std::size_t GUARD = 1024;
    static constexpr unsigned char PATTERN = 0xa5;
    static_assert(alignof(Object) <= alignof(std::max_align_t) && GUARD % alignof(Object) == 0);

    /// Only the first step that writes beside the object is reported.
    void expectGuards(const char* after) {
        if (mReported) return;
        const auto isIntact = [](unsigned char byte) { return byte == PATTERN; };
        const auto object = mBytes.begin() + GUARD;
        const auto behind = object + sizeof(Skeleton);
        auto touched = std::find_if_not(mBytes.begin(), object, isIntact);
        if (touched == object) touched = std::find_if_not(behind, mBytes.end(), isIntact);
        if (touched == mBytes.end()) return;
        mReported = true;
        ADD_FAILURE() << after << " writes to byte " << touched - object << " of an object of "
                      << sizeof(Skeleton);
    }

    bool mReported = false;
    std::vector<unsigned char> mBytes =
        std::vector<unsigned char>(GUARD + sizeof(Skeleton) + GUARD, PATTERN);
    Object* mObject;
};

AudioFormatDesc stereo() {
    return {0, 48000, 0, AUDIO_CHANNEL_MAP_2, 0, AUDIO_BIT_DEPTH_16};
}

AudioFormatDesc mono() {
    return {0, 16000, 0, AUDIO_CHANNEL_MAP_1, 0, AUDIO_BIT_DEPTH_16};
}

class ObjectInPlace : public ::testing::Test {
protected:
    static constexpr unsigned RING = 4096;
    static constexpr int STEP = 1024;

    /// A settings object has asked for the integer that the server answered.
    template <typename Client, typename Use>
    void expectAnswer(Use use) {
        server.onOther(Answer::words(0, 7));
        InPlace<Client, SettingSkeleton> client;
        EXPECT_EQ(use(*client), AUDIO_NO_ERROR) << log.dump();
        EXPECT_EQ(server.functions().size(), 1U);
    }

    ScriptedServer server;
    LogCapture log;
    std::unique_ptr<ShareMemoryEx> serverRing;
    std::vector<unsigned char> data = std::vector<unsigned char>(STEP, 0x5a);
};

// ---- Foundation ---------------------------------------------------------------------------------

TEST_F(ObjectInPlace, LocksKeepToTheirSize) {
    InPlace<AudioMutex, AudioMutexSkeleton> mutex(false);
    InPlace<AudioCondition, AudioConditionSkeleton> condition(false);
    InPlace<AudioSemaphore, AudioSemaphoreSkeleton> semaphore(false);
    InPlace<AudioMutex::AutoLock, AutoLockSkeleton> lock(*mutex);
    condition->signal();
    // Clang cannot see which mutex the lock in its place holds.
    const auto wait = [&]() CABINAUDIO_UNCHECKED_LOCKING {
        return condition->waitRelative(*mutex, 1);
    };
    EXPECT_NE(wait(), 0);
    semaphore->signal();
    EXPECT_EQ(semaphore->waitRelative(1), 0);
}

TEST_F(ObjectInPlace, TimesKeepToTheirSize) {
    InPlace<AudioTime, AudioTimeSkeleton> time;
    const time_t before = time->getTimespec()->tv_sec;
    time->travel(2000000);
    EXPECT_EQ(time->getTimespec()->tv_sec, before + 2);
    const InPlace<AudioAlert::AutoAlert, AutoAlertSkeleton> alert("canary", 0U, "file", "function",
                                                                  1U);
}

TEST_F(ObjectInPlace, ThreadKeepsToItsSize) {
    class Body : public AudioThread {
    public:
        explicit Body(AudioSemaphore& ran) : AudioThread("canary", -1, POLICY_RR), mRan(ran) {}
        ~Body() override { stop(); }
        void run() override { mRan.signal(); }

    private:
        AudioSemaphore& mRan;
    };
    struct BodySkeleton {
        AudioThreadSkeleton thread;
        AudioSemaphore* ran;
    };
    AudioSemaphore ran(false);
    InPlace<Body, BodySkeleton> thread(ran);
    thread->start();
    EXPECT_EQ(ran.waitRelative(30000), 0) << log.dump();
}

// ---- Link, rings, diagnostics -------------------------------------------------------------------

TEST_F(ObjectInPlace, ConnectionKeepsToItsSize) {
    std::uint8_t message[sizeof(audio_param)];
    RemoteCall::init_audio_param(message, AUDIO_CMD_REGISTER, AUDIO_CONNECT_VERSION_SETTING,
                                 AUDIO_REGISTER_WORD, 64, "canary");
    std::uint8_t reply[8] = {};
    InPlace<AudioConnection, AudioConnectionSkeleton> connection(wire::SERVER_SOCKET, 4003, nullptr,
                                                                 nullptr);
    EXPECT_EQ(connection->send(message, sizeof message), 0) << log.dump();
    EXPECT_EQ(connection->recv(reply, sizeof reply), 0) << log.dump();
    EXPECT_EQ(connection->disconnect(), 0);
    EXPECT_EQ(connection->connect(), 0) << log.dump();
}

TEST_F(ObjectInPlace, RemoteCallKeepsToItsSize) {
    server.on(5, Answer::words(0, 42));
    InPlace<RemoteCall, RemoteCallSkeleton> rc(AUDIO_CONNECT_VERSION_SETTING, nullptr, nullptr,
                                               "canary");
    EXPECT_EQ(rc->initCheck(), AUDIO_NO_ERROR) << log.dump();
    std::int32_t value = 0;
    EXPECT_EQ(rc->callFuncId(5, &value, false), AUDIO_NO_ERROR) << log.dump();
    EXPECT_EQ(value, 42);
}

TEST_F(ObjectInPlace, RingKeepsToItsSize) {
    InPlace<ShareMemoryEx, ShareMemoryExSkeleton> ring(SHM_TYPE_POSIX_SHM, "canary", nullptr, RING,
                                                       SHM_MODE_CREATOR, nullptr);
    EXPECT_EQ(ring->write(data.data(), STEP), STEP) << log.dump();
    EXPECT_EQ(ring->getUsedSize(), static_cast<unsigned>(STEP));
}

TEST_F(ObjectInPlace, DiagnosticsKeepToTheirSize) {
    const ConfigDirectory directory;
    InPlace<AudioConfig, AudioConfigSkeleton> config(true);
    AudioDumpItem item{"main", "client", "/nowhere"};
    config->addDumpItem(item);
    EXPECT_NE(config->getDumpItem("main", "client"), nullptr);

    const std::string path = directory.top() / "dumps";
    InPlace<AudioDump, AudioDumpSkeleton> dump(path.c_str(), "canary", false);
    dump->write(data.data(), STEP);
    EXPECT_FALSE(std::filesystem::is_empty(path)) << log.dump();
}

// ---- Streams ------------------------------------------------------------------------------------

TEST_F(ObjectInPlace, TrackKeepsToItsSize) {
    server.on(21, Answer::words(0, 0, RING, STEP, 0, 0, 0));
    serverRing = posixRing("trk", RING);
    AudioFormatDesc format = stereo();
    InPlace<ClientTrack, ClientTrackSkeleton> track("trk", AUDIO_TAG_ALTERNATIVE, format, 0);
    EXPECT_EQ(track->initCheck(), AUDIO_NO_ERROR) << log.dump();
    EXPECT_EQ(track->start(), AUDIO_NO_ERROR) << log.dump();
    EXPECT_EQ(track->write(data.data(), STEP, true), STEP) << log.dump();
    EXPECT_EQ(track->stop(), AUDIO_NO_ERROR) << log.dump();
}

TEST_F(ObjectInPlace, SinkKeepsToItsSize) {
    server.on(21, Answer::words(0, 0, 0, STEP, 0, 0, 0));
    server.on(20, Answer::words(0, RING_ADDRESS, RING));
    serverRing = physicalRing("snk", RING);
    AudioFormatDesc format = stereo();
    InPlace<ClientSink, ClientSinkSkeleton> sink("snk", AUDIO_TAG_MAIN, format, 0);
    EXPECT_EQ(sink->initCheck(), AUDIO_NO_ERROR) << log.dump();
    EXPECT_EQ(sink->start(), AUDIO_NO_ERROR) << log.dump();
    server.notify(3, 0);
    EXPECT_EQ(sink->write(data.data(), STEP, true), STEP) << log.dump();
    server.notify(4, 0);
    EXPECT_TRUE(server.waitForRequest(19)) << log.dump();
    EXPECT_EQ(sink->write(data.data(), STEP, false), 0) << log.dump();
    EXPECT_EQ(sink->stop(), AUDIO_NO_ERROR) << log.dump();
}

TEST_F(ObjectInPlace, RecordKeepsToItsSize) {
    server.on(2, Answer::words(0, 0, RING, STEP, 16, STEP / 2, 0));
    serverRing = posixRing("rec", RING);
    AudioFormatDesc format = mono();
    InPlace<ClientRecord, ClientRecordSkeleton> record("rec", AUDIO_TAG_INPUT0, format, 0);
    EXPECT_EQ(record->initCheck(), AUDIO_NO_ERROR) << log.dump();
    EXPECT_EQ(record->start(), AUDIO_NO_ERROR) << log.dump();
    EXPECT_TRUE(put(*serverRing, pattern(STEP)));
    EXPECT_EQ(record->read(data.data(), STEP, true), STEP) << log.dump();
    EXPECT_EQ(record->stop(), AUDIO_NO_ERROR) << log.dump();
}

TEST_F(ObjectInPlace, UplinkKeepsToItsSize) {
    server.on(2, Answer::words(0, 0, 0, STEP / 2, 16, STEP / 4, 0));
    server.on(18, Answer::words(0, RING_ADDRESS, RING));
    serverRing = physicalRing("upl", RING);
    AudioFormatDesc format = mono();
    InPlace<ClientRecordRt, ClientRecordRtSkeleton> uplink("upl", AUDIO_TAG_UPLINK, format);
    EXPECT_EQ(uplink->initCheck(), AUDIO_NO_ERROR) << log.dump();
    EXPECT_EQ(uplink->start(), AUDIO_NO_ERROR) << log.dump();
    EXPECT_EQ(uplink->read(data.data(), 64, true), 64) << "silence; " << log.dump();
    server.notify(2, 1);
    EXPECT_TRUE(put(*serverRing, pattern(STEP)));
    EXPECT_TRUE(server.waitForRequest(18)) << log.dump();
    EXPECT_EQ(uplink->read(data.data(), 64, true), 64) << log.dump();
    server.notify(2, 0);
    EXPECT_TRUE(server.waitForRequest(19)) << log.dump();
    EXPECT_EQ(uplink->stop(), AUDIO_NO_ERROR) << log.dump();
}

// ---- Settings -----------------------------------------------------------------------------------

TEST_F(ObjectInPlace, VolumeSettingKeepsToItsSize) {
    expectAnswer<ClientVolumeSetting>([](ClientVolumeSetting& volume) {
        unsigned char step = 0;
        return volume.getMasterVolume(&step);
    });
}

TEST_F(ObjectInPlace, AppSettingKeepsToItsSize) {
    expectAnswer<ClientAppSetting>([](ClientAppSetting& app) {
        audio::audio_aec_quality_e quality{};
        return app.getQualityOfAEC(&quality);
    });
}

TEST_F(ObjectInPlace, MixerSettingKeepsToItsSize) {
    expectAnswer<ClientMixerSetting>([](ClientMixerSetting& mixer) {
        unsigned mode = 0;
        return mixer.getUpMixMode(&mode);
    });
}

TEST_F(ObjectInPlace, VersionSettingKeepsToItsSize) {
    expectAnswer<ClientVersionSetting>([](ClientVersionSetting& version) {
        int first[3];
        int second[3];
        int third = 0;
        return version.getServerVersions(first, second, &third);
    });
}

TEST_F(ObjectInPlace, RecordControlKeepsToItsSize) {
    expectAnswer<ClientAudioRecordControl>([](ClientAudioRecordControl& control) {
        const audio::effect_param_t parameter{};
        return control.set("input0", "gain", parameter);
    });
}

TEST_F(ObjectInPlace, SourceSettingKeepsToItsSizeWithTheLongestNames) {
    Bytes reply(4 + 64, 'x');
    std::fill_n(reply.begin(), 4, std::uint8_t{0});
    server.onOther(Answer::bytes(reply));
    const std::string longest(63, 'x');
    InPlace<ClientSourceSetting, ClientSourceSettingSkeleton> source;
    EXPECT_STREQ(source->getOutPutSource("main"), longest.c_str()) << log.dump();
    EXPECT_STREQ(source->getInputDestination("uplink"), longest.c_str()) << log.dump();
}

}  // namespace
}  // namespace cabinaudio::test
