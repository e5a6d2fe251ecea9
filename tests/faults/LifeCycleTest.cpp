// SPDX-License-Identifier: Apache-2.0
// Objects of every class are made and destroyed many times, and under limits of the system; the
// process then holds what it held before.
#include <cabinaudio/foundation/AudioConnectType.h>

#include "tests/foundation/Child.h"
#include "tests/support/PolicyGuard.h"
#include "tests/support/ProcessState.h"
#include "tests/support/kinds/KindTest.h"
#include "tests/support/kinds/SettingKinds.h"

#include <fcntl.h>
#include <malloc.h>
#include <pthread.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

namespace cabinaudio::test {
namespace {

using namespace std::chrono_literals;

constexpr bool IS_SANITIZED = CABINAUDIO_TEST_SANITIZED != 0;

/// CABINAUDIO_LIFE_CYCLES, or a few.
int lifeCycles() {
    const char* const wish = std::getenv("CABINAUDIO_LIFE_CYCLES");
    return wish != nullptr ? std::atoi(wish) : 30;
}

/// KiB. With the target's 32 bits the memory is that of an emulator, and a sanitizer keeps blocks
/// that were given back.
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

/// Calls `live` again and again. `renew` gets a new server in between: a scripted server keeps each
/// request, so that an old one becomes slow.
template <typename Live, typename Renew>
void repeat(int rounds, Live live, Renew renew) {
    for (int round = 0; round < rounds; ++round) {
        live();
        if (round % 100 == 0) renew();
    }
    renew();
}

class StreamLife : public EachKindTest {
protected:
    StreamLife() {
        server.stop();
        renewServer();
        (void)physicalRing("str", SIZE);  // the board's descriptor stays
    }

    void renewServer() {
        peer.reset();
        peer = std::make_unique<ScriptedServer>();
        onCreate(*peer, created());
        onPlace(*peer, placed());
        log.clear();
    }

    void live() {
        stream = kind.create("str", MUSIC);
        EXPECT_EQ(stream->initCheck(), AUDIO_NO_ERROR);
        EXPECT_EQ(stream->start(), AUDIO_NO_ERROR);
        if (!kind.isPosix) peer->notify(kind.event, 1, peer->clients() - 1);
        (void)stream->operate(9, data.data());
        EXPECT_EQ(stream->stop(), AUDIO_NO_ERROR);
        stream.reset();
    }
    void live(int rounds) {
        repeat(
            rounds, [this] { live(); }, [this] { renewServer(); });
    }

