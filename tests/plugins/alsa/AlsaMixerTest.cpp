// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/client/ClientVolumeSetting.h>

#include "tests/plugins/alsa/AlsaConfig.h"
#include "tests/support/Generous.h"
#include "tests/support/RealServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <memory>
#include <set>
#include <string>

namespace cabinaudio::test {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

/// A control device that an application has opened.
class AlsaMixer : public testing::Test {
protected:
    void open() {
        mServer = std::make_unique<RealServer>();
        ASSERT_EQ(snd_ctl_open_lconf(&mCtl, "cab", 0, mConfig.top()), 0);
        ASSERT_EQ(snd_ctl_elem_value_malloc(&mValue), 0);
    }
    ~AlsaMixer() override {
        if (mCtl != nullptr) snd_ctl_close(mCtl);
        if (mValue != nullptr) snd_ctl_elem_value_free(mValue);
    }

    void choose(const char* name) {
        snd_ctl_elem_value_clear(mValue);
        snd_ctl_elem_value_set_interface(mValue, SND_CTL_ELEM_IFACE_MIXER);
        snd_ctl_elem_value_set_name(mValue, name);
    }
    long get(const char* name, unsigned index = 0) {
        choose(name);
        EXPECT_EQ(snd_ctl_elem_read(mCtl, mValue), 0) << name;
        return snd_ctl_elem_value_get_integer(mValue, index);
    }
    int set(const char* name, long first, long second = 0) {
        choose(name);
        snd_ctl_elem_value_set_integer(mValue, 0, first);
        snd_ctl_elem_value_set_integer(mValue, 1, second);
        return snd_ctl_elem_write(mCtl, mValue);
    }

    /// @return 0 or a negative error number
    int convert(const char* name, long value, long& dB) {
        snd_ctl_elem_info_t* info = nullptr;
        snd_ctl_elem_info_alloca(&info);
        snd_ctl_elem_info_set_interface(info, SND_CTL_ELEM_IFACE_MIXER);
        snd_ctl_elem_info_set_name(info, name);
        EXPECT_EQ(snd_ctl_elem_info(mCtl, info), 0) << name;
        snd_ctl_elem_id_t* id = nullptr;
        snd_ctl_elem_id_alloca(&id);
        snd_ctl_elem_info_get_id(info, id);
        // alsa-lib's own numbers begin with 1.
        for (unsigned number = 1; snd_ctl_elem_id_get_numid(id) == 0; ++number) {
            snd_ctl_elem_info_t* other = nullptr;
            snd_ctl_elem_info_alloca(&other);
            snd_ctl_elem_info_set_numid(other, number);
            if (snd_ctl_elem_info(mCtl, other) < 0) return -ENOENT;
            if (std::string(snd_ctl_elem_info_get_name(other)) == name)
                snd_ctl_elem_id_set_numid(id, number);
        }
        return snd_ctl_convert_to_dB(mCtl, id, value, &dB);
    }

    const AlsaConfig mConfig{"ctl.cab { type cabinaudio }\n"};
    std::unique_ptr<RealServer> mServer;
    snd_ctl_t* mCtl = nullptr;
    snd_ctl_elem_value_t* mValue = nullptr;
};

}  // namespace

TEST_F(AlsaMixer, ListsVolumesSwitchesAndStreamTypes) {
    open();
    snd_ctl_elem_list_t* list = nullptr;
    snd_ctl_elem_list_alloca(&list);
    ASSERT_EQ(snd_ctl_elem_list(mCtl, list), 0);
    const unsigned count = snd_ctl_elem_list_get_count(list);
    ASSERT_EQ(snd_ctl_elem_list_alloc_space(list, count), 0);
    ASSERT_EQ(snd_ctl_elem_list(mCtl, list), 0);
    std::set<std::string> names;
    for (unsigned i = 0; i < count; ++i)
        names.insert(snd_ctl_elem_list_get_name(list, i));
    snd_ctl_elem_list_free_space(list);
    for (const char* name :
         {"Master Playback Volume", "Master Playback Switch", "Alternative Playback Volume",
          "Second Playback Switch", "Auxiliary Playback Switch", "Front Playback Volume",
          "Surround Playback Volume", "Fade", "Balance", "Capture Volume", "Mic Capture Volume",
          "Media Playback Volume", "Navigation Playback Volume"})
        EXPECT_TRUE(names.count(name) == 1) << name;
}

TEST_F(AlsaMixer, MasterVolumeIsTheServers) {
    open();
    ClientVolumeSetting setting;
    EXPECT_EQ(get("Master Playback Volume"), 100);
    EXPECT_EQ(set("Master Playback Volume", 94), 1);
    EXPECT_EQ(set("Master Playback Volume", 94), 0) << "it is so already";
    float dB = 0;
    ASSERT_EQ(setting.getMasterVolume(&dB), 0);
    EXPECT_EQ(dB, -3.0F);
    EXPECT_EQ(set("Master Playback Volume", 149), -EINVAL);
    EXPECT_EQ(set("Master Playback Volume", -1), -EINVAL);
}

