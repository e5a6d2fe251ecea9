// SPDX-License-Identifier: Apache-2.0
//
// Messages of the library and the development server, recorded by the server: every operation of
// the settings, a stream of each kind with its sound, and the demo.
#include "devkit/trace/CaptureReader.h"
#include "devkit/trace/WireFields.h"
#include "tests/settings/Row.h"
#include "tests/support/Files.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Process.h"
#include "tests/support/RealServer.h"
#include "tests/wireshark/Dissected.h"
#include "tests/wireshark/Streams.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace cabinaudio::test {
namespace {

using trace::Kind;

constexpr std::uint32_t VERSION = 132;

/// Calls each operation of the settings. The server refuses some of the arguments.
void callAllSettings() {
    for (const std::uint32_t type : {VOLUME, SOURCE, APP, MIXER, RECORD_CONTROL}) {
        const Clients clients(type);
        for (const OperationRow& row :
             rowsWhere([&](const OperationRow& any) { return any.type == type; })) {
            Outputs outputs;
            (void)row.call(clients, outputs);
        }
    }
}

std::vector<trace::Record> recordsOf(const std::string& capture) {
    trace::CaptureReader reader(capture);
    std::vector<trace::Record> records;
    while (auto record = reader.next())
        records.push_back(std::move(*record));
    return records;
}

/// Notes about the conversation itself: the server refuses arguments, a loaded machine is slow.
bool mayBe(const std::string& note) {
    return note == "status" || note == "slow" || note == "unused";
}

using Operations = std::set<std::pair<std::uint32_t, std::uint32_t>>;

/// A capture that is whole: no byte is undecoded, and only such notes.
class Recorded {
public:
    explicit Recorded(const std::string& capture) : mRecords(recordsOf(capture)) {
        const auto packets = dissect(capture);
        EXPECT_EQ(packets.size(), mRecords.size());
        for (std::size_t i = 0; i < packets.size() && i < mRecords.size(); ++i)
            check(packets[i], mRecords[i], i + 1);
    }

    /// Connection types and functions of the replies that have their request.
    [[nodiscard]] const Operations& replies() const { return mReplies; }
    [[nodiscard]] const std::set<std::string>& notifications() const { return mNotifications; }
    [[nodiscard]] bool has(trace::Kind kind) const {
        return std::any_of(mRecords.begin(), mRecords.end(),
                           [&](const trace::Record& record) { return record.kind == kind; });
    }

private:
    void check(const ShownPacket& packet, const trace::Record& record, std::size_t number) {
        const std::size_t size = RECORD_HEADER + record.bytes.size();
        EXPECT_EQ(packet.firstUncovered(size), size) << "packet " << number;
        EXPECT_EQ(packet.find("cabinaudio.undecoded"), nullptr) << "packet " << number;
        for (const std::string& note : packet.notes())
            EXPECT_TRUE(mayBe(note)) << note << ", packet " << number;
        if (packet.find("cabinaudio.request_in") != nullptr)
            mReplies.insert({record.type, record.function});
        for (const std::string& text : packet.texts("cabinaudio.notification"))
            mNotifications.insert(text);
    }

    std::vector<trace::Record> mRecords;
    Operations mReplies;
    std::set<std::string> mNotifications;
};

TEST(WiresharkDissector, DecodesLibraryAndServer) {
    const TemporaryDirectory directory;
    const std::string capture = directory.file("conversation.pcapng");
    const LogCapture log;
    RealServer server(
        {"--output", "null", "--input", "tone:440", "--trace-to", capture, "--trace-sound"});
    callAllSettings();
    playAndRecord(log);
    EXPECT_EQ(server.stop(), 0) << server.output();

    const Recorded recorded(capture);
    for (const Kind kind : {Kind::Connected, Kind::ToServer, Kind::ToClient, Kind::Disconnected,
                            Kind::Ring, Kind::Sound})
        EXPECT_TRUE(recorded.has(kind)) << static_cast<int>(kind);
    for (const trace::WireOperation& operation : trace::wireOperations()) {
        if (operation.connection < APP || operation.connection == VERSION) continue;
        EXPECT_TRUE(recorded.replies().contains({operation.connection, operation.function}))
            << operation.name;
    }
}

/// One of the demo's programs: plays or records.
std::unique_ptr<Process> demoProgram(Words words) {
    words.insert(words.begin(), CABINAUDIO_TEST_TOOL);
    return std::make_unique<Process>(Start{.words = words, .input = "/dev/null"});
}

TEST(WiresharkDissector, DecodesTheDemo) {
    const std::string speech = "/usr/share/sounds/alsa/";
    const TemporaryDirectory directory;
    const std::string capture = directory.file("demo.pcapng");
    // As demo/run.sh, but in a time that does not wait for the clock.
    RealServer server({"--output", "null", "--time", "lockstep", "--hold", "4", "--input",
                       "input0=" + speech + "Front_Left.wav", "--input",
                       "uplink=" + speech + "Side_Right.wav", "--uplink-delay", "700",
                       "--ring-periods", "64", "--trace-to", capture});
    std::vector<std::unique_ptr<Process>> programs;
    programs.push_back(
        demoProgram({"play", "--tag", "alternative", "--name=first", speech + "Front_Center.wav"}));
    programs.push_back(
        demoProgram({"play", "--tag", "auxiliary", "--name=second", speech + "Rear_Left.wav"}));
    programs.push_back(demoProgram({"record", "--tag", "input0", "--seconds", "2.5", "--channels",
                                    "1", directory.file("recorded.wav")}));
    programs.push_back(demoProgram({"record", "--tag", "uplink", "--seconds", "3.5", "--codec",
                                    "opus", directory.file("call.opus")}));
    for (const auto& program : programs)
        program->finishExpecting(0);
    EXPECT_EQ(server.stop(), 0) << server.output();

    const Recorded recorded(capture);
    const Operations creates = {{1, 21}, {2, 21}, {64, 2}, {65, 2}};
    for (const auto& create : creates)
        EXPECT_TRUE(recorded.replies().contains(create)) << create.first;
    EXPECT_THAT(recorded.notifications(),
                ::testing::IsSupersetOf({"Notification: RingReady", "Notification: Finished",
                                         "Notification: RingState"}));
}

}  // namespace
}  // namespace cabinaudio::test
