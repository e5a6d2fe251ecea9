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

#include <algorithm>
#include <cstdlib>
#include <cstring>
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

Take takeOf(const std::vector<Voice>& voices, std::vector<std::string> arguments,
            const char* settings = DUCKING) {
    const TemporaryDirectory directory;
    std::ofstream(directory.file("settings.json")) << settings;
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

/// Whether the machine stood still for so long that the library gave up a wait for space, which it
/// does after 600 ms. Such a take says nothing about others.
bool isDisturbed(const Take& take) {
    const std::string givenUp = "write: " + std::to_string(AUDIO_TIMED_OUT);
    return std::find(take.results.begin(), take.results.end(), givenUp) != take.results.end();
}

/// One of three takes at most: all three are disturbed only by a server that wakes nobody.
Take undisturbedTakeOf(const std::vector<Voice>& voices) {
    Take take = takeOf(voices, timeOf(voices));
    for (int more = 2; isDisturbed(take) && more > 0; --more)
        take = takeOf(voices, timeOf(voices));
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
    const Take first = undisturbedTakeOf(voices);
    ASSERT_EQ(first.status, 0) << first.report;
    const json report = json::parse(first.report);
    EXPECT_EQ(report.at("time").at("errors"), json::array());
    EXPECT_GT(report.at("output").at("frames"), 24000);
    EXPECT_THAT(report.at("changes").dump(), ::testing::HasSubstr("\"ducking\""));
    for (const json& stream : report.at("streams"))
        EXPECT_EQ(stream.at("underruns"), 0) << stream;
    for (int run = 1; run < runs() && !HasFailure(); ++run)
        expectEqual(first, undisturbedTakeOf(voices), run);
}

// ---- Beside real time ---------------------------------------------------------------------------

constexpr char NO_DUCKING[] = R"({"volume": {"ducking_mode": 0}})";

std::vector<float> samplesOf(const Take& take) {
    const std::size_t header = take.sound.find("data") + 8;
    std::vector<float> samples((take.sound.size() - header) / sizeof(float));
    std::memcpy(samples.data(), take.sound.data() + header, samples.size() * sizeof(float));
    return samples;
}

json segmentsOf(const Take& take, const std::string& name) {
    const json report = json::parse(take.report);
    for (const json& stream : report.at("streams"))
        if (stream.at("name") == name) return stream.at("segments");
    return {};
}

/// Adds a sound that begins at a frame of the sum.
void addAt(std::vector<float>& sum, std::size_t frame, const std::vector<float>& sound) {
    constexpr std::size_t CHANNELS = 2;
    sum.resize(std::max(sum.size(), frame * CHANNELS + sound.size()));
    for (std::size_t i = 0; i < sound.size(); ++i)
        sum[frame * CHANNELS + i] += sound[i];
}

/// What the voices give together when each sounds as alone, from the frame on at which the clock
/// let it begin. Empty when one has been interrupted.
std::vector<float> placed(const std::vector<Voice>& voices, const std::vector<Take>& alone,
                          const Take& real) {
    std::vector<float> sum;
    for (std::size_t i = 0; i < voices.size(); ++i) {
        const json expected = segmentsOf(alone[i], voices[i].name);
        const json segments = segmentsOf(real, voices[i].name);
        if (segments.size() != 1 || segments[0].at("frames") != expected.at(0).at("frames"))
            return {};
        addAt(sum, segments[0].at("output_frame"), samplesOf(alone[i]));
    }
    return sum;
}

class LockstepSound : public ::testing::TestWithParam<std::size_t> {};

/// Voices by the clock begin when they come. Apart from that they sound as they do in lockstep.
TEST_P(LockstepSound, IsThatOfRealTime) {
    std::vector<Voice> voices = {{"music", AUDIO_TAG_AUXILIARY, 44100, 2, 1, 22050, 1000},
                                 {"nav", AUDIO_TAG_AUXILIARY, 22050, 1, 2, 9999, 512},
                                 {"bell", AUDIO_TAG_ALTERNATIVE, 48000, 2, 3, 15000, 768},
                                 {"news", AUDIO_TAG_AUXILIARY, 48000, 2, 4, 20001, 4096},
                                 {"call", AUDIO_TAG_OUTPUT_INVOCATION, 16000, 1, 5, 8000, 160}};
    voices.resize(GetParam());
    std::vector<Take> alone;
    for (const Voice& voice : voices) {
        alone.push_back(takeOf({voice}, {"--time", "lockstep", "--hold", "1"}, NO_DUCKING));
        ASSERT_EQ(alone.back().status, 0) << alone.back().report;
    }
    // On a loaded machine the clock may come before a client. Then there is nothing to compare.
    for (int run = 0; run < 20; ++run) {
        const Take real = takeOf(voices, {"--time", "real", "--ring-periods", "64"}, NO_DUCKING);
        const std::vector<float> expected = placed(voices, alone, real);
        if (expected.empty()) continue;
        // By the clock, silence follows until the client has left.
        const std::vector<float> heard = samplesOf(real);
        ASSERT_GE(heard.size(), expected.size());
        for (std::size_t i = 0; i < expected.size(); ++i)
            ASSERT_NEAR(heard[i], expected[i], 1e-6) << "sample " << i;
        return;
    }
    GTEST_SKIP() << "the clock came before a client in every run";
}

INSTANTIATE_TEST_SUITE_P(Voices, LockstepSound, ::testing::Values(1, 2, 5));

INSTANTIATE_TEST_SUITE_P(Ensembles, LockstepRuns, ::testing::Values(2, 5, 50));

}  // namespace
}  // namespace cabinaudio::test
