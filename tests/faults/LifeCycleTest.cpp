// SPDX-License-Identifier: Apache-2.0
// Objects of every class come and go many times, and under limits of the system; the process has
// then what it had before.
#include <cabinaudio/client/ClientAppSetting.h>
#include <cabinaudio/client/ClientMixerSetting.h>
#include <cabinaudio/client/ClientRecordControl.h>
#include <cabinaudio/client/ClientSourceSetting.h>
#include <cabinaudio/client/ClientTrack.h>
#include <cabinaudio/client/ClientVersionSetting.h>
#include <cabinaudio/client/ClientVolumeSetting.h>
#include <cabinaudio/foundation/AudioStatus.h>

#include "tests/client/StreamFixture.h"
#include "tests/client/StreamKinds.h"
#include "tests/foundation/Child.h"
#include "tests/support/PolicyGuard.h"
#include "tests/support/ProcessState.h"

#include <fcntl.h>
#include <malloc.h>
#include <pthread.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

namespace cabinaudio::test {
namespace {

using namespace std::chrono_literals;

constexpr unsigned SIZE = 4096;
constexpr bool IS_SANITIZED = CABINAUDIO_TEST_SANITIZED != 0;

/// CABINAUDIO_LIFE_CYCLES, or a few.
int lifeCycles() {
    const char* const wish = std::getenv("CABINAUDIO_LIFE_CYCLES");
    return wish != nullptr ? std::atoi(wish) : 30;
}

/// KiB. On the target's 32 bits it is an emulator's memory that is looked at, and a sanitizer keeps
/// what was given back.
constexpr std::size_t SLACK = sizeof(void*) == 8 && !IS_SANITIZED ? 4096 : 262144;

/// Resident memory in KiB, without what the allocator keeps for later.
std::size_t memoryInUse() {
    malloc_trim(0);
    std::ifstream status("/proc/self/statm");
    std::size_t total = 0;
    std::size_t resident = 0;
    status >> total >> resident;
    return resident * static_cast<std::size_t>(getpagesize()) / 1024;
}

class AStreamsLife : public AStream, public ::testing::WithParamInterface<std::size_t> {
protected:
    AStreamsLife() {
        renewServer();
        (void)physicalRing("str", SIZE);  // the board's descriptor stays
    }

    static const StreamKind& kind() { return streamKinds()[GetParam()]; }

    /// It remembers all that was said, which takes longer and longer.
    void renewServer() {
        server.stop();
        peer.reset();
        peer = std::make_unique<ScriptedServer>();
        peer->on(2, Answer::words(0, 0, SIZE, 1024, 16, 256, 0));
        peer->on(21, Answer::words(0, 0, SIZE, 1024, 16, 256, 0));
        peer->on(18, Answer::words(0, RING_ADDRESS, SIZE));
        peer->on(20, Answer::words(0, RING_ADDRESS, SIZE));
        log.clear();
    }

    std::unique_ptr<ScriptedServer> peer;

    void live() {
        const std::unique_ptr<AnyStream> stream = kind().create(cdFormat());
        EXPECT_EQ(stream->initCheck(), AUDIO_NO_ERROR);
        EXPECT_EQ(stream->start(), AUDIO_NO_ERROR);
        if (!kind().isPosix) peer->notify(kind().event, 1, peer->clients() - 1);
        (void)stream->operate(9, data.data());
        EXPECT_EQ(stream->stop(), AUDIO_NO_ERROR);
    }
};

TEST_P(AStreamsLife, LeavesNothingHoweverManyThereAre) {
    log.clear();
    live();
    const ProcessState before = ProcessState::now();
    const int rounds = lifeCycles();
    for (int round = 0; round < rounds / 2; ++round) {
        live();
        if (round % 100 == 0) renewServer();
    }
    renewServer();
    const std::size_t half = memoryInUse();
    for (int round = rounds / 2; round < rounds; ++round) {
        live();
        if (round % 100 == 0) renewServer();
    }
    renewServer();
    EXPECT_TRUE(leavesNoMoreThan(before));
    // The server's list of requests grows; a leak of the smallest block would show a hundred times.
    const std::size_t end = memoryInUse();
    RecordProperty("rounds", rounds);
    std::printf("%s: %d life cycles, resident %zu KiB after half of them, %zu KiB at the end\n",
                kind().name, rounds, half, end);
    EXPECT_LT(end, half + SLACK + static_cast<std::size_t>(rounds));
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, AStreamsLife, ::testing::Range<std::size_t>(0, 5),
                         [](const auto& kind) { return streamKinds()[kind.param].name; });

class AnyObjectsLife : public AStream {};

TEST_F(AnyObjectsLife, OfSettingsLeavesNothing) {
    const auto live = [] {
        ClientVolumeSetting volumes;
        EXPECT_EQ(volumes.setMasterVolume(static_cast<unsigned char>(50)), AUDIO_NO_ERROR);
        ClientSourceSetting sources;
        EXPECT_EQ(sources.setAlterLatency(10), AUDIO_NO_ERROR);
        ClientMixerSetting mixer;
        EXPECT_EQ(mixer.setUpMixMode(1), AUDIO_NO_ERROR);
        ClientAppSetting app;
        EXPECT_EQ(app.setEffectEnabled("main", "bass", true), AUDIO_NO_ERROR);
        ClientAudioRecordControl control;
        ClientVersionSetting version;
        EXPECT_EQ(version.initCheck(), AUDIO_NO_ERROR);
    };
    server.stop();
    auto peer = std::make_unique<ScriptedServer>();
    live();
    const ProcessState before = ProcessState::now();
    const int rounds = lifeCycles();
    for (int round = 0; round < rounds; ++round) {
        live();
        if (round % 100 != 0) continue;
        peer.reset();  // it remembers all that was said, which takes longer and longer
        peer = std::make_unique<ScriptedServer>();
        log.clear();
    }
    EXPECT_TRUE(leavesNoMoreThan(before));
}

// ---- Limits -------------------------------------------------------------------------------------

/// A limit of this process, for as long as it lives.
class Limit {
public:
    Limit(__rlimit_resource_t resource, rlim_t most) : mResource(resource) {
        getrlimit(mResource, &mBefore);
        const struct rlimit now = {most, mBefore.rlim_max};
        mIsSet = setrlimit(mResource, &now) == 0;
    }
    ~Limit() { setrlimit(mResource, &mBefore); }
    Limit(const Limit&) = delete;
    Limit& operator=(const Limit&) = delete;

