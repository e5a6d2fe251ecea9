// SPDX-License-Identifier: Apache-2.0
// What is read: sounds, reports and stems.
#include "devkit/hear/Error.h"
#include "tests/hear/Synth.h"
#include "tests/support/Files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sndfile.h>

#include <filesystem>
#include <fstream>

namespace cabinaudio::test {

namespace {

using hear::readRecording;
using nlohmann::json;
using testing::HasSubstr;

class RecordingFiles : public testing::Test {
protected:
    RecordingFiles() {
        writeWav(path("heard.wav"), soundOf(noise(1000, 0.5F), 2), SF_FORMAT_PCM_16);
        std::filesystem::create_directory(path("stems"));
        writeWav(path("stems/auxiliary-prompt.wav"), soundOf(noise(500, 0.5F)), SF_FORMAT_PCM_16);
    }
    [[nodiscard]] std::string path(const std::string& name) const { return mDirectory.file(name); }

    void report(const json& content) const { std::ofstream(path("report.json")) << content.dump(); }
    [[nodiscard]] json goodReport() const {
        return {{"output", {{"frames", 1000}, {"late_periods", 2}}},
                {"changes", {{{"frame", 48}, {"ms", 1.0}, {"what", "ducking"}}}},
                {"streams",
                 {{{"name", "prompt"},
                   {"tag", "auxiliary"},
                   {"stem", path("stems/auxiliary-prompt.wav")},
                   {"underruns", 1},
                   {"finishes", 1},
                   {"started_at_frame", 96},
                   {"segments", {{{"output_frame", 96}, {"stream_frame", 0}, {"frames", 500}}}}}}}};
    }
    [[nodiscard]] std::string errorOfReading() const {
        try {
            (void)readRecording(path("heard.wav"), path("report.json"));
        } catch (const hear::Error& error) {
            return error.what();
        }
        return "";
    }