TEST_F(AlsaMixer, SwitchIsOffWhileThePathIsMuted) {
    open();
    ClientVolumeSetting setting;
    EXPECT_EQ(get("Master Playback Switch"), 1);
    EXPECT_EQ(set("Master Playback Switch", 0), 1);
    bool isMuted = false;
    ASSERT_EQ(setting.getMuteState("main", isMuted), 0);
    EXPECT_TRUE(isMuted);
    ASSERT_EQ(setting.demute("main", true), 0);
    EXPECT_EQ(get("Master Playback Switch"), 1);
}

TEST_F(AlsaMixer, TypesChannelsAndGainsAreTheServers) {
    open();
    ClientVolumeSetting setting;
    EXPECT_EQ(set("Media Playback Volume", 80), 1);
    float dB = 0;
    ASSERT_EQ(setting.getGainByStreamType("media", dB), 0);
    EXPECT_EQ(dB, -10.0F);
    EXPECT_EQ(set("Front Playback Volume", 90, 60), 1);
    ASSERT_EQ(setting.getChannelGain(audio::AUDIO_CHANNEL_RF, &dB), 0);
    EXPECT_EQ(dB, -20.0F);
    EXPECT_EQ(get("Front Playback Volume", 0), 90);
    EXPECT_EQ(set("Mic Capture Volume", 10, 20), 1);
    float left = 0;
    float right = 0;
    ASSERT_EQ(setting.getMicAnalogGain(&left, &right), 0);
    EXPECT_EQ(left, 10.0F);
    EXPECT_EQ(right, 20.0F);
    EXPECT_EQ(set("Capture Volume", 112), 1);
    ASSERT_EQ(setting.getUpLinkGain(&dB), 0);
    EXPECT_EQ(dB, 6.0F);
}

TEST_F(AlsaMixer, FadeAndBalanceKeepEachOther) {
    open();
    EXPECT_EQ(set("Fade", -30), 1);
    EXPECT_EQ(set("Balance", 20), 1);
    EXPECT_EQ(get("Fade"), -30);
    EXPECT_EQ(get("Balance"), 20);
    EXPECT_EQ(get("Front Playback Volume", 0), 50);
    EXPECT_EQ(get("Surround Playback Volume", 1), 100);
}

TEST_F(AlsaMixer, StepsHaveADecibelScale) {
    open();
    long dB = 0;
    ASSERT_EQ(convert("Master Playback Volume", 94, dB), 0);
    EXPECT_EQ(dB, -300);
    ASSERT_EQ(convert("Master Playback Volume", 148, dB), 0);
    EXPECT_EQ(dB, 2400);
    ASSERT_EQ(convert("Master Playback Volume", 0, dB), 0);
    EXPECT_EQ(dB, SND_CTL_TLV_DB_GAIN_MUTE);
    ASSERT_EQ(convert("Mic Capture Volume", 10, dB), 0);
    EXPECT_EQ(dB, 1000);
    EXPECT_LT(convert("Fade", 10, dB), 0);
}

TEST_F(AlsaMixer, ReportsAChangeByAnotherClientWithinASecond) {
    open();
    ClientVolumeSetting setting;
    ASSERT_EQ(snd_ctl_subscribe_events(mCtl, 1), 0);
    EXPECT_EQ(snd_ctl_wait(mCtl, 0), 0) << "nothing has changed";
    // The watch compares with its first look.
    EXPECT_EQ(get("Media Playback Volume"), 100);
    ASSERT_EQ(setting.setVolumeByStreamType("media", 90), 0);
    const auto begin = Clock::now();
    ASSERT_EQ(snd_ctl_wait(mCtl, 10000), 1);
    EXPECT_LT(Clock::now() - begin, generous(1s));
    snd_ctl_event_t* event = nullptr;
    snd_ctl_event_alloca(&event);
    ASSERT_EQ(snd_ctl_read(mCtl, event), 1);
    EXPECT_STREQ(snd_ctl_event_elem_get_name(event), "Media Playback Volume");
    EXPECT_EQ(snd_ctl_event_elem_get_mask(event), SND_CTL_EVENT_MASK_VALUE);
    EXPECT_EQ(snd_ctl_read(mCtl, event), -EAGAIN);
    EXPECT_EQ(snd_ctl_wait(mCtl, 0), 0);
}

TEST_F(AlsaMixer, UsesTheNextServerAfterALoss) {
    open();
    EXPECT_EQ(get("Master Playback Volume"), 100);
    mServer->kill(SIGKILL);
    mServer->wait();
    choose("Master Playback Volume");
    const auto begin = Clock::now();
    EXPECT_EQ(snd_ctl_elem_read(mCtl, mValue), -ENODEV);
    EXPECT_LT(Clock::now() - begin, generous(2s));
    mServer = std::make_unique<RealServer>();
    EXPECT_EQ(set("Master Playback Volume", 90), 1);
    EXPECT_EQ(get("Master Playback Volume"), 90);
}

TEST_F(AlsaMixer, IsNoneWithoutAServer) {
    EXPECT_EQ(snd_ctl_open_lconf(&mCtl, "cab", 0, mConfig.top()), -ENODEV);
}

TEST_F(AlsaMixer, OfAParentIsNotDisturbedByAChildThatCloses) {
    open();
    const pid_t child = fork();
    if (child == 0) {
        choose("Master Playback Volume");
        const int status = snd_ctl_elem_read(mCtl, mValue);
        snd_ctl_close(mCtl);
        _exit(status == -ENODEV ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(get("Master Playback Volume"), 100);
}

}  // namespace cabinaudio::test
