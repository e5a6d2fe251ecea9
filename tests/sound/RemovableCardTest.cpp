// SPDX-License-Identifier: Apache-2.0
//
// An ALSA device that is unplugged and plugged in again.
#include "tests/sound/Heard.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace cabinaudio::test {
namespace {

class RemovableCard : public SoundTest {
protected:
    RemovableCard() {
        std::ofstream(mDirectory.file("asound.conf"))
            << "pcm_type.removable { lib \"" CABINAUDIO_TEST_CARD "\" }\n"
            << "pcm.removable { type removable present \"" << mDirectory.file("present")
            << "\" heard \"" << mDirectory.file("heard") << "\" }\n";
        setenv("ALSA_CONFIG_PATH", mDirectory.file("asound.conf").c_str(), 1);
        plugIn();
    }
    ~RemovableCard() override { unsetenv("ALSA_CONFIG_PATH"); }

    void SetUp() override {
        if (!isBuiltWith("alsa:no_such_device")) GTEST_SKIP() << "the server has no ALSA";
        mServer = std::make_unique<RealServer>(Words{"--output", "alsa:removable"});
    }

    void plugIn() const { std::ofstream(mDirectory.file("present")).flush(); }
    void unplug() const { std::filesystem::remove(mDirectory.file("present")); }
    [[nodiscard]] std::vector<std::int16_t> heard() const {
        return rawSamples(mDirectory.file("heard"));
    }
};

TEST_F(RemovableCard, PlaysTheFirstStreamWhole) {
    makeSound(std::chrono::milliseconds(400));
    EXPECT_EQ(runTool({"play", soundFile()}).exitCode, 0);
    EXPECT_EQ(output().at("errors"), 0) << output().dump();
    EXPECT_EQ(output().at("dropped_frames"), 0);
    EXPECT_GT(output().at("latency_ms"), 0);
    EXPECT_EQ(mServer->stop(), 0);
    EXPECT_TRUE(contains(heard(), mSent));
}

TEST_F(RemovableCard, IsHeardAgainOncePluggedIn) {
    makeSound(std::chrono::milliseconds(1200));
    ToolProcess player(Words{"play", soundFile()});
    ASSERT_TRUE(eventually([&] { return output().at("frames") > 4800; }));
    unplug();
    ASSERT_TRUE(eventually([&] { return output().at("state") == "lost"; }));
    EXPECT_EQ(output().at("problem"), "alsa device removable: No such device");
    plugIn();
    ASSERT_TRUE(eventually([&] { return output().at("state") == "open"; }));
    const Outcome outcome = player.finish();
    EXPECT_EQ(outcome.exitCode, 0) << outcome.text();
    EXPECT_LT(outcome.took, std::chrono::milliseconds(1200 + 2000)) << outcome.text();
    EXPECT_EQ(output().at("losses"), 1);
    EXPECT_EQ(mServer->stop(), 0);
    EXPECT_TRUE(contains(heard(), {mSent.end() - RATE / 10 * CHANNELS, mSent.end()}));
    EXPECT_THAT(mServer->output(),
                HasSubstr("alsa device removable: No such device: nothing is heard; tries again"));
    EXPECT_THAT(mServer->output(), HasSubstr("alsa device removable is heard again; nothing"));
}

}  // namespace
}  // namespace cabinaudio::test
