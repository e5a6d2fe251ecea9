// SPDX-License-Identifier: Apache-2.0
// Time that a test owns: what the kit makes of the server's options and commands.
#include <cabinaudio/client/ClientVolumeSetting.h>
#include <cabinaudio/testing/Testing.h>

#include "tests/testing/helpers/Playing.h"

#include <chrono>
#include <future>
#include <string>

using namespace cabinaudio::testing;
using namespace std::chrono_literals;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::HasSubstr;

namespace {

constexpr int MEDIA = 1;
constexpr int NAVIGATION = 2;

std::future<std::string> playing(const char* name, double hz, double seconds, AudioTagType tag,
                                 int type) {
    return std::async(std::launch::async,
                      [=] { return kit::play(name, kit::tone(hz, seconds), tag, type); });
}

/// Two seconds of music, and over it a prompt of half a second that is heard from one second on.
class Prompts : public ServerTest {
protected:
    Options options() override {
        Options options;
        options.hold = 2;
        options.await = {{"prompt", 1000ms}};
        return options;
    }
    Result playBoth() {
        ClientVolumeSetting volume;
        EXPECT_EQ(volume.setMainAudioDunkingTargetGain(-20.0F), 0);
        EXPECT_EQ(volume.setMainAudioDunkingMode(1), 0);
        auto music = playing("music", 440, 2, AUDIO_TAG_MAIN, MEDIA);
        auto prompt = playing("prompt", 1000, 0.5, AUDIO_TAG_AUXILIARY, NAVIGATION);
        EXPECT_EQ(music.get(), "");
        EXPECT_EQ(prompt.get(), "");
        return server().stop();
    }
};

/// A server whose time passes as the test says.
class Steps : public ServerTest {
protected:
    Options options() override {
        Options options;
        options.time = Time::Stepped;
        return options;
    }
};

/// A server that waits a second, instead of a minute, for those who do not come.
class Late : public ServerTest {
protected:
    Options options() override {
        Options options;
        options.patience = 1000ms;
        options.await = {{"prompt", 500ms}};
        return options;
    }
};

}  // namespace

TEST_F(Prompts, BeginAtTheirFrame) {
    const Heard heard = playBoth().heard();
    EXPECT_THAT(heard, AllOf(StartsAt("prompt", 1000ms), HasTone(1000).between(1.1, 1.4),
                             HasOrder({"music", "prompt"}), HasOverlap("music", "prompt")));
    const std::vector<Segment> segments = heard.segments("prompt");
    ASSERT_FALSE(segments.empty());
    EXPECT_DOUBLE_EQ(segments.front().from, 1.0);
    EXPECT_DOUBLE_EQ(segments.back().to, 1.5);
}

TEST_F(Prompts, DuckTheMusic) {
    const Result result = playBoth();
    EXPECT_THAT(result.heard(), IsDucked("music", -20).during("prompt"));
    EXPECT_THAT(result.heard(), ::testing::Not(IsDucked("music", -10).during("prompt")));
    EXPECT_THAT(result.changes(), Contains(Field(&Change::what, HasSubstr("duck"))));
}

TEST_F(Prompts, AreTheSameInEveryRun) {
    const Sound first = playBoth().heard().sound();
    const TestDirectory directory;
    start(options());
    const Sound second = playBoth().heard().sound();
    EXPECT_EQ(second.samples.size(), first.samples.size());
    EXPECT_TRUE(second.samples == first.samples);
}

TEST_F(Steps, TakeAsLongAsTheTestSays) {
    auto chime = playing("chime", 440, 0.5, AUDIO_TAG_AUXILIARY, MEDIA);
    server().await("chime");
    server().run(100ms);
    EXPECT_THAT(server().command("time"), HasSubstr("\"frame\":4800,"));
    server().run(900ms);
    EXPECT_EQ(chime.get(), "");
    EXPECT_THAT(server().command("time"), HasSubstr("\"frame\":48000,"));
    EXPECT_THAT(server().stop().heard(), HasTone(440).between(0.05, 0.45));
}

TEST_F(Steps, ExecuteCommandsAtTheirFrame) {
    server().await("chime");
    server().at(250ms, "stream remove chime");
    auto chime = playing("chime", 440, 1, AUDIO_TAG_AUXILIARY, MEDIA);
    server().run(1000ms);
    EXPECT_NE(chime.get(), "");
    const std::vector<Segment> segments = server().stop().heard().segments("chime");
    ASSERT_FALSE(segments.empty());
    EXPECT_DOUBLE_EQ(segments.back().to, 0.25);
}

TEST_F(Late, StreamIsAnErrorThatNamesIt) {
    expectErrors();
    auto music = playing("music", 440, 1, AUDIO_TAG_AUXILIARY, MEDIA);
    EXPECT_EQ(music.get(), "");
    const Result result = server().stop();
    EXPECT_EQ(result.exitStatus(), 5);
    EXPECT_THAT(result.errors(), ElementsAre(HasSubstr("for the start of \"prompt\", at 500 ms")));
}
