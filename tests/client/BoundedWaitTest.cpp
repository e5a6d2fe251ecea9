// SPDX-License-Identifier: Apache-2.0
// Under a policy that ends every wait, no call of a stream lasts for ever, whatever the server
// does.
#include "tests/client/StreamFixture.h"
#include "tests/client/StreamKinds.h"
#include "tests/support/PolicyGuard.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <tuple>

namespace cabinaudio::test {
namespace {

using namespace std::chrono_literals;

constexpr unsigned SIZE = 4096;
constexpr auto TIMEOUT = 100ms;
/// All calls of a stream together: a handful of time-outs, and the waits that streams have anyway.
constexpr long long LONGEST_MS = 60'000;

/// What a server does about a request when it has had enough.
struct Misbehaviour {
    const char* name;
    Answer (*answer)();
};

const Misbehaviour kMisbehaviours[] = {
    {"answersNothing", [] { return Answer::none(); }},
    {"announcesAnAnswerOnly", [] { return Answer::status(0).bodyHeld(); }},
    {"closes", [] { return Answer::close(); }},
    {"answersNonsense", [] { return Answer::raw(Bytes(64, 0x5a)); }},
};

using Case =
    std::tuple<std::size_t, std::size_t, int>;  // kind, misbehaviour, from which request on

class AStreamOfABadServer : public AStream, public ::testing::WithParamInterface<Case> {
protected:
    AStreamOfABadServer() : guard({TIMEOUT, true, true}) {
        for (const std::uint32_t create : {2U, 21U})
            obey(create,
                 [](const Request&) { return Answer::words(0, 0, SIZE, 1024, 16, 256, 0); });
        for (const std::uint32_t place : {18U, 20U})
            obey(place, [this](const Request&) {
                const std::lock_guard lock(mRingLock);
                serverRing.reset();  // removes the name
                serverRing = physicalRing("str", SIZE);
                return Answer::words(0, RING_ADDRESS, SIZE);
            });
        server.onOther([this](const Request& request) {
            return answer(request, [](const Request&) { return Answer::status(0); });
        });
        if (kind().isPosix) serverRing = posixRing("str", SIZE);
    }

    ~AStreamOfABadServer() override { server.stop(); }  // its rules use what is in this class

    static const StreamKind& kind() { return streamKinds()[std::get<0>(GetParam())]; }

    void obey(std::uint32_t function, ScriptedServer::Handler handler) {
        server.on(function, [this, handler = std::move(handler)](const Request& request) {
            return answer(request, handler);
        });
    }
    Answer answer(const Request& request, const ScriptedServer::Handler& handler) {
        if (++mRequests > std::get<2>(GetParam()))
            return kMisbehaviours[std::get<1>(GetParam())].answer();
        return handler(request);
    }

    PolicyGuard guard;
    std::mutex mRingLock;
    std::atomic<int> mRequests{0};
};

TEST_P(AStreamOfABadServer, NeverBlocksForEver) {
    const Stopwatch watch;
    {
        const std::unique_ptr<AnyStream> stream = kind().create(cdFormat());
        (void)stream->initCheck();
        (void)stream->start();
        if (!kind().isPosix && server.clients() > 0) server.notify(kind().event, 0);
        for (int i = 0; i < 3; ++i)
            EXPECT_LE(stream->move(data.data(), SIZE, true), static_cast<int>(SIZE));
        for (unsigned which = 0; which < 10; ++which)
            (void)stream->operate(which, data.data());
        (void)stream->stop();
    }
    EXPECT_LT(watch.ms(), LONGEST_MS);
}

INSTANTIATE_TEST_SUITE_P(
    OfEachKind, AStreamOfABadServer,
    ::testing::Combine(::testing::Range<std::size_t>(0, 5),
                       ::testing::Range<std::size_t>(0, std::size(kMisbehaviours)),
                       ::testing::Range(0, 4)),
    [](const auto& test) {
        return std::string(streamKinds()[std::get<0>(test.param)].name) + "_" +
               kMisbehaviours[std::get<1>(test.param)].name + "_from_" +
               std::to_string(std::get<2>(test.param));
    });

class ASinkWhoseSourceIsNeverMentioned : public AStream {
protected:
    ASinkWhoseSourceIsNeverMentioned() {
        server.on(2, Answer::words(0, 0, SIZE, 1024, 16, 256, 0));
    }

