// SPDX-License-Identifier: Apache-2.0
//
// Time that waits for everybody: the same bytes in every run.
#include <cabinaudio/link/LinkPolicy.h>

#include "tests/server/Ensemble.h"
#include "tests/server/Playing.h"
#include "tests/server/State.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace cabinaudio::test {
namespace {

using nlohmann::json;

/// Runs of each test: few by default; CABINAUDIO_TEST_RUNS asks for more.
int runs() {
    const char* const asked = std::getenv("CABINAUDIO_TEST_RUNS");
    return asked != nullptr ? std::max(2, std::atoi(asked)) : 3;
}

struct Take {
    std::string sound;                 // bytes of the WAV file
    std::string report;                // without paths
    std::vector<std::string> results;  // of the voices
    int status = -1;                   // exit status of the server

    bool operator==(const Take&) const = default;
};

/// Paths contain the directory of the run.
std::string withoutPaths(std::string text, const std::string& directory) {
    for (auto at = text.find(directory); at != std::string::npos; at = text.find(directory))
        text.replace(at, directory.size(), "DIR");
    return text;
}

constexpr char DUCKING[] = R"({"volume": {"ducking_mode": 1, "ramp_up_ms": 30.0}})";

Take takeOf(const std::vector<Voice>& voices, std::vector<std::string> arguments) {
    const TemporaryDirectory directory;
    std::ofstream(directory.file("settings.json")) << DUCKING;
    arguments.insert(arguments.end(),
                     {"--output", "wav:" + directory.file("heard.wav"), "--report",
                      directory.file("report.json"), "--state", directory.file("settings.json"),
                      "--format", "float", "--stems", directory.file("stems")});
    Take take;
    RealServer server(std::move(arguments));
    take.results = perform(voices);
    const int status = server.stop();
    take.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    take.sound = contentsOf(directory.file("heard.wav"));
    take.report = withoutPaths(contentsOf(directory.file("report.json")), directory.path());
    return take;
}

void expectEqual(const Take& first, const Take& other, int run) {
    EXPECT_EQ(first.results, other.results) << "in run " << run;
    EXPECT_EQ(first.report, other.report) << "in run " << run;
    EXPECT_TRUE(first.sound == other.sound) << "another sound in run " << run;
}

class LockstepRuns : public ::testing::TestWithParam<unsigned> {
protected:
    LockstepRuns() { setLinkPolicy({.replyTimeout = std::chrono::seconds(60)}); }
    ~LockstepRuns() override { setLinkPolicy({}); }
};

TEST_P(LockstepRuns, StreamsOfAllKindsAreHeardAlike) {
    const auto voices = ensemble(GetParam());
    const Take first = takeOf(voices, timeOf(voices));
    ASSERT_EQ(first.status, 0) << first.report;
    const json report = json::parse(first.report);
    EXPECT_EQ(report.at("time").at("errors"), json::array());
    EXPECT_GT(report.at("output").at("frames"), 24000);
    EXPECT_THAT(report.at("changes").dump(), ::testing::HasSubstr("\"ducking\""));
    for (const json& stream : report.at("streams"))
        EXPECT_EQ(stream.at("underruns"), 0) << stream;
    for (int run = 1; run < runs() && !HasFailure(); ++run)
        expectEqual(first, takeOf(voices, timeOf(voices)), run);
}

/// The same voices by the clock, all started before time begins.
TEST(LockstepSound, IsThatOfRealTime) {
    const auto voices =
        std::vector<Voice>{{"music", AUDIO_TAG_AUXILIARY, 44100, 2, 1, 22050, 1000}};
    const Take lockstep = takeOf(voices, {"--time", "lockstep", "--hold", "1"});
    EXPECT_EQ(lockstep.status, 0);
    // On a loaded machine the clock may come before the client. Then there is nothing to compare.
    for (int run = 0; run < 20; ++run) {
        const Take real = takeOf(voices, {"--time", "real", "--ring-periods", "64"});
        const json stream = json::parse(real.report).at("streams").at(0);
        const json segments = json::parse(lockstep.report).at("streams").at(0).at("segments");
        if (stream.at("segments") != segments) continue;
        // By the clock, silence follows until the client has left.
        const std::size_t header = lockstep.sound.find("data") + 8;
        EXPECT_EQ(real.sound.compare(real.sound.find("data") + 8, lockstep.sound.size() - header,
                                     lockstep.sound, header),
                  0);
        return;
    }
    GTEST_SKIP() << "the clock came before the client in every run";
}

INSTANTIATE_TEST_SUITE_P(Ensembles, LockstepRuns, ::testing::Values(2, 5, 50));

}  // namespace
}  // namespace cabinaudio::test
