// SPDX-License-Identifier: Apache-2.0
// Everything on the wire as readers of the server's trace get it.
#include "devkit/trace/CaptureReader.h"
#include "devkit/trace/Load.h"
#include "tests/server/Playing.h"
#include "tests/server/RawClient.h"
#include "tests/server/ServerRun.h"
#include "tests/support/Files.h"
#include "tests/support/LocalSocket.h"
#include "tests/support/RealServer.h"
#include "wire/Settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <cstring>
#include <string>
#include <vector>

namespace cabinaudio::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;
using trace::CaptureReader;
using trace::Kind;
using trace::Record;

/// A reader of the running server's trace. Waits are bounded.
class FeedReader {
public:
    explicit FeedReader(const std::string& command = "trace")
        : mFd(connectTo(CONTROL_SOCKET)), mReader(mFd.get(), "feed") {
        const timeval bound = {60, 0};
        setsockopt(mFd.get(), SOL_SOCKET, SO_RCVTIMEO, &bound, sizeof bound);
        const std::string line = command + "\n";
        EXPECT_EQ(send(mFd.get(), line.data(), line.size(), 0), static_cast<ssize_t>(line.size()));
        for (char c = 0; c != '\n' && recv(mFd.get(), &c, 1, 0) == 1;)
            mAnswer += c;
    }

    [[nodiscard]] const std::string& answer() const { return mAnswer; }
    [[nodiscard]] std::optional<Record> next() { return mReader.next(); }
    /// The next record that is of this kind.
    [[nodiscard]] Record next(Kind kind) {
        while (auto record = next())
            if (record->kind == kind) return *record;
        ADD_FAILURE() << "the feed has ended";
        return {};
    }
    /// Everything up to the server's end.
    [[nodiscard]] std::vector<Record> rest() {
        std::vector<Record> records;
        while (auto record = next())
            records.push_back(std::move(*record));
        return records;
    }

private:
    server::UniqueFd mFd;
    CaptureReader mReader;
    std::string mAnswer;
};

std::vector<Record> recordsIn(const std::string& file) {
    CaptureReader reader(file);
    std::vector<Record> records;
    while (auto record = reader.next())
        records.push_back(std::move(*record));
    return records;
}

std::vector<Kind> kindsOf(const std::vector<Record>& records) {
    std::vector<Kind> kinds;
    for (const Record& record : records)
        kinds.push_back(record.kind);
    return kinds;
}

/// A connection that sends and receives bytes without knowing what they are.
class Wire {
public:
    Wire() : mFd(connectTo(wire::SERVER_SOCKET)) {}