    static constexpr std::size_t SINK = 2;
    std::unique_ptr<AnyStream> sink = streamKinds()[SINK].create(cdFormat());
};

TEST_F(ASinkWhoseSourceIsNeverMentioned, TimesOutUnderAPolicy) {
    const PolicyGuard guard({TIMEOUT, false, false});
    ASSERT_EQ(sink->start(), AUDIO_NO_ERROR);
    const Stopwatch watch;
    EXPECT_EQ(sink->move(data.data(), 512, true), AUDIO_TIMED_OUT);
    EXPECT_GE(watch.ms(), TIMEOUT.count());
    EXPECT_LT(watch.ms(), LONGEST_MS);
    EXPECT_EQ(sink->stop(), AUDIO_NO_ERROR) << "nothing but the write was given up";
    sink.reset();
}

TEST_F(ASinkWhoseSourceIsNeverMentioned, WaitsOnWithoutOne) {
    ASSERT_EQ(sink->start(), AUDIO_NO_ERROR);
    auto write =
        blocked([&] { return sink->move(data.data(), 512, true); }, AUDIO_INVALID_OPERATION);
    EXPECT_EQ(write.wait_for(3 * TIMEOUT), std::future_status::timeout);
    EXPECT_EQ(sink->stop(), AUDIO_NO_ERROR);
    EXPECT_EQ(write.get(), 0);
    sink.reset();
}

class LiveUplink : public AStream {
protected:
    LiveUplink() {
        server.on(2, Answer::words(0, 0, 0, 512, 16, 256, 0));
        server.on(18, Answer::words(0, RING_ADDRESS, SIZE));
        serverRing = physicalRing("rec", SIZE);
        AudioFormatDesc opus = {32, 16000, 0, AUDIO_CHANNEL_MAP_1, 0, AUDIO_BIT_DEPTH_16};
        uplink = std::make_unique<ClientRecordRt>("rec", AUDIO_TAG_UPLINK, opus);
        server.notify(2, 1);
        EXPECT_TRUE(log.waitForMatching(INFO, "\\[rec\\] record initShareMem OK.*\n"));
        EXPECT_EQ(uplink->start(), AUDIO_NO_ERROR);
        EXPECT_TRUE(put(*serverRing, {0, 0, 0, 2, 1, 2, 3, 4, 0xaa, 0xbb}));
        EXPECT_EQ(uplink->readFrame(data.data(), 100, true), 10) << log.dump();
    }

    std::unique_ptr<ClientRecordRt> uplink;
};

TEST_F(LiveUplink, EndsAReadOfAFrameThatNeverCompletesUnderAPolicy) {
    const PolicyGuard guard({TIMEOUT, true, true});
    ASSERT_TRUE(put(*serverRing, {0, 0, 0, 100}));  // half a header
    const Stopwatch watch;
    std::future<int> reader = std::async(
        std::launch::async, [this] { return uplink->readFrame(data.data(), 100, true); });
    // Each update of the ring begins the reader's wait anew.
    for (int post = 0; post < 300 && reader.wait_for(50ms) != std::future_status::ready; ++post)
        serverRing->updateWriteOffset(serverRing->getWriteOffset());
    EXPECT_EQ(reader.wait_for(0ms), std::future_status::ready) << "updates keep it waiting";
    EXPECT_EQ(reader.get(), AUDIO_INVALID_STATE);
    EXPECT_GE(watch.ms(), 1000);
    EXPECT_EQ(log.countMatching(ERROR, "\\[rec\\]wait shm data timeOut:[0-9]+ expect:1000\n"), 1U)
        << log.dump();
}

}  // namespace
}  // namespace cabinaudio::test
