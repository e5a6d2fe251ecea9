// SPDX-License-Identifier: Apache-2.0
//
// Replies to valid requests, byte by byte.
#include <cabinaudio/client/ClientVersionSetting.h>
#include <cabinaudio/foundation/AudioStatus.h>
#include <cabinaudio/foundation/AudioTime.h>

#include "tests/server/RawClient.h"
#include "tests/support/RealServer.h"
#include "wire/Ring.h"
#include "wire/Settings.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cmath>
#include <memory>
#include <set>

namespace cabinaudio::test {
namespace {

using ::testing::HasSubstr;
using wire::StreamFunction;

std::int32_t setKeyShift(RawClient& client, float key) {
    wire::KeyShiftRequest body = {};
    body.function = static_cast<std::uint32_t>(StreamFunction::SetKeyShift);
    body.key = key;
    return client.call<wire::StatusReply>(body).status;
}

wire::RingHeader ringHeader(const char* object) {
    wire::RingHeader header = {};
    const int fd = shm_open(object, O_RDONLY, 0);
    EXPECT_GE(fd, 0) << object;
    EXPECT_EQ(read(fd, &header, sizeof header), static_cast<ssize_t>(sizeof header));
    close(fd);
    return header;
}

class ClientProtocol : public ::testing::Test {
protected:
    RealServer server{{"--output", "null"}};
};

TEST_F(ClientProtocol, RegistrationAnswersWithAFrameAndTheHandle) {
    RawClient client;
    const std::uint64_t before = AudioTime::now();
    client.send(bytesOf(RawClient::registration(AUDIO_CONNECT_VOLUME_SETTING, "")));
    Bytes reply(40);
    ASSERT_EQ(recv(client.fd(), reply.data(), reply.size(), MSG_WAITALL), 40);
    const std::uint64_t after = AudioTime::now();
    SocketFrameHeader header;
    std::memcpy(&header, reply.data(), sizeof header);
    EXPECT_GE(header.sendTimeUs, before);
    EXPECT_LE(header.sendTimeUs, after);
    std::fill(reply.begin() + 16, reply.begin() + 24, std::uint8_t{0});
    const Bytes expected = {0x33, 0x22, 0x11, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                            0,    0,    0,    0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0};
    EXPECT_EQ(reply, expected) << "the first handle is 1";
}

TEST_F(ClientProtocol, EveryKnownTypeGetsItsOwnHandle) {
    std::set<std::uint32_t> handles;
    std::vector<std::unique_ptr<RawClient>> clients;
    for (const unsigned type :
         {0U, 1U, 2U, 3U, 64U, 65U, 66U, 67U, 68U, 128U, 129U, 130U, 131U, 132U, 133U}) {
        clients.push_back(
            std::make_unique<RawClient>(static_cast<audio_connect_type>(type), "client"));
        EXPECT_NE(clients.back()->handle(), 0U) << type;
        handles.insert(clients.back()->handle());
    }
    EXPECT_EQ(handles.size(), clients.size());
}

TEST_F(ClientProtocol, UnknownTypeIsRefused) {
    for (const unsigned type : {4U, 63U, 69U, 127U, 134U, 255U, 0xffffffffU}) {
        RawClient client;
        EXPECT_EQ(client.registerAs(static_cast<audio_connect_type>(type), "client"), 0U) << type;
        EXPECT_TRUE(client.isClosedByServer());
    }
    EXPECT_THAT(server.output(), HasSubstr("registers with unknown connection type 255"));
}

TEST_F(ClientProtocol, VersionQueryReturnsTheVersions) {
    RawClient client(AUDIO_CONNECT_VERSION_SETTING, "unkn");
    const Bytes reply = client.call(bytesOf(wire::FunctionRequest{0}), 32);
    const Bytes expected = {0, 0, 0, 0, 2, 0, 0, 0, 24, 0, 0, 0, 25, 0, 0, 0,
                            0, 0, 0, 0, 0, 0, 0, 0, 0,  0, 0, 0, 0,  0, 0, 0};
    EXPECT_EQ(reply, expected);
}

TEST_F(ClientProtocol, VersionQueryReturnsTheVersionsToTheLibrary) {
    ClientVersionSetting client;
    ASSERT_EQ(client.initCheck(), 0);
    int first[3] = {-1, -1, -1};
    int second[3] = {-1, -1, -1};
    int third = -1;
    ASSERT_EQ(client.getServerVersions(first, second, &third), 0);
    EXPECT_THAT(first, testing::ElementsAre(2, 24, 25));
    EXPECT_THAT(second, testing::ElementsAre(0, 0, 0));
    EXPECT_EQ(third, 0);
}

TEST_F(ClientProtocol, UnknownFunctionReturnsInvalidOperation) {
    RawClient version(AUDIO_CONNECT_VERSION_SETTING, "unkn");
    EXPECT_EQ(version.call<wire::StatusReply>(wire::FunctionRequest{77}).status,
              AUDIO_INVALID_OPERATION);
    EXPECT_THAT(server.output(), HasSubstr("unknown function 77 on connection type 132"));
    EXPECT_EQ(version.call(bytesOf(wire::FunctionRequest{0}), 32).size(), 32U);

    RawClient track(AUDIO_CONNECT_AUXILIARY, "track");
    EXPECT_EQ(track.call<wire::StatusReply>(wire::FunctionRequest{0}).status,
              AUDIO_INVALID_OPERATION);
    EXPECT_THAT(server.output(), HasSubstr("unknown function 0 on connection type 2"));
}

TEST_F(ClientProtocol, RequestsMayArriveTogetherOrByteByByte) {
    RawClient client(AUDIO_CONNECT_VERSION_SETTING, "unkn");
    Bytes message = bytesOf(client.requestHeader(4));
    message.resize(message.size() + 4);  // function 0
    Bytes three;
    for (int i = 0; i < 3; ++i)
        three.insert(three.end(), message.begin(), message.end());
    client.send(three);
    for (const std::uint8_t byte : message)
        client.send({byte});
    Bytes replies(4 * 64);
    ASSERT_EQ(recv(client.fd(), replies.data(), replies.size(), MSG_WAITALL), 4 * 64);
}

class StreamProtocol : public ClientProtocol {
protected:
    RawClient client{AUDIO_CONNECT_AUXILIARY, "stream"};
};

TEST_F(StreamProtocol, AuxiliaryRingIsAnnouncedAfterCreation) {
    EXPECT_EQ(client.ask<wire::ShareMemoryReply>(StreamFunction::GetShareMemory).status,
              AUDIO_INVALID_STATE);
    const wire::CreateReply reply = client.create(2, pcm(44100, 2, 24));
    EXPECT_EQ(reply.status, AUDIO_NO_ERROR);
    EXPECT_EQ(reply.perLoopSize, 706 * 6) << "16 ms in whole frames";
    EXPECT_EQ(reply.ringSize, 8 * 706 * 6U);
    const SocketFrameHeader ready = client.notification();
    EXPECT_EQ(ready.event, 3U);
    EXPECT_EQ(ready.param, 0U);
    const auto memory = client.ask<wire::ShareMemoryReply>(StreamFunction::GetShareMemory);
    EXPECT_EQ(memory.status, AUDIO_NO_ERROR);
    EXPECT_EQ(memory.size, reply.ringSize);
    EXPECT_NE(memory.address, 0U);
    EXPECT_EQ(memory.address % 4096, 0U);
    EXPECT_LT(memory.address + memory.size, 0x7f000000U);
}

TEST_F(StreamProtocol, AlternativeRingIsEmptyUnderTheStreamName) {
    RawClient alternative(AUDIO_CONNECT_ALTERNATIVE, "alt");
    const wire::CreateReply reply = alternative.create(1, pcm(8000, 1, 8));
    EXPECT_EQ(reply.status, AUDIO_NO_ERROR);
    EXPECT_EQ(reply.perLoopSize, 128);
    EXPECT_EQ(reply.ringSize, 1024U);
    const wire::RingHeader ring = ringHeader("alt");
    EXPECT_EQ(ring.size, 1024U);
    EXPECT_EQ(ring.readOffset, 0U);
    EXPECT_EQ(ring.writeOffset, 0U);
    EXPECT_EQ(ring.readNotify, 0U) << "the clock reads, not the news";
    EXPECT_EQ(alternative.ask<wire::ShareMemoryReply>(StreamFunction::GetShareMemory).status,
              AUDIO_INVALID_STATE)
        << "its memory has no address";
    EXPECT_EQ(alternative.status(StreamFunction::InitCheck), AUDIO_NO_ERROR);
    EXPECT_FALSE(alternative.hasNotification(0)) << "nothing is announced";
}

TEST_F(StreamProtocol, UnplayableFormatIsRefused) {
    AudioFormatDesc coded = pcm(48000, 2, 16);
    coded.codecType = 64;
    EXPECT_EQ(client.create(2, coded).status, AUDIO_BAD_VALUE);
    for (const unsigned rate : {0U, 7999U, 192001U, 0xffffffffU})
        EXPECT_EQ(client.create(2, pcm(rate, 2, 16)).status, AUDIO_BAD_VALUE) << rate;
    EXPECT_EQ(client.create(1, pcm(48000, 2, 16)).status, AUDIO_BAD_VALUE) << "another tag";
    EXPECT_EQ(client.create(2, pcm(192000, 6, 32)).status, AUDIO_NO_ERROR);
}

TEST_F(StreamProtocol, UnknownChannelsAndBitsMeanSixteenBitStereo) {
    EXPECT_EQ(client.create(2, pcm(48000, 77, 99)).perLoopSize, 768 * 4);
}

TEST_F(StreamProtocol, SecondCreationIsRefused) {
    EXPECT_EQ(client.create(2, pcm(48000, 2, 16)).status, AUDIO_NO_ERROR);
    EXPECT_EQ(client.create(2, pcm(48000, 2, 16)).status, AUDIO_INVALID_STATE);
}

TEST_F(StreamProtocol, RequestsBeforeCreationReturnInvalidState) {
    for (const StreamFunction function : {StreamFunction::Start, StreamFunction::Stop,
                                          StreamFunction::InitCheck, StreamFunction::WriteDone}) {
        EXPECT_EQ(client.status(function), AUDIO_INVALID_STATE);
    }
    EXPECT_EQ(setKeyShift(client, 1.0F), AUDIO_INVALID_STATE);
}

TEST_F(StreamProtocol, StatusesFollowStartStopAndWriteDone) {
    ASSERT_EQ(client.create(2, pcm(48000, 2, 16)).status, AUDIO_NO_ERROR);
    EXPECT_EQ(client.status(StreamFunction::InitCheck), AUDIO_NO_ERROR);
    EXPECT_EQ(client.status(StreamFunction::WriteDone), AUDIO_INVALID_STATE) << "not started";
    EXPECT_EQ(client.status(StreamFunction::Stop), AUDIO_NO_ERROR) << "stopped already";
    EXPECT_EQ(client.status(StreamFunction::Start), AUDIO_NO_ERROR);
    EXPECT_EQ(client.status(StreamFunction::Start), AUDIO_NO_ERROR) << "started already";
    EXPECT_EQ(client.status(StreamFunction::WriteDone), AUDIO_NO_ERROR);
    EXPECT_EQ(client.status(StreamFunction::WriteDone), AUDIO_INVALID_STATE) << "said already";
    EXPECT_EQ(client.status(StreamFunction::Stop), AUDIO_NO_ERROR);
    EXPECT_EQ(client.status(StreamFunction::WriteDone), AUDIO_INVALID_STATE) << "stopped";
    EXPECT_EQ(client.status(StreamFunction::Start), AUDIO_NO_ERROR);
    EXPECT_EQ(client.status(StreamFunction::WriteDone), AUDIO_NO_ERROR) << "a new round";
}

TEST_F(StreamProtocol, KeyShiftIsLimitedToTwentyPercent) {
    ASSERT_EQ(client.create(2, pcm(48000, 2, 16)).status, AUDIO_NO_ERROR);
    for (const float key : {0.8F, 1.0F, 1.2F})
        EXPECT_EQ(setKeyShift(client, key), AUDIO_NO_ERROR) << key;
    EXPECT_THAT(server.command("state"), HasSubstr("\"key_shift\":1.2"));
    for (const float key : {0.79F, 1.21F, -1.0F, INFINITY, NAN})
        EXPECT_EQ(setKeyShift(client, key), AUDIO_BAD_VALUE) << key;
}

TEST_F(StreamProtocol, TakenRingNameIsRefusedUntilItIsFree) {
    RawClient first(AUDIO_CONNECT_ALTERNATIVE, "same");
    ASSERT_EQ(first.create(1, pcm(48000, 2, 16)).status, AUDIO_NO_ERROR);
    RawClient second(AUDIO_CONNECT_ALTERNATIVE, "/same");
    EXPECT_EQ(second.create(1, pcm(48000, 2, 16)).status, AUDIO_INVALID_OPERATION);
    EXPECT_THAT(server.output(), HasSubstr("there is a ring \"same\" already"));
    EXPECT_EQ(ringHeader("same").size, 24576U) << "the first one's ring has been touched";
    EXPECT_EQ(first.status(StreamFunction::Start), AUDIO_NO_ERROR);

    EXPECT_EQ(server.command("stream remove same"), "ok");
    EXPECT_EQ(second.create(1, pcm(48000, 2, 16)).status, AUDIO_NO_ERROR) << "it is free now";
}

TEST_F(StreamProtocol, PhysicalRingsMayShareAStreamName) {
    RawClient other(AUDIO_CONNECT_AUXILIARY, "stream");
    EXPECT_EQ(client.create(2, pcm(48000, 2, 16)).status, AUDIO_NO_ERROR);
    EXPECT_EQ(other.create(2, pcm(48000, 2, 16)).status, AUDIO_NO_ERROR);
    client.notification();
    other.notification();
    EXPECT_NE(client.ask<wire::ShareMemoryReply>(StreamFunction::GetShareMemory).address,
              other.ask<wire::ShareMemoryReply>(StreamFunction::GetShareMemory).address);
}

TEST_F(StreamProtocol, BadObjectNameGetsNoRing) {
    RawClient slashes(AUDIO_CONNECT_ALTERNATIVE, "no/such/directory");
    EXPECT_EQ(slashes.create(1, pcm(48000, 2, 16)).status, AUDIO_NO_MEMORY);
    RawClient nameless(AUDIO_CONNECT_ALTERNATIVE, "");
    EXPECT_EQ(nameless.create(1, pcm(48000, 2, 16)).status, AUDIO_BAD_VALUE);
    RawClient memory(AUDIO_CONNECT_ALTERNATIVE, "cabinaudio-physmem-0");
    EXPECT_EQ(memory.create(1, pcm(48000, 2, 16)).status, AUDIO_BAD_VALUE)
        << "the board's memory lies there";
}

TEST(ServerRings, HaveTheLengthAndDelayOfTheCommandLine) {
    const RealServer server({"--output", "null", "--ring-periods", "3", "--ring-delay", "50"});
    RawClient client(AUDIO_CONNECT_OUTPUT_INVOCATION, "stream");
    const std::uint64_t before = AudioTime::now();
    EXPECT_EQ(client.create(3, pcm(48000, 2, 16)).ringSize, 3 * 768 * 4U);
    EXPECT_EQ(client.ask<wire::ShareMemoryReply>(StreamFunction::GetShareMemory).status,
              AUDIO_INVALID_STATE)
        << "not there yet";
    EXPECT_EQ(client.notification().event, 3U);
    EXPECT_GE(AudioTime::now() - before, 50000U);
    EXPECT_EQ(client.ask<wire::ShareMemoryReply>(StreamFunction::GetShareMemory).status,
              AUDIO_NO_ERROR);
}

TEST(ServerMemory, ReturnsNoMemoryUntilAStreamIsRemoved) {
    const RealServer server({"--output", "null", "--ring-periods", "256"});
    std::vector<std::unique_ptr<RawClient>> clients;
    std::int32_t status = AUDIO_NO_ERROR;
    // 18 MiB each, of about a thousand.
    while (status == AUDIO_NO_ERROR && clients.size() < 200) {
        clients.push_back(std::make_unique<RawClient>(AUDIO_CONNECT_AUXILIARY,
                                                      "s" + std::to_string(clients.size())));
        status = clients.back()->create(2, pcm(192000, 6, 32)).status;
    }
    EXPECT_EQ(status, AUDIO_NO_MEMORY);
    EXPECT_GT(clients.size(), 40U);
    ASSERT_EQ(server.command("stream remove s3"), "ok");
    EXPECT_EQ(clients.back()->create(2, pcm(192000, 6, 32)).status, AUDIO_NO_ERROR);
}

}  // namespace
}  // namespace cabinaudio::test