    std::unique_ptr<ScriptedServer> peer;
};

TEST_P(StreamLife, LeavesNothingAfterAnyNumberOfRounds) {
    live();
    const ProcessState before = ProcessState::now();
    const int rounds = lifeCycles();
    live(rounds / 2);
    const std::size_t half = memoryInUse();
    live(rounds - rounds / 2);
    EXPECT_TRUE(leavesNoMoreThan(before));
    // The server's list of requests grows; a leak of the smallest block would show a hundred times.
    const std::size_t end = memoryInUse();
    RecordProperty("rounds", rounds);
    std::printf("%s: %d life cycles, resident %zu KiB after half of them, %zu KiB at the end\n",
                kind.name, rounds, half, end);
    EXPECT_LT(end, half + SLACK + static_cast<std::size_t>(rounds));
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, StreamLife, ::testing::ValuesIn(streamKinds()), ROW_NAME);

TEST(SettingLife, LeavesNothingAfterAnyNumberOfRounds) {
    const LogCapture log;
    std::unique_ptr<ScriptedServer> server;
    const auto renewServer = [&server] {
        server.reset();
        server = std::make_unique<ScriptedServer>();
        server->onOther([](const Request& request) {
            const bool isVersion = request.header.type == AUDIO_CONNECT_VERSION_SETTING;
            return Answer::bytes(Bytes(isVersion ? 32 : 4));
        });
    };
    const auto live = [] {
        for (const SettingKind& kind : settingKinds())
            EXPECT_EQ(kind.create()->ask(), AUDIO_NO_ERROR) << kind.name;
    };
    renewServer();
    live();
    const ProcessState before = ProcessState::now();
    repeat(lifeCycles(), live, renewServer);
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

TEST_P(StreamLife, FailsWithoutDescriptors) {
    live();
    const ProcessState before = ProcessState::now();
    for (rlim_t spare = 0; spare < 4; ++spare) {
        const Limit limit(RLIMIT_NOFILE, before.descriptors + spare);
        ASSERT_TRUE(limit.isSet());
        const PolicyGuard guard({2s, true, true});
        create();
        const int checked = stream->initCheck();
        EXPECT_TRUE(checked <= 0 || checked == 1) << checked;
        EXPECT_LE(stream->start(), 1);
        EXPECT_LE(stream->move(data.data(), 512, false), 512);
        EXPECT_LE(stream->stop(), 1);
        stream.reset();
    }
    EXPECT_TRUE(leavesNoMoreThan(before));
    live();
}

/// One track and one record, whose rings lie in shared memory alone, where something is short.
void liveWithLittle(ScriptedServer& server) {
    server.on(2, created());
    setLinkPolicy({2s, true, true});
    const ProcessState before = ProcessState::now();
    unsigned char data[RING_SIZE] = {};
    for (const StreamKind& kind : streamKinds()) {
        if (!kind.isPosix) continue;
        const std::unique_ptr<AnyStream> stream = kind.create();
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

TEST(Streams, LiveWhenSharedMemoryIsFull) {
    const ChildEnd asked = runInChild([] { EXPECT_TRUE(fillSharedMemory()); });
    if (!asked.passed()) GTEST_SKIP() << "only the superuser has a /dev/shm of his own";
    const ChildEnd end = runInChild([] {
        ASSERT_TRUE(fillSharedMemory());
        ScriptedServer server;
        liveWithLittle(server);
    });
    EXPECT_TRUE(end.passed()) << end.output;
    EXPECT_NE(end.output.find("failed:No space left on device"), std::string::npos) << end.output;
}

/// The limit does not hold for the superuser.
TEST(Streams, LiveWithoutNewThreads) {
    for (static rlim_t most = 1; most <= 8; ++most) {
        const ChildEnd end = runInChild([] {
            if (geteuid() == 0) {
                ASSERT_EQ(setresuid(65534, 65534, 65534), 0);
            }
            ScriptedServer server;
            const Limit limit(RLIMIT_NPROC, most);
            ASSERT_TRUE(limit.isSet());
            liveWithLittle(server);
        });
        EXPECT_TRUE(end.passed()) << most << end.output;
        if (most == 1) {
            EXPECT_NE(end.output.find("Fail to start thread"), std::string::npos) << end.output;
        }
    }
}

/// On a system with room for a hundred and fifty streams in 32 bits of addresses; each has two or
/// three threads.
TEST(Streams, FitIntoOneProcessAHundredAndFiftyTimes) {
    ScriptedServer server;
    const LogCapture log;
    server.on(2, created());  // a track gets no size, and maps no ring
    const Limit limit(RLIMIT_NOFILE, 4096);
    const ProcessState before = ProcessState::now();
    {
        std::vector<std::unique_ptr<AnyStream>> tracks;
        for (int i = 0; i < 150; ++i) {
            tracks.push_back(streamKind("alternativeTrack").create("many" + std::to_string(i)));
            ASSERT_EQ(tracks.back()->initCheck(), AUDIO_NO_ERROR) << i;
            ASSERT_EQ(tracks.back()->getTotalBufferSize(), 0) << "no server has made it yet";
        }
        EXPECT_GE(ProcessState::now().threads, before.threads + 450);
    }
    EXPECT_TRUE(leavesNoMoreThan(before));
}

}  // namespace
}  // namespace cabinaudio::test