    [[nodiscard]] bool isSet() const { return mIsSet; }

private:
    __rlimit_resource_t mResource;
    struct rlimit mBefore {};
    bool mIsSet = false;
};

TEST_P(AStreamsLife, EndsAsAFailureWhereNoDescriptorIsLeft) {
    live();
    const ProcessState before = ProcessState::now();
    for (rlim_t spare = 0; spare < 4; ++spare) {
        const Limit limit(RLIMIT_NOFILE, before.descriptors + spare);
        ASSERT_TRUE(limit.isSet());
        const PolicyGuard guard({2s, true, true});
        const std::unique_ptr<AnyStream> stream = kind().create(cdFormat());
        const int created = stream->initCheck();
        EXPECT_TRUE(created <= 0 || created == 1) << created;
        EXPECT_LE(stream->start(), 1);
        EXPECT_LE(stream->move(data.data(), 512, false), 512);
        EXPECT_LE(stream->stop(), 1);
    }
    EXPECT_TRUE(leavesNoMoreThan(before));
    live();
}

/// One track and one record, whose rings lie in shared memory alone, where something is short.
void liveInWant(ScriptedServer& server) {
    server.on(2, Answer::words(0, 0, SIZE, 1024, 16, 256, 0));
    setLinkPolicy({2s, true, true});
    const ProcessState before = ProcessState::now();
    unsigned char data[SIZE] = {};
    for (const std::size_t kind : {0, 3}) {
        const std::unique_ptr<AnyStream> stream = streamKinds()[kind].create(cdFormat());
        const int results[] = {stream->initCheck(), stream->start(), stream->stop()};
        for (const int result : results)
            EXPECT_TRUE(result == AUDIO_NO_ERROR || result == AUDIO_INVALID_STATE || result == 1)
                << result;
        EXPECT_LE(stream->move(data, 512, true), 0) << "nobody has made a ring";
        EXPECT_LE(stream->move(data, 512, false), 0);
    }
    EXPECT_TRUE(leavesNoMoreThan(before));
}

/// A file system for shared memory that this process has for itself, with one page left.
bool fillSharedMemory() {
    return unshare(CLONE_NEWNS) == 0 &&
           mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("none", "/dev/shm", "tmpfs", 0, "size=4k") == 0;
}

TEST(Streams, LiveWhereSharedMemoryIsFull) {
    const ChildEnd asked = runInChild([] { EXPECT_TRUE(fillSharedMemory()); });
    if (!asked.passed()) GTEST_SKIP() << "only the superuser has a /dev/shm of his own";
    const ChildEnd end = runInChild([] {
        ASSERT_TRUE(fillSharedMemory());
        ScriptedServer server;
        liveInWant(server);
    });
    EXPECT_TRUE(end.passed()) << end.output;
    EXPECT_NE(end.output.find("failed:No space left on device"), std::string::npos) << end.output;
}

/// The limit does not hold for the superuser.
TEST(Streams, LiveWhereNoThreadIsToBeHad) {
    for (static rlim_t most = 1; most <= 8; ++most) {
        const ChildEnd end = runInChild([] {
            if (geteuid() == 0) {
                ASSERT_EQ(setresuid(65534, 65534, 65534), 0);
            }
            ScriptedServer server;
            const Limit limit(RLIMIT_NPROC, most);
            ASSERT_TRUE(limit.isSet());
            liveInWant(server);
        });
        EXPECT_TRUE(end.passed()) << most << end.output;
        if (most == 1) {
            EXPECT_NE(end.output.find("Fail to start thread"), std::string::npos) << end.output;
        }
    }
}

/// On a system with room for a hundred and fifty streams in 32 bits of addresses; each has two or
/// three threads.
TEST_F(AnyObjectsLife, HasRoomForAHundredAndFiftyStreamsInOneProcess) {
    server.on(2, Answer::words(0, 0, SIZE, 1024, 16, 256, 0));
    const Limit limit(RLIMIT_NOFILE, 4096);
    const ProcessState before = ProcessState::now();
    {
        AudioFormatDesc format = cdFormat();
        std::vector<std::unique_ptr<ClientTrack>> tracks;
        for (int i = 0; i < 150; ++i) {
            const std::string name = "many" + std::to_string(i);
            tracks.push_back(
                std::make_unique<ClientTrack>(name.c_str(), AUDIO_TAG_ALTERNATIVE, format, 0));
            ASSERT_EQ(tracks.back()->initCheck(), AUDIO_NO_ERROR) << i;
            ASSERT_EQ(tracks.back()->getTotalBufferSize(), 0) << "no server has made it yet";
        }
        EXPECT_GE(ProcessState::now().threads, before.threads + 450);
    }
    EXPECT_TRUE(leavesNoMoreThan(before));
}

}  // namespace
}  // namespace cabinaudio::test
