// SPDX-License-Identifier: Apache-2.0
// The recorder in a real program of the library, against the real server, whose own capture it must
// equal.
#include "tests/board/Capture.h"
#include "tests/board/Launcher.h"
#include "tests/support/RealServer.h"

#include <cstring>
#include <fstream>

#ifdef RECORDER_TEST_TOOL

namespace cabinaudio::test {
namespace {

using trace::Direction;
using trace::Kind;
using trace::Record;
using trace::RingEvent;
using trace::RingSummary;
using trace::SoundHeader;

using Sound = std::vector<std::uint8_t>;

class RecordedTool : public ::testing::Test {
protected:
    void serve(Words more = {}) {
        more.insert(more.begin(), {"--output", "null", "--trace-to", mServers});
        mServer = std::make_unique<RealServer>(more);
    }

    /// Runs the tool `cabinaudio` to its end, and the server too.
    Outcome record(const Words& options, const Words& words) {
        Start start;
        start.words = {BOARD_TEST_LAUNCHER, "--trace", mPrograms};
        start.words.insert(start.words.end(), options.begin(), options.end());
        start.words.insert(start.words.end(), {"--", RECORDER_TEST_TOOL});
        start.words.insert(start.words.end(), words.begin(), words.end());
        start.input = "/dev/null";
        Outcome outcome = Process(start).finishExpecting(0);
        EXPECT_EQ(outcome.err, "");
        mServer.reset();
        return outcome;
    }

    [[nodiscard]] std::string file(const std::string& name) const { return mDirectory.file(name); }
    [[nodiscard]] Capture programs() const { return readCapture(mPrograms); }
    [[nodiscard]] Capture servers() const { return readCapture(mServers); }

    TemporaryDirectory mDirectory;
    const std::string mPrograms = file("program.pcapng");
    const std::string mServers = file("server.pcapng");
    std::unique_ptr<RealServer> mServer;
};

/// What must not differ between the two sides: neither times nor numbers of connections do.
struct Message {
    Kind kind;
    std::int32_t pid;
    std::uint32_t type;
    std::uint32_t function;
    std::vector<std::uint8_t> bytes;

    bool operator==(const Message&) const = default;

