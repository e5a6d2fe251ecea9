// SPDX-License-Identifier: Apache-2.0
// Under a policy that ends every wait, each call of a stream returns with any server.
#include "tests/support/PolicyGuard.h"
#include "tests/support/Row.h"
#include "tests/support/kinds/KindTest.h"

#include <atomic>
#include <tuple>

namespace cabinaudio::test {
namespace {

using namespace std::chrono_literals;

constexpr auto TIMEOUT = 100ms;
/// All calls of a stream together: a handful of time-outs, and the waits that streams have anyway.
constexpr long long LONGEST_MS = 60'000;

/// A server's answer to the requests from some number on.
struct BadAnswer : Row {
    Answer (*answer)();
};

const BadAnswer BAD_ANSWERS[] = {
    {"nothing", [] { return Answer::none(); }},
    {"headerOnly", [] { return Answer::status(0).bodyHeld(); }},
    {"close", [] { return Answer::close(); }},
    {"nonsense", [] { return Answer::raw(Bytes(64, 0x5a)); }},
};

using Case = std::tuple<StreamKind, BadAnswer, int>;  // from this request on

class StreamOfABadServer : public KindTest, public ::testing::WithParamInterface<Case> {
protected:
    StreamOfABadServer() : KindTest(std::get<0>(GetParam())) {
        onCreate(server, orBad([](const Request&) { return created(); }));
        onPlace(server, orBad([this](const Request&) { return ring.place(); }));
        server.onOther(orBad([](const Request&) { return Answer::status(0); }));
        ring.begin();
    }
    ~StreamOfABadServer() override { server.stop(); }  // its rules use this object's members

    ScriptedServer::Handler orBad(const ScriptedServer::Handler& good) {
        return [this, good](const Request& request) {
            const auto& [anyKind, bad, from] = GetParam();
            return ++mRequests > from ? bad.answer() : good(request);
        };
    }

    const PolicyGuard guard{{TIMEOUT, true, true}};
    ServedRing ring{kind};

private:
    std::atomic<int> mRequests{0};
};

TEST_P(StreamOfABadServer, ReturnsFromEachCall) {
    const Stopwatch watch;
    create();
    (void)stream->initCheck();
    (void)stream->start();
    if (!kind.isPosix && server.clients() > 0) server.notify(kind.event, 0);
    for (int i = 0; i < 3; ++i)
        EXPECT_LE(move(SIZE), static_cast<int>(SIZE));
    for (unsigned which = 0; which < 10; ++which)
        (void)stream->operate(which, data.data());
    (void)stream->stop();
    stream.reset();
    EXPECT_LT(watch.ms(), LONGEST_MS);
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, StreamOfABadServer,
                         ::testing::Combine(::testing::ValuesIn(streamKinds()),
                                            ::testing::ValuesIn(BAD_ANSWERS),
                                            ::testing::Range(0, 4)),
                         NameOfParts());

class SinkWithoutNewsOfItsSource : public KindTest {
protected:
    SinkWithoutNewsOfItsSource() : KindTest(streamKind("sink")) {
        create();
        start();
    }
};

TEST_F(SinkWithoutNewsOfItsSource, TimesOutUnderAPolicy) {
    const PolicyGuard guard({TIMEOUT, false, false});
    const Stopwatch watch;
    EXPECT_EQ(move(STEP), AUDIO_TIMED_OUT);
    EXPECT_GE(watch.ms(), TIMEOUT.count());
    EXPECT_LT(watch.ms(), LONGEST_MS);
    EXPECT_EQ(stream->stop(), AUDIO_NO_ERROR) << "nothing but the write was given up";
}

TEST_F(SinkWithoutNewsOfItsSource, WaitsOnWithoutAPolicy) {
    auto write = blockedMove();
    EXPECT_EQ(write.wait_for(3 * TIMEOUT), std::future_status::timeout);
    EXPECT_EQ(stream->stop(), AUDIO_NO_ERROR);
    EXPECT_EQ(write.get(), 0);
}

class LiveUplink : public KindTest {
protected:
    LiveUplink() : KindTest(streamKind("uplink")) {
        serverRing = kind.ring();
        AudioFormatDesc opus = SPEECH;
        opus.codecType = 32;
        uplink = std::make_unique<ClientRecordRt>("str", AUDIO_TAG_UPLINK, opus);
        announce();
        EXPECT_EQ(uplink->start(), AUDIO_NO_ERROR);
        EXPECT_TRUE(put(*serverRing, {0, 0, 0, 2, 1, 2, 3, 4, 0xaa, 0xbb}));
        EXPECT_EQ(uplink->readFrame(data.data(), 100, true), 10) << log.dump();
    }

    std::unique_ptr<ClientRecordRt> uplink;
};

TEST_F(LiveUplink, EndsAReadOfAnIncompleteFrameUnderAPolicy) {
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
    EXPECT_TRUE(loggedLike(ERROR, "\\[str\\]wait shm data timeOut:[0-9]+ expect:1000\n"));
}

}  // namespace
}  // namespace cabinaudio::test