    void send(const Bytes& bytes) const {
        ASSERT_EQ(::send(mFd.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(bytes.size()));
    }
    [[nodiscard]] Bytes receive(std::size_t size) const {
        Bytes bytes(size);
        EXPECT_EQ(recv(mFd.get(), bytes.data(), size, MSG_WAITALL), static_cast<ssize_t>(size));
        return bytes;
    }
    /// Waits for the server to close the connection.
    void waitForEnd() const {
        char byte = 0;
        EXPECT_EQ(recv(mFd.get(), &byte, 1, 0), 0);
    }

private:
    server::UniqueFd mFd;
};

Bytes request(const Bytes& registrationReply, const Bytes& payload) {
    audio_param header = RawClient::registration(AUDIO_CONNECT_VOLUME_SETTING, "unkn");
    header.cmd = AUDIO_CMD_CALL_FLAG;
    header.handle =
        trace::load<std::uint32_t>(trace::behind(registrationReply, sizeof(SocketFrameHeader) + 4));
    header.length = static_cast<std::uint32_t>(payload.size());
    Bytes bytes = bytesOf(header);
    bytes.insert(bytes.end(), payload.begin(), payload.end());
    return bytes;
}

const Bytes GET_MASTER =
    bytesOf(wire::FunctionRequest{static_cast<std::uint32_t>(wire::VolumeFunction::GetMasterGain)});
constexpr std::size_t REGISTERED = sizeof(SocketFrameHeader) + sizeof(wire::RegistrationReply);
constexpr std::size_t MASTER = sizeof(SocketFrameHeader) + sizeof(wire::GainReply);

TEST(WireFeed, HasEveryMessageOfAConversationInOrderAndByteForByte) {
    RealServer server;
    FeedReader feed;
    EXPECT_EQ(feed.answer(), "{\"format\":\"pcapng\"}\n");
    std::vector<Bytes> messages;
    {
        const Wire client;
        messages.push_back(bytesOf(RawClient::registration(AUDIO_CONNECT_VOLUME_SETTING, "knob")));
        client.send(messages.back());
        messages.push_back(client.receive(REGISTERED));
        const Bytes asked = request(messages.back(), GET_MASTER);
        for (int i = 0; i < 2; ++i) {
            messages.push_back(asked);
            client.send(asked);
            messages.push_back(client.receive(MASTER));
        }
        // The rest is no message: another handle.
        messages.push_back(asked);
        messages.back()[8] ^= 0xFF;
        messages.back().resize(sizeof(audio_param));
        client.send(messages.back());
        client.waitForEnd();
    }
    ASSERT_EQ(server.stop(), 0);
    const std::vector<Record> records = feed.rest();
    ASSERT_EQ(kindsOf(records),
              (std::vector<Kind>{Kind::Connected, Kind::ToServer, Kind::ToClient, Kind::ToServer,
                                 Kind::ToClient, Kind::ToServer, Kind::ToClient, Kind::ToServer,
                                 Kind::Disconnected}));
    constexpr std::uint32_t NONE = trace::UNKNOWN;
    const std::vector<std::uint32_t> functions = {NONE, NONE, 21, 21, 21, 21, NONE};
    for (std::size_t i = 0; i < messages.size(); ++i) {
        const Record& record = records[i + 1];
        EXPECT_EQ(record.bytes, messages[i]) << i;
        EXPECT_EQ(record.function, functions[i]) << i;
        EXPECT_EQ(record.type, i == 0 ? NONE : AUDIO_CONNECT_VOLUME_SETTING) << i;
    }
    std::uint64_t time = 0;
    for (const Record& record : records) {
        EXPECT_EQ(record.connection, 1U);
        EXPECT_EQ(record.pid, getpid());
        EXPECT_GE(record.timeNs, time);
        time = record.timeNs;
    }
}

TEST(WireFeed, HasAMessageThatEndsInTheMiddleAsItCame) {
    const RealServer server;
    FeedReader feed;
    const Bytes half(40, 7);
    Wire().send(half);
    const Record record = feed.next(Kind::ToServer);
    EXPECT_EQ(record.bytes, half);
    EXPECT_EQ(record.function, trace::UNKNOWN);
    EXPECT_EQ(feed.next(Kind::Disconnected).connection, record.connection);
}

TEST(WireFeed, HasADamagedReplyAsItWasSent) {
    const RealServer server;
    RawClient client(AUDIO_CONNECT_VOLUME_SETTING, "knob");
    ASSERT_EQ(server.command("fault short-reply getMasterVolume knob"), "ok");
    FeedReader feed;
    client.sendRequest(GET_MASTER);
    (void)feed.next(Kind::ToServer);  // the registration
    (void)feed.next(Kind::ToServer);
    EXPECT_EQ(feed.next(Kind::ToClient).bytes.size(),
              sizeof(SocketFrameHeader) + sizeof(wire::GainReply) / 2);
}

TEST(WireFeed, BeginsWithTheClientsThatAreThereAlready) {
    const RealServer server;
    const RawClient client(AUDIO_CONNECT_VOLUME_SETTING, "knob");
    FeedReader feed;
    EXPECT_EQ(feed.next()->kind, Kind::Connected);
    const auto registration = feed.next();
    EXPECT_EQ(registration->kind, Kind::ToServer);
    EXPECT_EQ(registration->bytes,
              bytesOf(RawClient::registration(AUDIO_CONNECT_VOLUME_SETTING, "knob")));
    const auto reply = feed.next();
    EXPECT_EQ(reply->kind, Kind::ToClient);
    EXPECT_EQ(reply->type, AUDIO_CONNECT_VOLUME_SETTING);
    EXPECT_EQ(reply->bytes.size(), REGISTERED);
}

TEST(WireFeed, RefusesArgumentsAndTooManyReaders) {
    const RealServer server;
    EXPECT_EQ(server.command("trace everything"), "error: trace [sound]");
    std::vector<std::unique_ptr<FeedReader>> readers;
    for (int i = 0; i < 16; ++i)
        readers.push_back(std::make_unique<FeedReader>());
    EXPECT_EQ(server.command("trace"), "error: there are 16 readers of the trace already");
}

/// The sound of records in order of their positions, which must follow each other.
Bytes soundOf(const std::vector<Record>& records, trace::Direction direction) {
    Bytes sound;
    for (const Record& record : records) {
        if (record.kind != Kind::Sound) continue;
        const auto header = trace::load<trace::SoundHeader>(record.bytes);
        EXPECT_EQ(header.position, sound.size());
        EXPECT_EQ(header.direction, static_cast<std::uint32_t>(direction));
        const auto piece = trace::behind(record.bytes, sizeof header);
        EXPECT_LE(piece.size(), trace::MAXIMUM_SOUND);
        sound.insert(sound.end(), piece.begin(), piece.end());
    }
    return sound;
}

/// Sums of the summaries of one event.
trace::RingSummary sumOf(const std::vector<Record>& records, trace::RingEvent event) {
    trace::RingSummary sum = {};
    for (const Record& record : records) {
        if (record.kind != Kind::Ring) continue;
        const auto summary = trace::load<trace::RingSummary>(record.bytes);
        if (summary.event != static_cast<std::uint32_t>(event)) continue;
        sum.count += summary.count;
        sum.bytes += summary.bytes;
        sum.position = summary.position;
        sum.size = summary.size;
        EXPECT_LE(summary.fill, summary.size);
    }
    return sum;
}

TEST(WireFeed, HasTheSoundOfAStreamAndSumsOfItsRing) {
    const TemporaryDirectory directory;
    const std::string file = directory.file("all.pcapng");
    RealServer server({"--output", "null", "--fast", "--trace-to", file, "--trace-sound"});
    FeedReader silent;
    std::vector<std::int16_t> samples(2 * 48000);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<std::int16_t>(i * 7);
    {
        Player player("sound", AUDIO_TAG_AUXILIARY, pcm(48000, 2, 16));
        ASSERT_TRUE(player.write(samples));
        ASSERT_TRUE(player.end());
    }
    ASSERT_EQ(server.stop(), 0);
    const std::vector<Record> records = recordsIn(file);
    Bytes played(samples.size() * sizeof(std::int16_t));
    std::memcpy(played.data(), samples.data(), played.size());
    EXPECT_EQ(soundOf(records, trace::Direction::ToServer), played);
    const trace::RingSummary reads = sumOf(records, trace::RingEvent::Read);
    EXPECT_EQ(reads.bytes, played.size());
    EXPECT_EQ(reads.position, played.size());
    EXPECT_GT(reads.count, 0U);
    EXPECT_GT(reads.size, 0U);
    EXPECT_GT(sumOf(records, trace::RingEvent::Notify).count, 0U);
    // A reader without sound has the same sums.
    const std::vector<Record> others = silent.rest();
    EXPECT_EQ(soundOf(others, trace::Direction::ToServer), Bytes());
    EXPECT_EQ(sumOf(others, trace::RingEvent::Read).bytes, played.size());
}

TEST(WireFeed, DropsRecordsOfAReaderThatDoesNotReadAndGoesOn) {
    const RealServer server;
    FeedReader lazy;
    FeedReader eager;
    RawClient client(AUDIO_CONNECT_VOLUME_SETTING, "knob");
    Bytes large(1 << 20);
    large[0] = 99;  // an unknown function, which is answered with a status
    constexpr unsigned REQUESTS = 24;
    for (unsigned i = 0; i < REQUESTS; ++i) {
        EXPECT_EQ(client.call(large, sizeof(wire::StatusReply)).size(), 4U);
        while (eager.next(Kind::ToClient).function != 99)
            continue;
    }
    // Each large request is whole, or counted as lost; the small replies between them fit.
    std::uint64_t whole = 0;
    std::uint64_t lost = 0;
    while (whole + lost < REQUESTS) {
        const auto record = lazy.next();
        ASSERT_TRUE(record);
        if (record->kind == Kind::ToServer && record->function == 99) ++whole;
        if (record->kind == Kind::Lost)
            lost += trace::load<trace::LostRecords>(record->bytes).count;
    }
    EXPECT_GT(whole, 10U);
    EXPECT_GT(lost, 0U);
    EXPECT_THAT(server.output(), HasSubstr("a reader of the trace does not read"));
}

TEST(WireFeed, FileThatCannotBeWrittenEndsTheServerWithOneLine) {
    EXPECT_THAT(refusal(1, "--output null --trace-to /nonexistent/file"),
                HasSubstr("/nonexistent/file: No such file or directory"));
    EXPECT_THAT(refusal(2, "--output null --trace-sound"), HasSubstr("--trace-to"));
}

}  // namespace
}  // namespace cabinaudio::test
