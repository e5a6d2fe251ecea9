// SPDX-License-Identifier: Apache-2.0
//
// Lists in replies, for every count that the server may report.
#include "tests/interpose/Blocks.h"
#include "tests/settings/Row.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>

namespace cabinaudio::test {
namespace {

/// One getter of a list, whose items are shown as bytes.
struct List {
    const char* test;
    std::uint32_t type;
    std::uint32_t function;
    int slots;
    std::size_t slotSize;
    bool readsStatus;  // the server's status is the result
    std::function<int(const Clients&, std::vector<Bytes>&)> get;
};

Bytes bytesOf(const std::string& item) {
    return Bytes(item.begin(), item.end());
}
template <typename Record>
Bytes bytesOf(const Record& record) {
    return Bytes(record.opaque0, record.opaque0 + sizeof record.opaque0);
}

/// A getter whose caller has an item already; adds the caller's items afterwards as bytes.
template <typename Item, typename Get>
auto getterOf(const Item& kept, Get get) {
    return [=](const Clients& clients, std::vector<Bytes>& items) {
        std::vector<Item> list = {kept};
        const int result = get(clients, list);
        for (const Item& item : list)
            items.push_back(bytesOf(item));
        return result;
    };
}

class ReplyList : public ::testing::TestWithParam<List> {
protected:
    /// Names for lists of texts: they fill their slots to the last byte, and end nowhere.
    [[nodiscard]] Bytes slot(int at) const {
        return Bytes(list.slotSize, static_cast<std::uint8_t>('A' + at));
    }
    void answers(std::int32_t status, std::int32_t count, int slots) {
        Bytes body = joined({number(status), number(count)});
        for (int i = 0; i < slots; ++i)
            body = joined({body, slot(i)});
        server.on(list.type, list.function, Answer::bytes(body));
    }
    /// The first item is the caller's own, then come `count` slots.
    void expectItems(int count) const {
        ASSERT_EQ(items.size(), static_cast<std::size_t>(1 + count));
        for (int i = 0; i < count; ++i)
            EXPECT_EQ(items[static_cast<std::size_t>(1 + i)], slot(i)) << i;
    }

    const List list = GetParam();
    ScriptedServer server;
    LogCapture log;
    std::vector<Bytes> items;
};

TEST_P(ReplyList, IsAppendedAsFarAsTheReplyHasRoom) {
    const Clients clients(list.type);
    for (const int count :
         {INT_MIN, -1, 0, 1, 2, list.slots - 1, list.slots, list.slots + 1, INT_MAX}) {
        items.clear();
        answers(0, count, list.slots);
        EXPECT_EQ(list.get(clients, items), 0) << count;
        expectItems(std::clamp(count, 0, list.slots));
    }
}

TEST_P(ReplyList, IsAppendedForEachStatus) {
    const Clients clients(list.type);
    answers(-42, 3, list.slots);
    EXPECT_EQ(list.get(clients, items), list.readsStatus ? -42 : 0);
    expectItems(3);
}

TEST_P(ReplyList, HasEmptyItemsWhereTheReplyIsShort) {
    const Clients clients(list.type);
    answers(0, 3, 1);
    EXPECT_EQ(list.get(clients, items), 0);
    ASSERT_EQ(items.size(), 4U);
    EXPECT_EQ(items[1], slot(0));
    for (const std::size_t i : {2U, 3U})
        EXPECT_TRUE(
            std::all_of(items[i].begin(), items[i].end(), [](auto one) { return one == 0; }));

    items.clear();
    server.on(list.type, list.function, Answer::status(-42));
    EXPECT_EQ(list.get(clients, items), list.readsStatus ? -42 : 0);
    expectItems(0);
}

TEST_P(ReplyList, IsUnchangedWithoutAReply) {
    const Clients clients(list.type);
    Blocks blocks;
    blocks.loseReplies(true);
    EXPECT_EQ(list.get(clients, items), 1);
    expectItems(0);
}

std::vector<List> lists() {
    using OutputTrack = audio::audio_output_src_parameter_t;
    const std::string kept = "kept";
    return {
        {"OfStreamTypes", 131, 36, 32, 64, true,
         getterOf(kept, [](auto& c, auto& to) { return c.volume().getStreamTypeList(to); })},
        {"OfActiveTracksNames", 130, 36, 32, 64, false,
         getterOf(kept,
                  [](auto& c, auto& to) { return c.source().getActiveTracksName("main", to); })},
        {"OfActiveTracks", 130, 38, 32, 200, false,
         getterOf(audio::audio_track_info_t{},
                  [](auto& c, auto& to) { return c.source().getActiveTracksInfo(to); })},
        {"OfOutputTracks", 130, 32, 20, 52, true,
         getterOf(OutputTrack{},
                  [](auto& c, auto& to) {
                      return c.source().getOutPutTrackInfoList(audio::audio_output_src_tag_e{1},
                                                               to);
                  })},
    };
}

INSTANTIATE_TEST_SUITE_P(Items, ReplyList, ::testing::ValuesIn(lists()), TEST_NAME);

TEST(OutputTrackArray, IsFilledAndItsCountIsTheServers) {
    ScriptedServer server;
    ClientSourceSetting source;
    const LogCapture log;
    for (const int count : {INT_MIN, -1, 0, 20, 21, INT_MAX}) {
        server.on(130, 32, Answer::bytes(joined({word(0), number(count), pattern(1040)})));
        audio::audio_output_src_parameter_t tracks[21];
        std::memset(tracks, 0xee, sizeof tracks);
        int stored = 5;
        EXPECT_EQ(source.getOutputTrackInfo(audio::audio_output_src_tag_e{2}, tracks, &stored), 0);
        EXPECT_EQ(stored, count);
        EXPECT_EQ(std::memcmp(tracks, pattern(1040).data(), 1040), 0);
        EXPECT_EQ(bytesOf(tracks[20]), Bytes(52, 0xee));
        EXPECT_TRUE(logged(log, INFO, "ClientSourceSetting", "getOutputTrackInfo",
                           "get track info size: " + std::to_string(count) + "\n"));
    }
    EXPECT_EQ(log.lines().size(), 6U) << log.dump();
}

/// A class of the application's own in between.
class OutputTracks : public ClientSourceSetting {
public:
    int getOutputTrackInfo(audio::audio_output_src_tag_e tag,
                           audio::audio_output_src_parameter_t* parameters, int* count) override {
        EXPECT_EQ(tag, 0U);  // not looked at before
        EXPECT_EQ(*count, 0);
        for (int i = 0; i < 20; ++i)
            parameters[i].opaque0[0] = static_cast<std::uint8_t>(i);
        *count = counted;
        return -7;
    }
    int counted = 0;
};

TEST(OutputTrackList, ComesFromTheObjectsOwnOperation) {
    LogCapture log;
    OutputTracks source;
    for (const int count : {-1, 0, 2, 20, 21, INT_MAX}) {
        source.counted = count;
        std::vector<audio::audio_output_src_parameter_t> tracks;
        EXPECT_EQ(source.getOutPutTrackInfoList(audio::audio_output_src_tag_e{0}, tracks), -7);
        ASSERT_EQ(tracks.size(), static_cast<std::size_t>(std::clamp(count, 0, 20)));
        for (std::size_t i = 0; i < tracks.size(); ++i)
            EXPECT_EQ(tracks[i].opaque0[0], i);
    }
}

}  // namespace
}  // namespace cabinaudio::test
