// SPDX-License-Identifier: Apache-2.0
//
// Clients that break the protocol or their ring lose their connection; nobody else notices.
#include <cabinaudio/foundation/AudioStatus.h>

#include "tests/server/Playing.h"
#include "tests/server/RawClient.h"
#include "tests/server/Sound.h"
#include "tests/support/RealServer.h"
#include "wire/Ring.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <functional>
#include <string>

namespace cabinaudio::test {
namespace {

using ::testing::HasSubstr;

/// One way to go wrong, and what the server's log says about it.
struct Offence {
    const char* name;
    const char* log;
    std::function<void(RawClient&)> commit;
};

void PrintTo(const Offence& offence, std::ostream* stream) {
    *stream << offence.name;
}

void sendHeader(RawClient& client, const std::function<void(audio_param&)>& change,
                std::size_t length = 4) {
    audio_param header = client.requestHeader(length);
    change(header);
    Bytes message = bytesOf(header);
    message.resize(message.size() + length);
    client.send(message);
}

void sendRegistration(RawClient& client, const std::function<void(audio_param&)>& change) {
    audio_param header = RawClient::registration(AUDIO_CONNECT_AUXILIARY, "bad");
    change(header);
    client.send(bytesOf(header));
}

void registered(RawClient& client) {
    client.registerAs(AUDIO_CONNECT_AUXILIARY, "bad");
}

void sendPayload(RawClient& client, wire::StreamFunction function, std::size_t length) {
    Bytes message = bytesOf(client.requestHeader(length));
    Bytes payload = bytesOf(wire::FunctionRequest{static_cast<std::uint32_t>(function)});
    payload.resize(length);
    message.insert(message.end(), payload.begin(), payload.end());
    client.send(message);
}

const std::vector<Offence> OFFENCES = {
    {"Garbage", "the name is not terminated",
     [](RawClient& client) { client.send(Bytes(500, 0x41)); }},
    {"AnUnknownCommand", "unknown command 197",
     [](RawClient& client) {
         registered(client);
         sendHeader(client, [](audio_param& header) { header.cmd = 197; });
     }},
    {"AWrongRegisterWord", "register word 0x02181900",
     [](RawClient& client) {
         sendRegistration(client, [](audio_param& header) { header.handle = 0x02181900; });
     }},
    {"ARegistrationOfAnotherLength", "registration of length 65",
     [](RawClient& client) {
         sendRegistration(client, [](audio_param& header) { header.length = 65; });
     }},
    {"ARegistrationWithAnEndlessName", "the name is not terminated",
     [](RawClient& client) {
         sendRegistration(client, [](audio_param& header) {
             std::fill(std::begin(header.name), std::end(header.name), 'x');
         });
     }},
    {"ASecondRegistration", "registers twice",
     [](RawClient& client) {
         registered(client);
         sendRegistration(client, [](audio_param&) {});
     }},
    {"ARequestBeforeRegistration", "sends a request before it has registered",
     [](RawClient& client) { sendHeader(client, [](audio_param&) {}); }},
    {"AWrongHandle", "request with handle 12345",
     [](RawClient& client) {
         registered(client);
         sendHeader(client, [](audio_param& header) { header.handle = 12345; });
     }},
    {"AWrongType", "request with type 1",
     [](RawClient& client) {
         registered(client);
         sendHeader(client, [](audio_param& header) { header.type = 1; });
     }},
    {"ARequestWithAnEndlessName", "the name is not terminated",
     [](RawClient& client) {
         registered(client);
         sendHeader(client, [](audio_param& header) {
             std::fill(std::begin(header.name), std::end(header.name), 'x');
         });
     }},
    {"AHugePayload", "payload of 1048577 bytes",
     [](RawClient& client) {
         registered(client);
         sendHeader(client, [](audio_param& header) { header.length = (1 << 20) + 1; });
     }},
    {"APayloadWithoutAFunction", "request without a function id",
     [](RawClient& client) {
         registered(client);
         sendHeader(
             client, [](audio_param&) {}, 3);
     }},
    {"AShortCreateRequest", "create with a payload of 39 bytes",
     [](RawClient& client) {
         registered(client);
         sendPayload(client, wire::StreamFunction::Create, 39);
     }},
    {"AShortKeyShift", "setKeyShift with a payload of 4 bytes",
     [](RawClient& client) {
         registered(client);
         sendPayload(client, wire::StreamFunction::SetKeyShift, 4);
     }},
    {"HalfAMessage", "ended in the middle of a message",
     [](RawClient& client) {
         client.send(Bytes(50));
         shutdown(client.fd(), SHUT_WR);
     }},
};

class AMalformedClient : public ::testing::TestWithParam<Offence> {};

TEST_P(AMalformedClient, IsDisconnectedWhileOthersGoOn) {
    RecordingServer recording({"--fast"});
    const auto samples = noise16(40000);
    const auto middle = samples.begin() + 20000;
    Player player("music", AUDIO_TAG_AUXILIARY, pcm(48000, 2, 16));
    RawClient neighbour(AUDIO_CONNECT_VERSION_SETTING, "unkn");
    ASSERT_TRUE(player.write(std::vector<std::int16_t>(samples.begin(), middle)));

    RawClient bad;
    GetParam().commit(bad);
    EXPECT_TRUE(bad.isClosedByServer());
    EXPECT_THAT(recording.server().output(), HasSubstr(GetParam().log));

    EXPECT_EQ(neighbour.call(bytesOf(wire::FunctionRequest{0}), 32).size(), 32U);
    ASSERT_TRUE(player.write(std::vector<std::int16_t>(middle, samples.end())));
    ASSERT_TRUE(player.end());
    ASSERT_TRUE(recording.stop());
    EXPECT_TRUE(recording.heard("music", wide(samples)));
}

INSTANTIATE_TEST_SUITE_P(Offences, AMalformedClient, ::testing::ValuesIn(OFFENCES),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(AClientThatDoesNotReadItsSocket, IsDisconnectedAndKeepsNobodyWaiting) {
    const RealServer server({"--output", "null"});
    RawClient lazy(AUDIO_CONNECT_VERSION_SETTING, "lazy");
    Bytes message = bytesOf(lazy.requestHeader(4));
    message.resize(message.size() + 4);
    const auto sendsOn = [&] {
        return send(lazy.fd(), message.data(), message.size(), MSG_NOSIGNAL) > 0;
    };
    int requests = 0;
    while (requests < 1000000 && sendsOn()) {
        ++requests;
    }
    EXPECT_LT(requests, 1000000);
    EXPECT_THAT(server.output(), HasSubstr("does not read its socket"));
    RawClient other(AUDIO_CONNECT_VERSION_SETTING, "unkn");
    EXPECT_EQ(other.call(bytesOf(wire::FunctionRequest{0}), 32).size(), 32U);
}

/// A client of the alternative tag that maps its ring itself and treats it badly.
/// The parameter is the server's pace: without a clock it looks when the ring's receiver says so.
class AHostileRing : public ::testing::TestWithParam<bool> {
protected:
    void SetUp() override {
        ASSERT_EQ(client.create(1, pcm(48000, 2, 16)).status, AUDIO_NO_ERROR);
        object = shm_open("hostile", O_RDWR, 0);
        ASSERT_GE(object, 0);
        void* memory =
            mmap(nullptr, sizeof(wire::RingHeader), PROT_READ | PROT_WRITE, MAP_SHARED, object, 0);
        ASSERT_NE(memory, MAP_FAILED);
        header = static_cast<wire::RingHeader*>(memory);
    }
    void TearDown() override {
        if (header != nullptr) munmap(header, sizeof *header);
        if (object >= 0) close(object);
    }

    void expectOnlyThisClientIsGone(const char* logged) {
        EXPECT_TRUE(client.isClosedByServer());
        EXPECT_THAT(server.output(), HasSubstr(logged));
        RawClient other(AUDIO_CONNECT_ALTERNATIVE, "other");
        EXPECT_EQ(other.create(1, pcm(48000, 2, 16)).status, AUDIO_NO_ERROR);
        EXPECT_EQ(other.status(wire::StreamFunction::Start), AUDIO_NO_ERROR);
    }

    static std::vector<std::string> arguments(bool isFast) {
        return isFast ? std::vector<std::string>{"--output", "null", "--fast"}
                      : std::vector<std::string>{"--output", "null"};
    }

    RealServer server{arguments(GetParam())};
    RawClient client{AUDIO_CONNECT_ALTERNATIVE, "hostile"};
    int object = -1;
    wire::RingHeader* header = nullptr;
};

TEST_P(AHostileRing, OfAnotherSizeCostsTheConnection) {
    header->size = 7;
    EXPECT_EQ(client.status(wire::StreamFunction::Start), AUDIO_NO_ERROR);
    expectOnlyThisClientIsGone("changed its ring's size from 24576 to 7");
}

TEST_P(AHostileRing, OfNoSizeCostsTheConnection) {
    header->size = 0;
    EXPECT_EQ(client.status(wire::StreamFunction::Start), AUDIO_NO_ERROR);
    expectOnlyThisClientIsGone("changed its ring's size from 24576 to 0");
}

TEST_P(AHostileRing, WithAReadOffsetInsideAFrameCostsTheConnection) {
    header->readOffset = 3;
    header->writeOffset = 400;
    EXPECT_EQ(client.status(wire::StreamFunction::Start), AUDIO_NO_ERROR);
    expectOnlyThisClientIsGone("set its ring's read offset to 3");
}

TEST_P(AHostileRing, WithAReadOffsetBeyondItsEndCostsTheConnection) {
    header->readOffset = 0x80000000;
    EXPECT_EQ(client.status(wire::StreamFunction::Start), AUDIO_NO_ERROR);
    expectOnlyThisClientIsGone("set its ring's read offset to 2147483648");
}

TEST_P(AHostileRing, WithAWriteOffsetBeyondItsEndHasNoData) {
    header->writeOffset = 0xfffffff0;
    EXPECT_EQ(client.status(wire::StreamFunction::Start), AUDIO_NO_ERROR);
    EXPECT_EQ(client.status(wire::StreamFunction::WriteDone), AUDIO_NO_ERROR);
    EXPECT_EQ(client.notification().event, 4U) << "nothing to be played";
}

TEST_P(AHostileRing, ThatIsCutOffCostsTheConnection) {
    header->writeOffset = 20000;
    ASSERT_EQ(ftruncate(object, 0), 0);
    EXPECT_EQ(client.status(wire::StreamFunction::Start), AUDIO_NO_ERROR);
    expectOnlyThisClientIsGone("ring's");
}

TEST_P(AHostileRing, WhoseDataIsCutOffCostsTheConnection) {
    ASSERT_EQ(ftruncate(object, 4096), 0);
    header->readOffset = 16000;
    header->writeOffset = 20000;
    EXPECT_EQ(client.status(wire::StreamFunction::Start), AUDIO_NO_ERROR);
    expectOnlyThisClientIsGone("cut off its ring's memory");
}

TEST_P(AHostileRing, WithAPartOfAFrameInItPlaysWholeFramesOnly) {
    header->writeOffset = 4 * 10 + 3;
    EXPECT_EQ(client.status(wire::StreamFunction::Start), AUDIO_NO_ERROR);
    EXPECT_EQ(client.status(wire::StreamFunction::WriteDone), AUDIO_NO_ERROR);
    EXPECT_EQ(client.notification().event, 4U);
    EXPECT_EQ(header->readOffset, 40U);
    EXPECT_THAT(server.command("state"), HasSubstr("\"frames\":10,"));
}

INSTANTIATE_TEST_SUITE_P(OfEachPace, AHostileRing, ::testing::Bool(), [](const auto& test) {
    return std::string(test.param ? "fast" : "steady");
});

}  // namespace
}  // namespace cabinaudio::test
