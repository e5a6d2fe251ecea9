// SPDX-License-Identifier: Apache-2.0
//
// The catalogue of the settings against the bytes of the rows, which are typed by hand.
#include "tests/settings/Row.h"
#include "wire/Settings.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <map>
#include <utility>
#include <vector>

namespace cabinaudio::wire {
namespace {

using test::OperationRow;

/// Connection type and function id.
using Function = std::pair<std::uint32_t, std::uint32_t>;

std::vector<OperationRow> allRows() {
    return test::rowsWhere([](const OperationRow&) { return true; });
}

std::uint32_t wordOf(const test::Bytes& bytes, std::size_t at) {
    std::uint32_t word = 0;
    if (at + sizeof word <= bytes.size()) std::memcpy(&word, bytes.data() + at, sizeof word);
    return word;
}

/// Whether a request of these bytes has a block behind its record.
bool hasBlock(const OperationRow& row) {
    return row.type == test::RECORD_CONTROL ||
           (row.type == test::APP &&
            (wordOf(row.request, 0) == 4098 || wordOf(row.request, 0) == 4099));
}

TEST(SettingCatalogue, HasEachFunctionOnce) {
    std::map<Function, int> times;
    for (const SettingRow& row : settingRows())
        ++times[{row.connection, row.id}];
    for (const auto& [function, count] : times)
        EXPECT_EQ(count, 1) << function.first << " " << function.second;
    EXPECT_EQ(times.size(), SETTING_COUNT);
}

TEST(SettingCatalogue, HasTheSizesAndCommandsOfTheRows) {
    std::map<Function, SettingRow> catalogue;
    for (const SettingRow& row : settingRows())
        catalogue[{row.connection, row.id}] = row;
    for (const OperationRow& row : allRows()) {
        SCOPED_TRACE(row.test);
        const auto found = catalogue.find({row.type, wordOf(row.request, 0)});
        ASSERT_NE(found, catalogue.end());
        const std::size_t block = hasBlock(row) ? wordOf(row.request, 132) : 0;
        const SettingRow& entry = found->second;
        EXPECT_EQ(entry.requestSize + block, row.request.size());
        EXPECT_EQ(entry.replySize + (entry.returnsBlock ? block : 0), row.replySize);
        EXPECT_EQ(entry.hasFlag, row.command == 198);
    }
}

TEST(SettingCatalogue, HasARowForEachFunction) {
    std::map<Function, int> rows;
    for (const OperationRow& row : allRows())
        ++rows[{row.type, wordOf(row.request, 0)}];
    forEachSetting([&](const auto& setting) {
        if (setting.CONNECTION == AUDIO_CONNECT_VERSION_SETTING) return;
        EXPECT_GE((rows[{setting.CONNECTION, static_cast<std::uint32_t>(setting.ID)}]), 1)
            << setting.name;
    });
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
