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