    friend void PrintTo(const Message& message, std::ostream* out) {
        *out << "kind " << static_cast<int>(message.kind) << ", type " << message.type
             << ", function " << message.function << ", " << message.bytes.size() << " bytes";
    }
};

/// The messages in one direction; a request of a client and a notification may cross.
std::vector<Message> messages(const std::vector<Record>& records, Kind kind) {
    std::vector<Message> found;
    for (const Record& record : ofKind(records, kind))
        found.push_back({record.kind, record.pid, record.type, record.function, record.bytes});
    return found;
}

/// Connections with messages: those that only look for a server have none.
std::vector<std::vector<Record>> conversations(const Capture& capture) {
    std::vector<std::vector<Record>> found;
    for (std::uint32_t number = 1; number <= capture.connections(); ++number) {
        std::vector<Record> records = capture.connection(number);
        if (!ofKind(records, Kind::ToServer).empty()) found.push_back(std::move(records));
    }
    return found;
}

void expectSameMessages(const Capture& program, const Capture& server) {
    const auto programs = conversations(program);
    const auto servers = conversations(server);
    ASSERT_EQ(programs.size(), servers.size());
    ASSERT_FALSE(programs.empty());
    for (std::size_t i = 0; i < programs.size(); ++i) {
        for (const Kind kind :
             {Kind::Connected, Kind::ToServer, Kind::ToClient, Kind::Disconnected})
            EXPECT_EQ(messages(programs[i], kind), messages(servers[i], kind))
                << "connection " << i;
    }
}

template <typename Part>
Part partOf(const Record& record) {
    Part part = {};
    if (record.bytes.size() >= sizeof part) std::memcpy(&part, record.bytes.data(), sizeof part);
    return part;
}

/// The sound of a capture with one stream; expects that there is no gap.
Sound soundOf(const Capture& capture, Direction direction) {
    Sound sound;
    for (const Record& record : ofKind(capture.records, Kind::Sound)) {
        const auto header = partOf<SoundHeader>(record);
        EXPECT_EQ(header.position, sound.size());
        EXPECT_EQ(header.direction, static_cast<std::uint32_t>(direction));
        sound.insert(sound.end(), record.bytes.begin() + sizeof header, record.bytes.end());
    }
    return sound;
}

/// Bytes that all summaries of the event name together.
std::uint64_t moved(const Capture& capture, RingEvent event) {
    std::uint64_t bytes = 0;
    for (const Record& record : ofKind(capture.records, Kind::Ring)) {
        const auto summary = partOf<RingSummary>(record);
        if (summary.event == static_cast<std::uint32_t>(event)) bytes += summary.bytes;
    }
    return bytes;
}

Sound contentOf(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

TEST_F(RecordedTool, HasTheMessagesThatTheServerHas) {
    serve();
    record({}, {"set", "volume.master=-6dB", "volume.second=-12dB"});
    expectSameMessages(programs(), servers());
}

TEST_F(RecordedTool, HasNoRingsWhereNoStreamIs) {
    serve();
    record({"--trace-sound"}, {"list"});
    const Capture capture = programs();
    EXPECT_TRUE(ofKind(capture.records, Kind::Ring).empty());
    EXPECT_TRUE(ofKind(capture.records, Kind::Sound).empty());
    expectSameMessages(capture, servers());
}

/// A stream, and as much sound as is surely seen. An alternative stream's ring has no calls that
/// show each transfer: as fast as the tool plays, it could go around between two samples.
struct Played {
    const char* tag;
    std::size_t bytes;
};

class RecordedStream : public RecordedTool, public ::testing::WithParamInterface<Played> {};

INSTANTIATE_TEST_SUITE_P(OnTag, RecordedStream,
                         ::testing::Values(Played{"alternative", 12000},
                                           Played{"auxiliary", 150000}, Played{"main", 150000}),
                         [](const auto& played) { return std::string(played.param.tag); });

TEST_P(RecordedStream, HasEachByteThatWasPlayed) {
    const auto [tag, bytes] = GetParam();
    const std::string samples = file("samples.raw");
    {
        std::ofstream stream(samples, std::ios::binary);
        for (unsigned i = 0; i < bytes; ++i)
            stream.put(static_cast<char>(i * i / 7 + i));
    }
    serve({"--fast"});
    record({"--trace-sound"}, {"play", "--raw", "--tag", tag, samples});
    const Capture capture = programs();
    EXPECT_TRUE(soundOf(capture, Direction::ToServer) == contentOf(samples));
    EXPECT_EQ(moved(capture, RingEvent::Write), bytes);
    EXPECT_EQ(moved(capture, RingEvent::Read), bytes);
    expectSameMessages(capture, servers());
}

TEST_F(RecordedTool, HasEachByteThatWasRecorded) {
    const std::string samples = file("samples.wav");
    serve({"--fast", "--input", "tone:440"});
    record({"--trace-sound"}, {"record", "--tag", "input0", "--seconds", "0.5", samples});
    const Sound sound = soundOf(programs(), Direction::ToClient);
    const Sound recorded = contentOf(samples);
    constexpr std::size_t HEADER = 44;
    ASSERT_EQ(recorded.size(), HEADER + 96000);
    ASSERT_GE(sound.size(), 96000U);
    EXPECT_TRUE(std::equal(recorded.begin() + HEADER, recorded.end(), sound.begin()));
    EXPECT_GE(moved(programs(), RingEvent::Write), 96000U);
}

TEST_F(RecordedTool, HasNoSoundUnlessAsked) {
    const std::string samples = file("samples.raw");
    std::ofstream(samples, std::ios::binary) << std::string(30000, 'x');
    serve({"--fast"});
    record({}, {"play", "--raw", "--tag", "auxiliary", samples});
    EXPECT_TRUE(ofKind(programs().records, Kind::Sound).empty());
    EXPECT_EQ(moved(programs(), RingEvent::Write), 30000U);
}

}  // namespace
}  // namespace cabinaudio::test

#endif  // RECORDER_TEST_TOOL
