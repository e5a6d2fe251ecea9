// SPDX-License-Identifier: Apache-2.0
//
// Clients that violate the protocol or damage their ring are disconnected; others are not affected.
#include <cabinaudio/foundation/AudioStatus.h>

#include "tests/server/HostileRing.h"
#include "tests/server/Playing.h"
#include "tests/server/RawClient.h"
#include "tests/server/Sound.h"
#include "tests/support/RealServer.h"
#include "tests/support/Row.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <string>
#include <tuple>
#include <vector>

namespace cabinaudio::test {
namespace {

using ::testing::HasSubstr;

/// A violation of the protocol, and the server's log line about it.
struct Offence : Row {
    const char* log;
    std::function<void(RawClient&)> commit;
    bool isRegistered = false;  // before
};

using Change = std::function<void(audio_param&)>;
using Commit = std::function<void(RawClient&)>;

/// Sends a request whose header is changed, and a payload of zeros.
Commit request(const Change& change, std::size_t length = 4) {
    return [=](RawClient& client) {
        audio_param header = client.requestHeader(length);
        change(header);
        Bytes message = bytesOf(header);
        message.resize(message.size() + length);
        client.send(message);
    };
}

/// Sends a registration that is changed.
Commit registration(const Change& change) {
    return [=](RawClient& client) {
        audio_param header = RawClient::registration(AUDIO_CONNECT_AUXILIARY, "bad");
        change(header);
        client.send(bytesOf(header));
    };
}

/// Sends a request whose payload has a certain length.
Commit payload(wire::StreamFunction function, std::size_t length) {
    return [=](RawClient& client) {
        Bytes bytes = bytesOf(wire::FunctionRequest{static_cast<std::uint32_t>(function)});
        bytes.resize(length);
        client.sendRequest(bytes);
    };
}

void unchanged(audio_param&) {}
void endlessName(audio_param& header) {
    std::fill(std::begin(header.name), std::end(header.name), 'x');
}

constexpr bool REGISTERED = true;

const std::vector<Offence> OFFENCES = {
    {"Garbage", "the name is not terminated",
     [](RawClient& client) { client.send(Bytes(500, 0x41)); }},
    {"AnUnknownCommand", "unknown command 197", request([](auto& header) { header.cmd = 197; }),
     REGISTERED},
    {"AWrongRegisterWord", "register word 0x02181900",
     registration([](auto& header) { header.handle = 0x02181900; })},
    {"ARegistrationOfAnotherLength", "registration of length 65",
     registration([](auto& header) { header.length = 65; })},
    {"ARegistrationWithAnEndlessName", "the name is not terminated", registration(endlessName)},
    {"ASecondRegistration", "registers twice", registration(unchanged), REGISTERED},
    {"ARequestBeforeRegistration", "sends a request before it has registered", request(unchanged)},
    {"AWrongHandle", "request with handle 12345",
     request([](auto& header) { header.handle = 12345; }), REGISTERED},
    {"AWrongType", "request with type 1", request([](auto& header) { header.type = 1; }),
     REGISTERED},
    {"ARequestWithAnEndlessName", "the name is not terminated", request(endlessName), REGISTERED},
    {"AHugePayload", "payload of 1048577 bytes",
     request([](auto& header) { header.length = (1 << 20) + 1; }), REGISTERED},
    {"APayloadWithoutAFunction", "request without a function id", request(unchanged, 3),
     REGISTERED},
    {"AShortCreateRequest", "create with a payload of 39 bytes",
     payload(wire::StreamFunction::Create, 39), REGISTERED},
    {"AShortKeyShift", "setKeyShift with a payload of 4 bytes",
     payload(wire::StreamFunction::SetKeyShift, 4), REGISTERED},
    {"HalfAMessage", "ended in the middle of a message",
     [](RawClient& client) {
         client.send(Bytes(50));
         shutdown(client.fd(), SHUT_WR);
     }},
};

class MalformedClient : public ::testing::TestWithParam<Offence> {};

TEST_P(MalformedClient, IsDisconnectedAndOthersContinue) {
    RecordingServer recording({"--fast"});
    const auto samples = noise16(40000);
    const auto middle = samples.begin() + 20000;
    Player player("music", AUDIO_TAG_AUXILIARY, pcm(48000, 2, 16));
    RawClient neighbour(AUDIO_CONNECT_VERSION_SETTING, "unkn");
    ASSERT_TRUE(player.write(std::vector<std::int16_t>(samples.begin(), middle)));

    RawClient bad;
    if (GetParam().isRegistered) bad.registerAs(AUDIO_CONNECT_AUXILIARY, "bad");
    GetParam().commit(bad);
    EXPECT_TRUE(bad.isClosedByServer());
    EXPECT_THAT(recording.server().output(), HasSubstr(GetParam().log));

    EXPECT_EQ(neighbour.call(bytesOf(wire::FunctionRequest{0}), 32).size(), 32U);
    ASSERT_TRUE(player.write(std::vector<std::int16_t>(middle, samples.end())));
    ASSERT_TRUE(player.end());
    ASSERT_TRUE(recording.stop());
    EXPECT_TRUE(recording.heard("music", wide(samples)));
}

INSTANTIATE_TEST_SUITE_P(Offences, MalformedClient, ::testing::ValuesIn(OFFENCES), ROW_NAME);

TEST(ClientThatDoesNotReadItsSocket, IsDisconnectedAndDelaysNobody) {
    const RealServer server({"--output", "null"});
    RawClient lazy(AUDIO_CONNECT_VERSION_SETTING, "lazy");
    Bytes message = bytesOf(lazy.requestHeader(4));
    message.resize(message.size() + 4);
    const auto sendsOn = [&] {
        return send(lazy.fd(), message.data(), message.size(), MSG_NOSIGNAL) > 0;
    };
    int requests = 0;
    while (requests < 1000000 && sendsOn())
        ++requests;
    EXPECT_LT(requests, 1000000);
    EXPECT_THAT(server.output(), HasSubstr("does not read its socket"));
    RawClient other(AUDIO_CONNECT_VERSION_SETTING, "unkn");
    EXPECT_EQ(other.call(bytesOf(wire::FunctionRequest{0}), 32).size(), 32U);
}

/// A damage to a ring, and the server's log line about it.
struct Damage : Row {
    std::function<void(const HostileRing&)> spoil;
    const char* log;
};

const Damage DAMAGES[] = {
    {"AnotherSize", [](const HostileRing& ring) { ring.header().size = 7; },
     "changed its ring's size from 24576 to 7"},
    {"NoSize", [](const HostileRing& ring) { ring.header().size = 0; },
     "changed its ring's size from 24576 to 0"},
    {"ReadOffsetInsideAFrame",
     [](const HostileRing& ring) {
         ring.header().readOffset = 3;
         ring.header().writeOffset = 400;
     },
     "set its ring's read offset to 3"},
    {"ReadOffsetBeyondTheEnd",
     [](const HostileRing& ring) { ring.header().readOffset = 0x80000000; },
     "set its ring's read offset to 2147483648"},
    {"CutOff",
     [](const HostileRing& ring) {
         ring.header().writeOffset = 20000;
         ring.cut();
     },
     "ring's"},
    {"DataCutOff",
     [](const HostileRing& ring) {
         ring.cut(4096);
         ring.header().readOffset = 16000;
         ring.header().writeOffset = 20000;
     },
     "cut off its ring's memory"},
};

/// A server with or without a clock; without one it reads a ring when the ring's receiver wakes it.
/// Its client of the alternative tag maps its ring itself and damages it.
class HostileRingTest : public ::testing::Test {
protected:
    explicit HostileRingTest(bool isFast)
        : server(isFast ? std::vector<std::string>{"--output", "null", "--fast"}
                        : std::vector<std::string>{"--output", "null"}) {}

