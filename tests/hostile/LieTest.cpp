// SPDX-License-Identifier: Apache-2.0
// A server answers one message of each conversation wrongly: with no frame, with replies without a
// request, with too many or too few bytes, impossible numbers, a flood. Under a policy every call
// returns, and nothing is left behind.
#include <cabinaudio/client/ClientVolumeSetting.h>
#include <cabinaudio/foundation/AudioStatus.h>

#include "tests/hostile/Effort.h"
#include "tests/hostile/HostileServer.h"
#include "tests/support/PolicyGuard.h"
#include "tests/support/ProcessState.h"
#include "tests/support/kinds/StreamKinds.h"
#include "wire/Frame.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <string>
#include <vector>

namespace cabinaudio::test {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t MESSAGES = 7;  // registration, create, check, start, ring, stop, and one more
constexpr int FLOOD = 2000;

/// An answer instead of `good`, which is a frame and perhaps a body.
using Tell = std::function<Bytes(const Bytes& good)>;

struct Lie {
    std::string name;
    Tell tell;
};

/// A server that is wrong about one message.
Plan lieAt(std::size_t at, const Tell& tell) {
    return [at, tell](std::size_t message, const Bytes& good) -> Move {
        return {message == at ? tell(good) : good};
    };
}

void append(Bytes& to, const Bytes& bytes) {
    to.insert(to.end(), bytes.begin(), bytes.end());
}

Bytes withWord(Bytes bytes, std::size_t at, std::uint32_t word) {
    if (at + sizeof word <= bytes.size()) std::memcpy(bytes.data() + at, &word, sizeof word);
    return bytes;
}

Bytes twice(const Bytes& good) {
    Bytes all = good;
    append(all, good);
    return all;
}

/// A reply without a request, as long as the right one, all ones, in front of the right one.
Bytes unasked(const Bytes& good) {
    Bytes all(good.begin(), good.begin() + FRAME);
    all.resize(good.size(), 0xff);
    append(all, good);
    return all;
}

/// Notifications that clients know, and unknown ones, in front of the right answer.
Bytes flooded(const Bytes& good) {
    Bytes all;
    for (int i = 0; i < FLOOD; ++i) {
        const std::uint32_t events[] = {2, 3, 4, 5, 0, 9999, 0xffffffff};
        append(all, ScriptedServer::frame(HEADER_NOTIFY, events[i % 7],
                                          static_cast<std::uint32_t>(i % 2)));
    }
    append(all, good);
    return all;
}

Bytes withBody(const Bytes& good, std::uint32_t word) {
    Bytes all = good;
    for (std::size_t at = FRAME; at + 4 <= all.size(); at += 4)
        all = withWord(all, at, word);
    return all;
}

/// A status of 0, and the same number everywhere behind it.
Bytes withNumbers(const Bytes& good, std::uint32_t word) {
    return withWord(withBody(good, word), FRAME, 0);
}

std::vector<Lie> lies() {
    std::vector<Lie> all = {
        {"WrongMagic", [](const Bytes& good) { return withWord(good, 0, 0x00112232); }},
        {"SwappedMagic", [](const Bytes& good) { return withWord(good, 0, 0x33221100); }},
        {"UnknownId", [](const Bytes& good) { return withWord(good, 4, 2); }},
        {"LargestId", [](const Bytes& good) { return withWord(good, 4, 0xffffffff); }},
        {"NotificationForAReply", [](const Bytes& good) { return withWord(good, 4, 0); }},
        {"Twice", twice},
        {"UnaskedBefore", unasked},
        {"Flood", flooded},
        {"Nothing", [](const Bytes&) { return Bytes(); }},
        {"FrameOnly", [](const Bytes& good) { return Bytes(good.begin(), good.begin() + FRAME); }},
        {"LaterThanItIs", [](const Bytes& good) { return withWord(good, 20, 0xffffffff); }},
    };
    for (const std::size_t more : {1U, 31U, 32U, 33U, 4096U})
        all.push_back({"LongerBy" + std::to_string(more), [more](const Bytes& good) {
                           Bytes bytes = good;
                           bytes.resize(bytes.size() + more, 0x33);
                           return bytes;
                       }});
    for (const std::uint32_t word :
         {0U, 1U, 63U, 64U, 4095U, 4097U, 0x7fffffffU, 0x80000000U, 0xffffffffU}) {
        all.push_back({"Numbers" + std::to_string(word),
                       [word](const Bytes& good) { return withNumbers(good, word); }});
        all.push_back({"StatusToo" + std::to_string(word),
                       [word](const Bytes& good) { return withBody(good, word); }});
    }
    return all;
}

/// A server's number may be the length of an object: one of gigabytes fails instead.
class SmallFiles {
public:
    SmallFiles() {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &mBefore);
        const rlimit small = {std::min<rlim_t>(64U << 20, mBefore.rlim_max), mBefore.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
    }
    ~SmallFiles() {
        setrlimit(RLIMIT_FSIZE, &mBefore);
        std::signal(SIGXFSZ, SIG_DFL);
    }
    SmallFiles(const SmallFiles&) = delete;
    SmallFiles& operator=(const SmallFiles&) = delete;

private:
    rlimit mBefore = {};
};

class WrongAnswer : public ::testing::TestWithParam<StreamKind> {
protected:
    static void live(const std::string& name) {
        std::vector<unsigned char> bytes(HostileServer::RING_BYTES + 8);
        const int most = static_cast<int>(HostileServer::RING_BYTES);
        const auto stream = GetParam().create(name);
        (void)stream->initCheck();
        (void)stream->start();
        for (int i = 0; i < 3; ++i) {
            const int moved = stream->move(bytes.data(), most, false);
            EXPECT_LE(moved, most) << name;
            if (moved == AUDIO_TIMED_OUT) break;  // a track has waited a second for its ring
        }
        (void)stream->available();
        (void)stream->getTotalBufferSize();
        (void)stream->ask();
        (void)stream->stop();
        (void)stream->clear();
    }
};

TEST_P(WrongAnswer, LetsEachCallReturnAndLeavesNothing) {
    const std::vector<Lie> all = lies();
    const ProcessState before = ProcessState::now();
    {
        const SmallFiles small;
        const PolicyGuard guard({40ms, true, true});
        HostileServer server;
        const auto nameOf = [&](std::size_t i) {
            return all[i / MESSAGES].name + std::to_string(i % MESSAGES);
        };
        const std::size_t count = all.size() * MESSAGES;
        for (std::size_t i = 0; i < count; ++i)
            server.plan(nameOf(i), lieAt(i % MESSAGES, all[i / MESSAGES].tell));
        const std::size_t step = stride(2);  // never a divisor of MESSAGES
        inParallel(count / step, AT_ONCE, [&](std::size_t i) { live(nameOf(i * step)); });
    }
    EXPECT_TRUE(leavesNoMoreThan(before));
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, WrongAnswer, ::testing::ValuesIn(streamKinds()), ROW_NAME);

TEST(WrongSettingAnswer, LetsEachCallReturn) {
    const PolicyGuard guard({20ms, true, true});
    for (const Lie& lie : lies())
        for (const std::size_t at : {0U, 1U}) {
            HostileServer server;
            server.planOthers(lieAt(at, lie.tell));
            ClientVolumeSetting volume;
            float gain = 0;
            for (int i = 0; i < 3; ++i)
                (void)volume.getMasterVolume(&gain);
        }
}

TEST(UnrequestedReply, AnswersTheNextRequest) {
    // Deliberate: a reply does not name its request. Under a policy no late reply arrives.
    HostileServer server;
    server.planOthers(lieAt(1, [](const Bytes& good) { return twice(withWord(good, FRAME, 77)); }));
    ClientVolumeSetting volume;
    EXPECT_EQ(volume.setMasterVolume(0.0F), 77);
    EXPECT_EQ(volume.setMasterVolume(0.0F), 77);
    EXPECT_EQ(volume.setMasterVolume(0.0F), 0);
}

TEST(EarlyAnnouncement, LeavesNoRingBehindInATrackWithItsOwn) {
    const ProcessState before = ProcessState::now();
    {
        const PolicyGuard guard({60s, true, true});
        HostileServer server;
        server.planOthers([](std::size_t message, const Bytes& good) -> Move {
            Bytes all;
            for (int i = 0; message < 3 && i < 3; ++i)
                append(all, ScriptedServer::frame(HEADER_NOTIFY, 3, 0));
            append(all, good);
            return {all};
        });
        // Whether the announcement or the constructor comes first, is up to the scheduler.
        const unsigned tracks = scaled(300);
        inParallel(tracks, 3, [](std::size_t i) {
            const auto stream = streamKinds().front().create("early" + std::to_string(i));
            (void)stream->initCheck();
            (void)stream->start();
        });
    }
    EXPECT_TRUE(leavesNoMoreThan(before));
}

TEST(NotificationFlood, LeavesAStreamAsItWas) {
    const PolicyGuard guard({60s, true, true});
    HostileServer server;
    server.planOthers(lieAt(3, [](const Bytes& good) {
        Bytes all;
        for (unsigned i = 0; i < scaled(20000); ++i)
            append(all, ScriptedServer::frame(HEADER_NOTIFY, 9999, i));
        append(all, good);
        return all;
    }));
    const auto stream = streamKinds().front().create("flooded");
    ASSERT_EQ(stream->initCheck(), AUDIO_NO_ERROR);
    EXPECT_EQ(stream->start(), AUDIO_NO_ERROR);
    EXPECT_EQ(stream->stop(), AUDIO_NO_ERROR);
}

}  // namespace
}  // namespace cabinaudio::test