    TemporaryDirectory mDirectory;
};

TEST_F(RecordingFiles, AreReadWithReportAndStems) {
    report(goodReport());
    const Recording recording = readRecording(path("heard.wav"), path("report.json"));
    EXPECT_EQ(recording.heard.frames(), 1000U);
    EXPECT_EQ(recording.heard.channels, 2U);
    EXPECT_EQ(recording.heard.rate, RATE);
    EXPECT_EQ(recording.heard.bits, 16U);
    EXPECT_EQ(recording.stems.at("prompt").frames(), 500U);
    EXPECT_TRUE(recording.report.isPresent);
    EXPECT_EQ(recording.report.latePeriods, 2U);
    EXPECT_EQ(recording.report.streams.at(0).startedAtFrame, 96U);
    EXPECT_EQ(recording.report.streams.at(0).segments.at(0).outputFrame, 96U);
    EXPECT_EQ(recording.report.changes.at(0).what, "ducking");
    EXPECT_TRUE(isMet(recording, "starts prompt@2"));
}

TEST_F(RecordingFiles, StemsMayHaveMoved) {
    json moved = goodReport();
    moved["streams"][0]["stem"] = "/elsewhere/auxiliary-prompt.wav";
    report(moved);
    EXPECT_TRUE(readRecording(path("heard.wav"), path("report.json")).stems.empty());
    EXPECT_EQ(readRecording(path("heard.wav"), path("report.json"), path("stems")).stems.size(),
              1U);
}

TEST_F(RecordingFiles, StemsAreFoundWithoutAReport) {
    const Recording recording = readRecording(path("heard.wav"), "", path("stems"));
    EXPECT_EQ(recording.stems.count("prompt"), 1U);
    EXPECT_FALSE(recording.report.isPresent);
    EXPECT_THROW((void)readRecording(path("heard.wav"), "", path("nowhere")), hear::Error);
}

TEST_F(RecordingFiles, FaultsAreNamed) {
    EXPECT_THAT(errorOfReading(), HasSubstr("report.json: No such file"));
    std::ofstream(path("report.json")) << "{";
    EXPECT_THAT(errorOfReading(), HasSubstr("report.json: not a report of the server"));
    report({{"streams", json::array()}});
    EXPECT_THAT(errorOfReading(), HasSubstr("report.json: not a report of the server"));
    json odd = goodReport();
    odd["streams"][0]["segments"] = 1;
    report(odd);
    EXPECT_THAT(errorOfReading(), HasSubstr("not a report of the server"));
    std::ofstream(path("heard.wav")) << "no sound";
    EXPECT_THAT(errorOfReading(), HasSubstr("heard.wav: "));
}

TEST_F(RecordingFiles, PlacesOutsideTheOutputAreRefused) {
    const auto errorWith = [this](const char* key, const json& value) {
        json wrong = goodReport();
        wrong["streams"][0]["segments"][0][key] = value;
        report(wrong);
        return errorOfReading();
    };
    EXPECT_EQ(errorWith("output_frame", 500), "");
    EXPECT_EQ(errorWith("output_frame", 501),
              path("report.json") +
                  ": not a report of the server: stream \"prompt\", segment 0: "
                  "\"output_frame\" is 501, not a number from 0 to 500");
    EXPECT_THAT(errorWith("output_frame", UINT64_MAX - 99), HasSubstr("\"output_frame\" is 18446"));
    EXPECT_THAT(errorWith("stream_frame", UINT64_MAX - 99), HasSubstr("\"stream_frame\" is 18446"));
    EXPECT_THAT(errorWith("frames", 1001), HasSubstr("\"frames\" is 1001"));
    EXPECT_THAT(errorWith("frames", -1), HasSubstr("\"frames\" is -1"));
    EXPECT_THAT(errorWith("frames", 0.5), HasSubstr("\"frames\" is 0.5"));
    json wrong = goodReport();
    wrong["output"]["frames"] = UINT64_MAX;
    report(wrong);
    EXPECT_THAT(errorOfReading(), HasSubstr("not a report of the server: \"frames\" is 18446"));
}

TEST_F(RecordingFiles, StreamsOfOneNameHaveStemsOfTheirOwn) {
    json twice = goodReport();
    json second = twice["streams"][0];
    second["stem"] = path("stems/auxiliary-prompt-2.wav");
    second["segments"] = {{{"output_frame", 596}, {"stream_frame", 0}, {"frames", 400}}};
    twice["streams"].push_back(second);
    report(twice);
    writeWav(path("stems/auxiliary-prompt-2.wav"), soundOf(noise(400, 0.5F, 2)), SF_FORMAT_PCM_16);
    const Recording recording = readRecording(path("heard.wav"), path("report.json"));
    EXPECT_EQ(recording.stems.at("prompt").frames(), 500U);
    ASSERT_EQ(recording.laterStems.size(), 1U);
    EXPECT_EQ(recording.laterStems.begin()->second.frames(), 400U);
    EXPECT_THAT(verdictOf(recording, "mix").measured, HasSubstr("the sum of 2 streams"));
    std::filesystem::remove(path("stems/auxiliary-prompt.wav"));
    EXPECT_TRUE(readRecording(path("heard.wav"), path("report.json")).stems.empty())
        << "the second one's is not the first one's";
}

TEST_F(RecordingFiles, ChangesTellWhatDucks) {
    json report = goodReport();
    report["changes"] = {{{"frame", 48}, {"what", "ducking"}, {"db", -20}, {"by", "prompt"}},
                         {{"frame", 96}, {"what", "ducking"}, {"db", nullptr}, {"by", nullptr}}};
    this->report(report);
    const auto changes = readRecording(path("heard.wav"), path("report.json")).report.changes;
    ASSERT_EQ(changes.size(), 2U);
    EXPECT_EQ(changes[0].db, -20.0);
    EXPECT_EQ(changes[0].by, "prompt");
    EXPECT_EQ(changes[1].db, std::nullopt);
    EXPECT_EQ(changes[1].by, "");
}

TEST_F(RecordingFiles, ShortenedFileIsAnError) {
    std::filesystem::resize_file(path("heard.wav"), 44 + 1000);
    EXPECT_EQ(readRecording(path("heard.wav")).heard.frames(), 250U);
    std::filesystem::resize_file(path("heard.wav"), 20);
    EXPECT_THROW((void)readRecording(path("heard.wav")), hear::Error);
}

TEST_F(RecordingFiles, AllSampleFormatsAreRead) {
    for (const int format : {SF_FORMAT_PCM_U8, SF_FORMAT_PCM_16, SF_FORMAT_PCM_24, SF_FORMAT_PCM_32,
                             SF_FORMAT_FLOAT, SF_FORMAT_DOUBLE}) {
        for (unsigned channels = 1; channels <= 8; ++channels) {
            writeWav(path("all.wav"), soundOf(tone(1000, -12, 4800), channels), format);
            const Recording recording = readRecording(path("all.wav"));
            EXPECT_EQ(recording.heard.channels, channels);
            EXPECT_TRUE(isMet(recording, "tone 1000 level=-12")) << format;
        }
    }
}

}  // namespace

}  // namespace cabinaudio::test
