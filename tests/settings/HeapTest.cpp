// SPDX-License-Identifier: Apache-2.0
//
// Heap blocks that an operation costs its caller's thread: the two of its request, no more.
#include "tests/settings/Row.h"

#include <gtest/gtest.h>

#include <cstddef>

namespace {

// Of this thread only.
thread_local int tBlocks = 0;

}  // namespace

// The C library's own, by the names that it exports them under for this purpose.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t items, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);

void* malloc(std::size_t size) noexcept {
    ++tBlocks;
    return __libc_malloc(size);
}
void* calloc(std::size_t items, std::size_t size) noexcept {
    ++tBlocks;
    return __libc_calloc(items, size);
}
void* realloc(void* block, std::size_t size) noexcept {
    ++tBlocks;
    return __libc_realloc(block, size);
}
}

namespace cabinaudio::test {
namespace {

/// Blocks that a call asks for, the second time it is made.
template <typename Call>
int blocksOf(Call call) {
    EXPECT_EQ(call(), 0);
    const int before = tBlocks;
    const int result = call();
    const int blocks = tBlocks - before;
    EXPECT_EQ(result, 0);
    return blocks;
}

TEST(OperationHeapBlocks, AreTheTwoOfItsRequest) {
    ScriptedServer server;
    server.on(131, 36, Answer::words(0, 0));
    ClientVolumeSetting volume;
    ClientSourceSetting source;
    ClientAppSetting app;
    ClientMixerSetting mixer;
    ClientAudioRecordControl record;
    unsigned char steps = 0;
    float gain = 0;
    bool muted = false;
    int number = 0;
    audio::audio_ext_eq_parameter_t equalizer{};
    struct {
        audio::effect_param_t head{32};
        unsigned char data[32] = {};
    } effect;
    std::vector<std::string> names;

    EXPECT_EQ(blocksOf([&] { return volume.setMasterVolume(steps); }), 2);
    EXPECT_EQ(blocksOf([&] { return volume.getMasterVolume(&gain); }), 2);
    EXPECT_EQ(blocksOf([&] { return volume.setTrackVolume("main", "radio", 0.0F); }), 2);
    EXPECT_EQ(blocksOf([&] { return volume.getStreamTypeList(names); }), 2);
    EXPECT_EQ(blocksOf([&] { return volume.mute("main", true); }), 2);
    EXPECT_EQ(blocksOf([&] { return volume.getMuteState("main", muted); }), 2);
    EXPECT_EQ(blocksOf([&] { return volume.setFadeBalance(0, 0, 2); }), 8);
    EXPECT_EQ(blocksOf([&] { return source.getOutPutSource("main") != nullptr ? 0 : 1; }), 2);
    EXPECT_EQ(blocksOf([&] { return source.getActiveTracksName("main", names); }), 2);
    EXPECT_EQ(blocksOf([&] { return source.setHwAutoRampMode(true); }), 2);
    EXPECT_EQ(blocksOf([&] { return app.setEqualizer(&equalizer); }), 2);
    EXPECT_EQ(blocksOf([&] { return app.getEqualizer(&equalizer); }), 2);
    EXPECT_EQ(blocksOf([&] { return app.getDuplexOfAEC(&number); }), 2);
    EXPECT_EQ(blocksOf([&] { return app.setEffectParameter("main", "reverb", effect.head); }), 2);
    EXPECT_EQ(blocksOf([&] { return mixer.setUpMixMode(1); }), 2);
    EXPECT_EQ(blocksOf([&] { return record.set("uplink", "noise", effect.head); }), 2);
    EXPECT_TRUE(names.empty());
}

TEST(OperationHeapBlocks, AreNoneWhenItIsRefused) {
    ScriptedServer server;
    ClientVolumeSetting volume;
    float gain = 0;
    const auto refused = [&] { return volume.setUpLinkGain(gain); };
    EXPECT_EQ(blocksOf(refused), 2);
    const int before = tBlocks;
    EXPECT_EQ(volume.setMasterVolume(static_cast<unsigned char>(149)), REFUSED);
    EXPECT_EQ(volume.getTrackVolume("second", "radio", &gain), REFUSED);
    EXPECT_EQ(tBlocks, before);
}

}  // namespace
}  // namespace cabinaudio::test
