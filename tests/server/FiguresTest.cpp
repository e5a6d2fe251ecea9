// SPDX-License-Identifier: Apache-2.0
//
// The figures in the server's state: levels, gains, latency, programs and the load of the mix. A
// fast server mixes only when there is data, so the levels of a sound stay until the next one.
#include <cabinaudio/client/ClientMixerSetting.h>
#include <cabinaudio/client/ClientSink.h>
#include <cabinaudio/client/ClientSourceSetting.h>
#include <cabinaudio/client/ClientVolumeSetting.h>
#include <cabinaudio/foundation/AudioStatus.h>

#include "tests/server/Playing.h"
#include "tests/server/RawRecorder.h"
#include "tests/support/ProcessState.h"
#include "tests/support/Row.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace cabinaudio::test {
namespace {

using nlohmann::json;
using ::testing::ElementsAre;

constexpr unsigned RATE = 48000;
constexpr double HALF = -6.0;         // dB, of the sine; -6.02 is rounded
constexpr double TOLERANCE = 0.11;    // dB, two rounded numbers
constexpr std::size_t LENGTH = 9600;  // frames, longer than the time that levels are kept

const std::vector<std::string> FAST = {"--output", "null", "--fast"};

std::vector<std::int16_t> stereo() {
    return repeated(sine16(1000, RATE, LENGTH), 2);
}

/// Plays the sine to its end; the stream stays.
class Played : public Player {
public:
    Played(const std::string& name, AudioTagType tag) : Player(name, tag, pcm(RATE, 2, 16)) {
        EXPECT_TRUE(write(stereo()) && end());
    }
};

/// The same as main audio.
class PlayedSink {
public:
    explicit PlayedSink(const std::string& name)
        : mFormat(pcm(RATE, 2, 16)), mSink(name.c_str(), AUDIO_TAG_MAIN, mFormat, 0) {
        mSink.setCallback(&mFinished);
        EXPECT_EQ(mSink.initCheck(), AUDIO_NO_ERROR);
        EXPECT_EQ(mSink.start(), AUDIO_NO_ERROR);
        EXPECT_TRUE(eventually([this] { return mSink.getTotalBufferSize() > 0; }));
        auto samples = stereo();
        EXPECT_EQ(mSink.write(bytesPointer(samples), byteCount(samples), true), byteCount(samples));
        EXPECT_EQ(mSink.writeDone(), AUDIO_NO_ERROR);
        EXPECT_TRUE(mFinished.wait());
    }

private:
    AudioFormatDesc mFormat;
    FinishWaiter mFinished;
    ClientSink mSink;
};

const json& gainOf(const json& stream, const std::string& stage) {
    for (const json& gain : stream.at("gains"))
        if (gain.at("stage") == stage) return gain;
    throw std::runtime_error("no stage " + stage + " in " + stream.dump());
}

std::vector<std::string> stagesOf(const json& stream) {
    std::vector<std::string> names;
    for (const json& gain : stream.at("gains"))
        names.push_back(gain.at("stage").get<std::string>());
    return names;
}

TEST(Levels, AreThoseOfTheSamplesWithoutGains) {
    const RealServer server(FAST);
    const Played player("sound", AUDIO_TAG_AUXILIARY);
    const json stream = streamOf(server, "sound");
    EXPECT_EQ(stream.at("peak_db"), HALF);
    EXPECT_EQ(stream.at("heard_db"), HALF);
    EXPECT_EQ(stream.at("latency_ms"), 0.0) << "nothing is queued";
}

TEST(Levels, AreNullBeforeTheFirstSound) {
    const RealServer server(FAST);
    const Player player("sound", AUDIO_TAG_AUXILIARY, pcm(RATE, 2, 16));
    const json state = stateOf(server);
    EXPECT_TRUE(streamIn(state, "sound").at("peak_db").is_null());
    EXPECT_TRUE(streamIn(state, "sound").at("heard_db").is_null());
    EXPECT_TRUE(state.at("loudspeakers").at(0).at("peak_db").is_null());
}

TEST(Levels, ArePerLoudspeakerWithItsNameAndMute) {
    const RealServer server({"--output", "null", "--fast", "--channels", "4"});
    ClientSourceSetting source;
    ASSERT_EQ(source.setSpeakerOutPut(audio::AUDIO_CHANNEL_LF), 0);
    const Played player("sound", AUDIO_TAG_AUXILIARY);
    const json loudspeakers = stateOf(server).at("loudspeakers");
    const auto silent = [](int number, const char* name) {
        return json{{"loudspeaker", number}, {"name", name}, {"peak_db", nullptr}, {"muted", true}};
    };
    EXPECT_THAT(
        loudspeakers,
        ElementsAre(json{{"loudspeaker", 0}, {"name", "LF"}, {"peak_db", HALF}, {"muted", false}},
                    silent(1, "RF"), silent(2, "LS"), silent(3, "RS")));
}

TEST(Latency, IsTheQueueOfTheRing) {
    const RealServer server;
    Player player("sound", AUDIO_TAG_AUXILIARY, pcm(RATE, 2, 16));
    json stream;
    // A stopped stream keeps its queue. A slow machine may have played it before.
    EXPECT_TRUE(eventually([&] {
        player.track().start();
        if (!player.write(stereo()) || player.track().stop() != AUDIO_NO_ERROR) return false;
        stream = streamOf(server, "sound");
        return stream.at("queued_frames") > 0;
    })) << stream;
    EXPECT_NEAR(stream.at("latency_ms").get<double>(),
                stream.at("queued_frames").get<double>() * 1000 / RATE, 0.051);
}

TEST(Program, IsTheNameOfTheProcess) {
    const RealServer server(FAST);
    const Player player("sound", AUDIO_TAG_AUXILIARY, pcm(RATE, 2, 16));
    std::string name;
    std::getline(std::ifstream("/proc/self/comm"), name);
    const std::string program = streamOf(server, "sound").at("program").get<std::string>();
    EXPECT_EQ(program.substr(0, name.size()), name);
    EXPECT_FALSE(name.empty());
}

TEST(Load, IsThatOfTheLastSecond) {
    const RealServer server;
    EXPECT_EQ(stateOf(server).at("load"),
              (json{{"mix_percent", 0.0}, {"longest_mix_us", 0}, {"period_us", 16000}}));
    Player player("sound", AUDIO_TAG_AUXILIARY, pcm(RATE, 2, 16));
    ASSERT_TRUE(player.write(stereo()));
    EXPECT_TRUE(eventually([&] {
        const json load = stateOf(server).at("load");
        return load.at("mix_percent") > 0.0 && load.at("longest_mix_us") > 0;
    })) << stateOf(server).at("load");
    EXPECT_LT(stateOf(server).at("load").at("mix_percent"), 100.0);
}

TEST(CaptureLevel, IsThatOfTheInputAfterTheVolume) {
    const RealServer server(FAST);
    RawRecorder recorder("voice", AUDIO_TAG_INPUT0, pcm(16000, 1, 16));
    EXPECT_TRUE(streamOf(server, "voice").at("peak_db").is_null()) << "not started";
    ASSERT_EQ(recorder.setVolume(50), AUDIO_NO_ERROR);
    ASSERT_EQ(recorder.start(), AUDIO_NO_ERROR);
    (void)recorder.readSamples(1600);
    const json stream = streamOf(server, "voice");
    EXPECT_NEAR(stream.at("peak_db").get<double>(), -12.0, TOLERANCE);
    EXPECT_TRUE(stream.at("program").is_string());
}

// ---- The chain of gains -------------------------------------------------------------------------

struct Settings {
    ClientVolumeSetting volume;
    ClientMixerSetting mixer;
    ClientSourceSetting source;
};

TEST(Gains, AreListedInTheOrderOfTheSound) {
    const RealServer server(FAST);
    const Player chime("chime", AUDIO_TAG_AUXILIARY, pcm(RATE, 2, 16));
    const Player prompt("prompt", AUDIO_TAG_ALTERNATIVE, pcm(RATE, 2, 16));
    const PlayedSink music("music");
    const json state = stateOf(server);
    EXPECT_THAT(stagesOf(streamIn(state, "chime")),
                ElementsAre("track", "type", "master", "mute", "loudspeakers"));
    EXPECT_THAT(
        stagesOf(streamIn(state, "prompt")),
        ElementsAre("track", "type", "alternative", "master", "mute", "mixer", "loudspeakers"));
    EXPECT_THAT(
        stagesOf(streamIn(state, "music")),
        ElementsAre("track", "type", "master", "mute", "ducking", "fade_balance", "loudspeakers"));
    for (const char* name : {"chime", "prompt", "music"}) {
        for (const json& gain : streamIn(state, name).at("gains")) {
            EXPECT_EQ(gain.at("db"), 0.0) << gain;
            EXPECT_EQ(gain.at("muted"), false) << gain;
            EXPECT_TRUE(gain.at("by").is_null()) << gain;
        }
    }
}

/// A setting that acts on a sink, or an alternative or auxiliary track with the name "a sound".
struct Loss : Row {
    AudioTagType tag;
    std::function<int(Settings&)> set;
    json gain;   // of the one stage that is not at 0 dB
    json heard;  // dB, of a sound with HALF
};

void PrintTo(const Loss& loss, std::ostream* out) {
    *out << loss.gain;
}

/// The same stage at 0 dB.
json unity(json gain) {
    gain["db"] = 0.0;
    return gain;
}

class GainOfOneSetting : public ::testing::TestWithParam<Loss> {};

TEST_P(GainOfOneSetting, IsNamedAndHeard) {
    const Loss& loss = GetParam();
    const RealServer server(FAST);
    Settings settings;
    ASSERT_EQ(loss.set(settings), 0);
    std::unique_ptr<Played> track;
    std::unique_ptr<PlayedSink> sink;
    if (loss.tag == AUDIO_TAG_MAIN)
        sink = std::make_unique<PlayedSink>("a sound");
    else
        track = std::make_unique<Played>("a sound", loss.tag);
    const json stream = streamOf(server, "a sound");
    for (const json& gain : stream.at("gains")) {
        const json expected = gain.at("stage") == loss.gain.at("stage") ? loss.gain : unity(gain);
        EXPECT_EQ(gain, expected);
    }
    EXPECT_EQ(stream.at("peak_db"), HALF);
    ASSERT_EQ(stream.at("heard_db").is_null(), loss.heard.is_null()) << stream;
    if (loss.heard.is_null()) return;
    EXPECT_NEAR(stream.at("heard_db").get<double>(), loss.heard.get<double>(), TOLERANCE);
}

json gain(const char* stage, const char* setting, json dB, bool muted = false, json by = nullptr) {
    return {{"stage", stage}, {"setting", setting}, {"db", dB}, {"muted", muted}, {"by", by}};
}

const Loss LOSSES[] = {
    {{"track"},
     AUDIO_TAG_AUXILIARY,
     [](Settings& s) { return s.volume.setTrackVolume("auxiliary", "a sound", -12.0F); },
     gain("track", "volume.track.auxiliary.a%20sound", -12.0),
     -18.0},
    {{"channels"},
     AUDIO_TAG_AUXILIARY,
     [](Settings& s) {
         float gains[8] = {-20, -10, 0, 0, 0, 0, 0, 0};
         return s.volume.setTrackChannelGain("auxiliary", "a sound", gains);
     },
     gain("track", "track.auxiliary.a%20sound.channels", -10.0),
     -16.0},
    {{"type"},
     AUDIO_TAG_MAIN,
     [](Settings& s) { return s.volume.setGainByStreamType("media", -103.5F); },
     gain("type", "volume.type.media", nullptr),
     nullptr},
    {{"alternative"},
     AUDIO_TAG_ALTERNATIVE,
     [](Settings& s) { return s.volume.setAlterAudioVolume(6.0F); },
     gain("alternative", "volume.alternative", 6.0),
     0.0},
    {{"master"},
     AUDIO_TAG_ALTERNATIVE,
     [](Settings& s) { return s.volume.setMasterVolume(-30.0F); },
     gain("master", "volume.master", -30.0),
     -36.0},
    {{"mute"},
     AUDIO_TAG_MAIN,
     [](Settings& s) { return s.volume.mute("main", true); },
     gain("mute", "mute.main", nullptr, true, "path main"),
     nullptr},
    {{"mixer"},
     AUDIO_TAG_ALTERNATIVE,
     [](Settings& s) {
         audio::audio_mixer_matrix_t matrix = {};
         matrix.gain[0] = -9;
         matrix.gain[1] = -3;
         return s.mixer.setAlternativeAudioMixerGain(&matrix);
     },
     gain("mixer", "mixer.alternative", -3.0),
     -9.0},
    {{"navigation"},
     AUDIO_TAG_ALTERNATIVE,
     [](Settings& s) { return s.mixer.mixExtGps(0); },
     gain("mixer", "mixer.navigation.mode", nullptr, true, "navigation is off"),
     nullptr},
    {{"duck"},
     AUDIO_TAG_MAIN,
     [](Settings& s) { return s.volume.duck(50); },
     gain("ducking", "duck", -6.02, false, "duck 50 %"),
     -12.0},
    {{"fade"},
     AUDIO_TAG_MAIN,
     [](Settings& s) { return s.volume.setFadeBalance(-100, 0, 100); },
     gain("fade_balance", "fade", nullptr),
     nullptr},
    {{"balance"},
     AUDIO_TAG_MAIN,
     [](Settings& s) { return s.volume.setFadeBalance(0, 20, 100); },
     gain("fade_balance", "balance", 0.0),
     -6.0},
    {{"loudspeakers"},
     AUDIO_TAG_AUXILIARY,
     [](Settings& s) { return s.source.setSpeakerOutPut(audio::AUDIO_CHANNEL_LS); },
     gain("loudspeakers", "speaker.output", nullptr, true, "LF+RF+RS+CF+L1 off"),
     nullptr},
};

INSTANTIATE_TEST_SUITE_P(By, GainOfOneSetting, ::testing::ValuesIn(LOSSES), ROW_NAME);

TEST(Gains, NameTheStreamThatDucks) {
    const RealServer server(FAST);
    Settings settings;
    ASSERT_EQ(settings.volume.setMainAudioDunkingMode(1), 0);
    const PlayedSink music("music");
    {
        const Played prompt("turn left", AUDIO_TAG_ALTERNATIVE);
        EXPECT_EQ(gainOf(streamOf(server, "music"), "ducking"),
                  gain("ducking", "ducking.target", -20.0, false, "turn left"));
    }
    const PlayedSink more("more");  // as long as ducking outlasts the prompt
    EXPECT_EQ(gainOf(streamOf(server, "music"), "ducking"), gain("ducking", "duck", 0.0));
}

TEST(Gains, MultiplyToTheLevelThatIsHeard) {
    const RealServer server({"--output", "null", "--fast", "--channels", "4"});
    Settings settings;
    ASSERT_EQ(settings.volume.setGainByStreamType("media", -3.0F), 0);
    ASSERT_EQ(settings.volume.setTrackVolume("main", "music", 4.5F), 0);
    ASSERT_EQ(settings.volume.setFadeBalance(-20, 10, 100), 0);
    ASSERT_EQ(settings.volume.duck(30), 0);
    ASSERT_EQ(settings.mixer.setUpMixMode(1), 0);
    ASSERT_EQ(settings.source.setSpeakerOutPut(static_cast<audio::audio_channel_idx_e>(
                  audio::AUDIO_CHANNEL_LF | audio::AUDIO_CHANNEL_RF)),
              0);
    const PlayedSink music("music");
    const json stream = streamOf(server, "music");
    double sum = 0;
    for (const json& gain : stream.at("gains"))
        sum += gain.at("db").get<double>();
    EXPECT_LT(sum, -5.0);
    EXPECT_NEAR(stream.at("heard_db").get<double>() - HALF, sum, TOLERANCE);
}

}  // namespace
}  // namespace cabinaudio::test
