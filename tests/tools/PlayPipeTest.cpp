// SPDX-License-Identifier: Apache-2.0
// Files that are cut short, and sound from pipes, which cannot seek.
#include "tests/server/State.h"
#include "tests/support/Row.h"
#include "tests/tools/ToolTest.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstring>
#include <fstream>
#include <functional>
#include <thread>

namespace cabinaudio::test {

namespace {

using namespace std::chrono_literals;

constexpr std::size_t WAV_HEADER = 44;
constexpr std::size_t DATA_SIZE = 40;  // where its length stands

/// A server without a clock that keeps what each stream has delivered.
class PipedSound : public ToolTest {
protected:
    void SetUp() override {
        std::signal(SIGPIPE, SIG_IGN);  // a tool that fails closes the pipe
        ASSERT_EQ(mkfifo(mPipe.c_str(), 0600), 0);
    }
    void TearDown() override { endWriter(); }

    void serve() { ToolTest::serve({"--fast", "--stems", mDirectory.path()}); }

    [[nodiscard]] Sound stem(const std::string& name) {
        mServer.reset();
        return readSound(mDirectory.file("alternative-" + name + ".wav"));
    }

    /// Writes `bytes` into the pipe, the second part once `isDue`.
    void writePipe(
        const std::string& bytes, std::size_t first = SIZE_MAX,
        const std::function<bool()>& isDue = [] { return true; }) {
        mWriter = std::thread([=, this] {
            const int pipe = open(mPipe.c_str(), O_WRONLY | O_CLOEXEC);
            const std::size_t split = std::min(first, bytes.size());
            mIsDue = writeAll(pipe, bytes.substr(0, split)) && isDue();
            writeAll(pipe, bytes.substr(split));
            close(pipe);
        });
    }
    [[nodiscard]] Outcome playPipe(const Words& more = {}) {
        const Outcome outcome = runTool(with({"play", mPipe, "--name", "piped"}, more));
        endWriter();
        return outcome;
    }
    /// Also one whose pipe nobody has opened.
    void endWriter() {
        const int pipe = open(mPipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        close(pipe);
        if (mWriter.joinable()) mWriter.join();
    }

    std::string mFile = mDirectory.file("sound");
    std::string mPipe = mDirectory.file("pipe");
    bool mIsDue = false;

private:
    static bool writeAll(int descriptor, const std::string& bytes) {
        std::size_t done = 0;
        while (done < bytes.size()) {
            const ssize_t written = write(descriptor, &bytes[done], bytes.size() - done);
            if (written <= 0) return false;
            done += static_cast<std::size_t>(written);
        }
        return true;
    }

    std::thread mWriter;
};

bool isLossy(int format) {
    const int kind = format & SF_FORMAT_SUBMASK;
    return kind == SF_FORMAT_VORBIS || kind == SF_FORMAT_OPUS;
}

/// A WAV file of 16 bits whose header announces another length.
std::string withLength(std::string wav, std::uint32_t bytes) {
    std::memcpy(&wav[DATA_SIZE], &bytes, sizeof bytes);
    return wav;
}

struct PipedKind : Row {
    int format;
    std::optional<std::uint32_t> length = std::nullopt;  // in the header of a WAV file
};

class PipedSoundOfAnyKind : public PipedSound, public testing::WithParamInterface<PipedKind> {
protected:
    [[nodiscard]] std::string contents(std::size_t frames) {
        writeSound(mFile, {GetParam().format, 48000, 2, frames});
        const std::string bytes = contentsOf(mFile);
        return GetParam().length ? withLength(bytes, *GetParam().length) : bytes;
    }
    [[nodiscard]] std::vector<std::int32_t> samples() const {
        return isLossy(GetParam().format) ? decodedTo16Bits(mFile) : readSound(mFile).samples;
    }
};

constexpr int WAV16 = SF_FORMAT_WAV | SF_FORMAT_PCM_16;

}  // namespace

TEST_P(PipedSoundOfAnyKind, LosesNothing) {
    writePipe(contents(40013));
    serve();
    const Outcome result = playPipe();
    EXPECT_EQ(result.exitCode, 0) << result.text();
    EXPECT_THAT(result.err, IsEmpty());
    EXPECT_TRUE(stem("piped").samples == samples());
}

TEST_P(PipedSoundOfAnyKind, IsPlayedBeforeItsEnd) {
    const std::string bytes = contents(160000);
    serve();
    writePipe(bytes, bytes.size() / 2, [&] {
        const auto end = std::chrono::steady_clock::now() + 60s;
        while (std::chrono::steady_clock::now() < end) {
            const json streams = stateOf(*mServer).at("streams");
            if (!streams.empty() && streams[0].at("frames") > 1000) return true;
            std::this_thread::sleep_for(2ms);
        }
        return false;
    });
    const Outcome result = playPipe();
    EXPECT_EQ(result.exitCode, 0) << result.text();
    EXPECT_TRUE(mIsDue);
}

INSTANTIATE_TEST_SUITE_P(Kind, PipedSoundOfAnyKind,
                         testing::Values(PipedKind{"Wav16", WAV16},
                                         PipedKind{"Wav24", SF_FORMAT_WAV | SF_FORMAT_PCM_24},
                                         PipedKind{"WavFloat", SF_FORMAT_WAV | SF_FORMAT_FLOAT},
                                         PipedKind{"WavWithoutLength", WAV16, 0},
                                         PipedKind{"WavOfUnknownLength", WAV16, 0xffffffff},
                                         PipedKind{"WavOfTheGreatestLength", WAV16, 0x7ffff000},
                                         PipedKind{"Rf64", SF_FORMAT_RF64 | SF_FORMAT_PCM_16},
                                         PipedKind{"Au", SF_FORMAT_AU | SF_FORMAT_PCM_16},
                                         PipedKind{"Flac16", SF_FORMAT_FLAC | SF_FORMAT_PCM_16},
                                         PipedKind{"Flac24", SF_FORMAT_FLAC | SF_FORMAT_PCM_24},
                                         PipedKind{"Vorbis", SF_FORMAT_OGG | SF_FORMAT_VORBIS},
                                         PipedKind{"Opus", SF_FORMAT_OGG | SF_FORMAT_OPUS}),
                         ROW_NAME);

TEST_F(PipedSound, OfAFileWithoutLengthIsPlayedWhole) {
    writeSound(mFile, {.frames = 9973});
    const std::string bytes = contentsOf(mFile);
    std::ofstream(mPipe + ".wav") << withLength(bytes, 0xffffffff);
    serve();
    runExpecting(0, {"play", mPipe + ".wav", "--name", "piped"});
    EXPECT_TRUE(stem("piped").samples == readSound(mFile).samples);
}

TEST_F(PipedSound, ComesFromStandardInput) {
    writeSound(mFile, {SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 48000, 2, 9973});
    writePipe(contentsOf(mFile));
    serve();
    runExpecting(0, {"play", "-", "--name", "piped"}, {.input = mPipe});
    EXPECT_TRUE(stem("piped").samples == readSound(mFile).samples);
}

/// The ring is empty whenever the server has taken it, which is always.
TEST_F(PipedSound, HasNoUnderrunsWithoutAClock) {
    writeSound(mFile, {.frames = 48000});
    writePipe(contentsOf(mFile));
    serve();
    const json report = jsonOf(playPipe({"--json"}));
    EXPECT_EQ(report["ended"], "played");
    EXPECT_EQ(report["ring_ran_empty"], 0);
}

// ---- Raw samples --------------------------------------------------------------------------------

namespace {

struct RawKind : Row {
    const char* format;
    int wav;  // that holds the same samples
};

class RawSound : public PipedSound, public testing::WithParamInterface<RawKind> {};

}  // namespace

TEST_P(RawSound, IsPlayedFromAPipe) {
    writeSound(mFile, {SF_FORMAT_WAV | GetParam().wav, 16000, 1, 9973});
    const std::string bytes = contentsOf(mFile);
    const std::size_t data = bytes.find("data") + 8;
    std::uint32_t size = 0;
    std::memcpy(&size, &bytes[data - 4], sizeof size);
    writePipe(bytes.substr(data, size));
    serve();
    const Outcome result =
        playPipe({"--raw", "--rate", "16000", "--channels", "1", "--format", GetParam().format});
    EXPECT_EQ(result.exitCode, 0) << result.text();
    const Sound heard = stem("piped");
    EXPECT_EQ(heard.info.samplerate, 16000);
    EXPECT_TRUE(heard.samples == readSound(mFile).samples);
}

INSTANTIATE_TEST_SUITE_P(Every, RawSound,
                         testing::Values(RawKind{"U8", "u8", SF_FORMAT_PCM_U8},
                                         RawKind{"S16", "s16", SF_FORMAT_PCM_16},
                                         RawKind{"S24", "s24", SF_FORMAT_PCM_24},
                                         RawKind{"S32", "s32", SF_FORMAT_PCM_32},
                                         RawKind{"Float", "float", SF_FORMAT_FLOAT},
                                         RawKind{"Double", "double", SF_FORMAT_DOUBLE}),
                         ROW_NAME);

TEST_F(PipedSound, RawIsCdLikeUnlessItIsSaid) {
    writePipe(std::string(48000 * 4, '\1'));
    serve();
    const json report = jsonOf(playPipe({"--raw", "--json"}));
    EXPECT_EQ(report["sample_rate_hz"], 48000);
    EXPECT_EQ(report["channels"], 2);
    EXPECT_EQ(report["bits_per_sample"], 16);
    EXPECT_EQ(report["played_ms"], 1000.0);
}

TEST_F(PipedSound, RawThatEndsWithinAFrameIsCut) {
    writePipe(std::string(48000 * 4 + 1, '\1'));
    serve();
    const Outcome result = playPipe({"--raw"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("(it ends within a frame), after 0:01.0\n"));
}

TEST(RawOptions, NeedRaw) {
    for (const char* option : {"--rate 8000", "--channels 1", "--format s16"}) {
        const CommandLine line(option);
        const Outcome result = runExpecting(2, with({"play", "a.wav"}, line.words));
        EXPECT_THAT(result.err, HasSubstr(line.words[0] + " requires --raw"));
    }
}

// ---- Cut short ----------------------------------------------------------------------------------

namespace {

struct CutKind : Row {
    int format;
    bool isLengthKnown;
};

class CutSound : public PipedSound, public testing::WithParamInterface<CutKind> {
protected:
    void SetUp() override {
        PipedSound::SetUp();
        writeSound(mFile, {GetParam().format, 48000, 2, 96000});
        const std::string bytes = contentsOf(mFile);
        mRest = bytes.substr(0, bytes.size() * 5 / 8);
    }
    void expectCut(const Outcome& result) {
        EXPECT_EQ(result.exitCode, 1) << result.text();
        EXPECT_THAT(result.err, HasSubstr(": cut short, "));
        expectOneLine(result.err);
        const json report = jsonOf(result);
        EXPECT_EQ(report["ended"], "cut");
        const Sound heard = stem("piped");
        const std::size_t samples = heard.samples.size();
        EXPECT_GT(samples, 48000u);
        const auto whole =
            isLossy(GetParam().format) ? decodedTo16Bits(mFile) : readSound(mFile).samples;
        ASSERT_LT(samples, whole.size());
        EXPECT_TRUE(std::equal(heard.samples.begin(), heard.samples.end(), whole.begin()));
        if (!GetParam().isLengthKnown) {
            EXPECT_TRUE(report["missing_ms"].is_null());
            EXPECT_THAT(result.err, HasSubstr("its end is missing"));
            return;
        }
        const double missing = static_cast<double>(whole.size() - samples) / 96;
        EXPECT_NEAR(report["missing_ms"].get<double>(), missing, 0.001);
        EXPECT_EQ(report["duration_ms"], 2000.0);
    }

    std::string mRest;
};

}  // namespace

TEST_P(CutSound, IsPlayedAndReported) {
    std::ofstream(mFile + ".cut") << mRest;
    serve();
    expectCut(runTool({"play", mFile + ".cut", "--name", "piped", "--json"}));
}

TEST_P(CutSound, IsPlayedFromAPipeAndReported) {
    writePipe(mRest);
    serve();
    expectCut(playPipe({"--json"}));
}

INSTANTIATE_TEST_SUITE_P(Kind, CutSound,
                         testing::Values(CutKind{"Wav", WAV16, true},
                                         CutKind{"Flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16, true},
                                         CutKind{"Vorbis", SF_FORMAT_OGG | SF_FORMAT_VORBIS, false},
                                         CutKind{"Opus", SF_FORMAT_OGG | SF_FORMAT_OPUS, false}),
                         ROW_NAME);

TEST_F(PipedSound, ThatIsCutIsReportedInALine) {
    writeSound(mFile, {.frames = 48000});
    writePipe(contentsOf(mFile).substr(0, WAV_HEADER + 24000 * 4));
    serve();
    const Outcome result = playPipe();
    EXPECT_EQ(result.err, "cabinaudio: " + mPipe +
                              ": cut short, 0.5 s of it missing, after 0:00.5 of 0:01.0\n");
}

TEST_F(PipedSound, ThatIsCutEndsTheList) {
    writeSound(mFile, {.frames = 48000});
    writePipe(contentsOf(mFile).substr(0, 48000));
    serve();
    const Outcome result = playPipe({mFile});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.out, IsEmpty());
}

// ---- No sound -----------------------------------------------------------------------------------

namespace {

struct NoSound : Row {
    std::string bytes;
    const char* says;
};

class PipeWithoutSound : public PipedSound, public testing::WithParamInterface<NoSound> {};

}  // namespace

TEST_P(PipeWithoutSound, IsRefusedWithTheReason) {
    writePipe(GetParam().bytes);
    const Outcome result = playPipe();
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, StartsWith("cabinaudio: " + mPipe + ": " + GetParam().says));
    expectOneLine(result.err);
}

INSTANTIATE_TEST_SUITE_P(
    Any, PipeWithoutSound,
    testing::Values(NoSound{"Empty", "", "is empty\n"},
                    NoSound{"Text", "no sound, only words", "not an audio file that libsndfile"},
                    NoSound{"EndInTheHeaderOfWav", "RIFF1111WAVEfmt ", "ends within its header\n"},
                    NoSound{"EndInTheHeaderOfFlac", "fLaC", "ends within its header\n"},
                    NoSound{"Mp3", "\xFF\xFB\x90\x64", "MP3 cannot be played from a pipe"},
                    NoSound{"TaggedMp3", "ID3\x04", "MP3 cannot be played from a pipe"},
                    NoSound{"EndInTheHeaderOfOgg", "OggS", "not an audio file that libsndfile"}),
    ROW_NAME);

}  // namespace cabinaudio::test