    static constexpr RingUser TRACK = {"track", AUDIO_CONNECT_ALTERNATIVE, AUDIO_TAG_ALTERNATIVE,
                                       false, false};
    RealServer server;
    HostileRing ring{TRACK, "hostile", pcm(48000, 2, 16)};
};

std::string paceOf(bool isFast) {
    return isFast ? "fast" : "steady";
}

class SpoiltRing : public HostileRingTest,
                   public ::testing::WithParamInterface<std::tuple<bool, Damage>> {
protected:
    SpoiltRing() : HostileRingTest(std::get<0>(GetParam())) {}
};

TEST_P(SpoiltRing, CostsTheConnectionOfItsClientOnly) {
    const Damage& damage = std::get<1>(GetParam());
    damage.spoil(ring);
    ring.start();
    EXPECT_TRUE(ring.client().isClosedByServer());
    EXPECT_THAT(server.output(), HasSubstr(damage.log));
    RawClient other(AUDIO_CONNECT_ALTERNATIVE, "other");
    EXPECT_EQ(other.create(1, pcm(48000, 2, 16)).status, AUDIO_NO_ERROR);
    EXPECT_EQ(other.status(wire::StreamFunction::Start), AUDIO_NO_ERROR);
}

INSTANTIATE_TEST_SUITE_P(OfEachPace, SpoiltRing,
                         ::testing::Combine(::testing::Bool(), ::testing::ValuesIn(DAMAGES)),
                         [](const auto& test) {
                             return paceOf(std::get<0>(test.param)) + "_" +
                                    std::get<1>(test.param).name;
                         });

class RingWithBadOffset : public HostileRingTest, public ::testing::WithParamInterface<bool> {
protected:
    RingWithBadOffset() : HostileRingTest(GetParam()) {}

    /// Waits for the end of playback, which comes when there is nothing to be played.
    void expectFinish() {
        ring.start();
        EXPECT_EQ(ring.client().status(wire::StreamFunction::WriteDone), AUDIO_NO_ERROR);
        EXPECT_EQ(ring.client().notification().event, 4U);
    }
};

TEST_P(RingWithBadOffset, HasNoDataWhenTheWriteOffsetIsBeyondItsEnd) {
    ring.header().writeOffset = 0xfffffff0;
    expectFinish();
}

TEST_P(RingWithBadOffset, PlaysWholeFramesOnly) {
    ring.header().writeOffset = 4 * 10 + 3;
    expectFinish();
    EXPECT_EQ(ring.header().readOffset, 40U);
    EXPECT_THAT(server.command("state"), HasSubstr("\"frames\":10,"));
}

INSTANTIATE_TEST_SUITE_P(OfEachPace, RingWithBadOffset, ::testing::Bool(),
                         [](const auto& test) { return paceOf(test.param); });

}  // namespace
}  // namespace cabinaudio::test
