// SPDX-License-Identifier: Apache-2.0
//
// The catalogue of the settings against sizes and flags that are typed by hand.
#include "wire/SettingCatalogue.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>

namespace cabinaudio::wire {
namespace {

constexpr auto APP = AUDIO_CONNECT_APP_SETTING;
constexpr auto MIXER = AUDIO_CONNECT_MIXER_SETTING;
constexpr auto SOURCE = AUDIO_CONNECT_SOURCE_SETTING;
constexpr auto VOLUME = AUDIO_CONNECT_VOLUME_SETTING;
constexpr auto VERSION = AUDIO_CONNECT_VERSION_SETTING;
constexpr auto RECORD_CONTROL = AUDIO_CONNECT_RECORD_CONTROL;

struct Sizes {
    audio_connect_type type;
    std::uint32_t id;
    std::size_t request;
    std::size_t reply;
};

constexpr Sizes SIZES[] = {
    {VOLUME, 2, 8, 4},
    {VOLUME, 3, 8, 4},
    {VOLUME, 4, 8, 4},
    {VOLUME, 5, 4, 8},
    {VOLUME, 6, 12, 4},
    {VOLUME, 7, 8, 12},
    {VOLUME, 8, 12, 4},
    {VOLUME, 9, 12, 4},
    {VOLUME, 10, 16, 4},
    {VOLUME, 11, 8, 12},
    {VOLUME, 12, 16, 4},
    {VOLUME, 13, 8, 12},
    {VOLUME, 14, 8, 4},
    {VOLUME, 15, 4, 8},
    {VOLUME, 16, 8, 4},
    {VOLUME, 17, 4, 8},
    {VOLUME, 18, 136, 4},
    {VOLUME, 19, 132, 8},
    {VOLUME, 20, 8, 4},
    {VOLUME, 21, 4, 8},
    {VOLUME, 22, 8, 4},
    {VOLUME, 23, 4, 8},
    {VOLUME, 24, 136, 4},
    {VOLUME, 25, 132, 8},
    {VOLUME, 26, 8, 4},
    {VOLUME, 27, 12, 4},
    {VOLUME, 28, 8, 12},
    {VOLUME, 29, 8, 4},
    {VOLUME, 30, 4, 8},
    {VOLUME, 31, 8, 4},
    {VOLUME, 32, 4, 8},
    {VOLUME, 33, 8, 8},
    {VOLUME, 34, 72, 4},
    {VOLUME, 35, 68, 8},
    {VOLUME, 36, 4, 2056},
    {VOLUME, 37, 8, 4},
    {VOLUME, 38, 4, 4},
    {VOLUME, 39, 72, 4},
    {VOLUME, 40, 68, 8},
    {VOLUME, 41, 4, 4},
    {VOLUME, 42, 4, 12},
    {VOLUME, 43, 164, 4},
    {VOLUME, 44, 12, 4},
    {VOLUME, 45, 4, 12},
    {SOURCE, 2, 12, 4},
    {SOURCE, 3, 8, 4},
    {SOURCE, 4, 8, 4},
    {SOURCE, 5, 12, 4},
    {SOURCE, 6, 8, 8},
    {SOURCE, 8, 28, 4},
    {SOURCE, 9, 4, 28},
    {SOURCE, 10, 36, 4},
    {SOURCE, 11, 4, 36},
    {SOURCE, 12, 8, 4},
    {SOURCE, 14, 132, 4},
    {SOURCE, 15, 132, 4},
    {SOURCE, 16, 68, 4},
    {SOURCE, 17, 68, 4},
    {SOURCE, 18, 12, 4},
    {SOURCE, 19, 12, 4},
    {SOURCE, 20, 24, 4},
    {SOURCE, 21, 8, 4},
    {SOURCE, 22, 8, 4},
    {SOURCE, 23, 4, 8},
    {SOURCE, 24, 68, 68},
    {SOURCE, 25, 68, 68},
    {SOURCE, 26, 68, 8},
    {SOURCE, 27, 8, 4},
    {SOURCE, 28, 8, 4},
    {SOURCE, 30, 16, 4},
    {SOURCE, 32, 8, 1048},
    {SOURCE, 34, 8, 4},
    {SOURCE, 35, 132, 68},
    {SOURCE, 36, 68, 2056},
    {SOURCE, 37, 8, 8},
    {SOURCE, 38, 4, 6408},
    {APP, 11, 4, 20},
    {APP, 22, 12, 4},
    {APP, 23, 8, 8},
    {APP, 24, 8, 4},
    {APP, 25, 4, 8},
    {APP, 29, 4, 4},
    {APP, 30, 4, 4},
    {APP, 34, 4, 20},
    {APP, 35, 568, 4},
    {APP, 36, 8, 568},
    {APP, 37, 4, 4},
    {APP, 38, 4, 8},
    {APP, 40, 8, 4},
    {APP, 41, 4, 8},
    {APP, 42, 8, 4},
    {APP, 43, 4, 8},
    {APP, 44, 20, 4},
    {APP, 45, 8, 20},
    {APP, 46, 108, 4},
    {APP, 47, 8, 108},
    {APP, 48, 8, 4},
    {APP, 50, 8, 4},
    {APP, 4096, 136, 4},
    {APP, 4097, 132, 8},
    {APP, 4098, 136, 4},
    {APP, 4099, 136, 8},
    {MIXER, 2, 8, 4},
    {MIXER, 3, 8, 4},
    {MIXER, 4, 12, 4},
    {MIXER, 7, 12, 4},
    {MIXER, 8, 24, 4},
    {MIXER, 10, 24, 4},
    {MIXER, 11, 12, 4},
    {MIXER, 12, 4, 8},
    {RECORD_CONTROL, 0, 136, 4},
    {RECORD_CONTROL, 1, 136, 8},
    {VERSION, 0, 4, 32},
};

/// The functions that travel without the flag.
const std::set<std::pair<audio_connect_type, std::uint32_t>> WITHOUT_FLAG = {
    {VOLUME, 41}, {SOURCE, 12}, {SOURCE, 18}, {SOURCE, 19}, {SOURCE, 21},
    {SOURCE, 22}, {SOURCE, 23}, {SOURCE, 27}, {SOURCE, 28}, {SOURCE, 34},
    {APP, 40},    {APP, 41},    {APP, 42},    {APP, 43}};

TEST(SettingCatalogue, HasEachFunctionOnce) {
    std::set<std::pair<audio_connect_type, std::uint32_t>> seen;
    for (const SettingRow& row : settingRows())
        EXPECT_TRUE(seen.insert({row.connection, row.id}).second)
            << row.connection << " " << row.id;
    EXPECT_EQ(seen.size(), std::size(SIZES));
}

TEST(SettingCatalogue, HasTheSizesOfTheProtocol) {
    std::map<std::pair<audio_connect_type, std::uint32_t>, SettingRow> rows;
    for (const SettingRow& row : settingRows())
        rows[{row.connection, row.id}] = row;
    for (const Sizes& sizes : SIZES) {
        SCOPED_TRACE(testing::Message() << "type " << sizes.type << " id " << sizes.id);
        const SettingRow& row = rows[{sizes.type, sizes.id}];
        EXPECT_EQ(row.requestSize, sizes.request);
        EXPECT_EQ(row.replySize, sizes.reply);
        EXPECT_EQ(row.hasFlag, WITHOUT_FLAG.count({sizes.type, sizes.id}) == 0);
    }
}

TEST(SettingCatalogue, IsOrderedByIdWithinAConnectionType) {
    const SettingRow* before = nullptr;
    for (const SettingRow& row : settingRows()) {
        if (before != nullptr && before->connection == row.connection) {
            EXPECT_LT(before->id, row.id) << row.name;
        }
        before = &row;
    }
}

TEST(SettingCatalogue, FindsTheRecordsOfAFunctionAtCompileTime) {
    static_assert(std::is_same_v<RequestOf<VolumeFunction::SetTrackGain>, TrackGainRequest>);
    static_assert(std::is_same_v<ReplyOf<VolumeFunction::SetTrackGain>, StatusReply>);
    static_assert(std::is_same_v<ReplyOf<AppFunction::GetEffectParameter>, EffectReply>);
    // Equal numbers on other connections are other functions.
    static_assert(std::is_same_v<ReplyOf<RecordControlFunction::Set>, StatusReply>);
    static_assert(std::is_same_v<ReplyOf<VersionFunction::GetServerVersions>, VersionReply>);
    EXPECT_STREQ(SETTING<VolumeFunction::SetTrackGain>.name, "setTrackVolume");
    EXPECT_STREQ(SETTING<MixerFunction::SetUpMixMode>.name, "setUpMixMode");
}

}  // namespace
}  // namespace cabinaudio::wire
