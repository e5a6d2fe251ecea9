// SPDX-License-Identifier: Apache-2.0
// The settings once they are read.
#include <cabinaudio/diag/AudioConfig.h>

#include "tests/support/ConfigDirectory.h"
#include "tests/support/Logged.h"
#include "tests/support/OnThreads.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string>

namespace cabinaudio::test {

/// One kind of item and its operations, so that both kinds pass the same tests. CTest shows their
/// names.
struct Dumps {
    using Item = AudioDumpItem;
    static constexpr char GET[] = "getDumpItem";
    static Item* get(AudioConfig& config, const char* tag, const char* usage) {
        return config.getDumpItem(tag, usage);
    }
    static void add(AudioConfig& config, Item& item) { config.addDumpItem(item); }
    static void remove(AudioConfig& config, Item& item) { config.removeDumpItem(item); }
    static void clear(AudioConfig& config) { config.clearDumpItem(); }
};

struct Traces {
    using Item = AudioTraceItem;
    static constexpr char GET[] = "getTraceItem";
    static Item* get(AudioConfig& config, const char* tag, const char* usage) {
        return config.getTraceItem(tag, usage);
    }
    static void add(AudioConfig& config, Item& item) { config.addTraceItem(item); }
    static void remove(AudioConfig& config, Item& item) { config.removeTraceItem(item); }
    static void clear(AudioConfig& config) { config.clearTraceItem(); }
};

namespace {

template <typename Kind>
class ItemList : public testing::Test {
protected:
    using Item = typename Kind::Item;

    Item* get(const char* tag, const char* usage) { return Kind::get(config, tag, usage); }
    void add(Item item) { Kind::add(config, item); }
    void remove(Item item) { Kind::remove(config, item); }

    const ConfigDirectory directory;
    const LogCapture log;
    AudioConfig config{true};
};

using Kinds = testing::Types<Dumps, Traces>;
TYPED_TEST_SUITE(ItemList, Kinds);

TYPED_TEST(ItemList, HasItemsOf384Bytes) {
    EXPECT_EQ(sizeof(typename TypeParam::Item), 384U);
    EXPECT_EQ(offsetof(typename TypeParam::Item, tag), 0U);
    EXPECT_EQ(offsetof(typename TypeParam::Item, usage), 64U);
    EXPECT_EQ(offsetof(typename TypeParam::Item, outPath), 128U);
}

TYPED_TEST(ItemList, KeepsCopies) {
    typename TypeParam::Item item = {"main", "client", "/tmp/d"};
    TypeParam::add(this->config, item);
    std::memset(&item, 'x', sizeof(item));
    const auto* const stored = this->get("main", "client");
    ASSERT_NE(stored, nullptr);
    EXPECT_NE(stored, &item);
    EXPECT_STREQ(stored->tag, "main");
    EXPECT_STREQ(stored->usage, "client");
    EXPECT_STREQ(stored->outPath, "/tmp/d");
}

TYPED_TEST(ItemList, LogsWhatItFindsWithTheNumberOfItems) {
    this->add({"main", "client", "/1"});
    this->add({"main", "driver", "/2"});
    this->add({"aux", "client", "/3"});
    EXPECT_STREQ(this->get("main", "driver")->outPath, "/2");
    EXPECT_TRUE(
        logged(this->log, INFO, "AudioConfig", TypeParam::GET, "01-03: tag:main usage:driver\n"));
    EXPECT_EQ(this->log.lines().size(), 1U) << this->log.dump();
}

TYPED_TEST(ItemList, LogsNumbersAbove99InFull) {
    for (int i = 0; i < 123; ++i) {
        typename TypeParam::Item item = {"", "client", ""};
        std::snprintf(item.tag, sizeof(item.tag), "tag%d", i);
        this->add(item);
    }
    EXPECT_NE(this->get("tag122", "client"), nullptr);
    EXPECT_TRUE(logged(this->log, INFO, "01-123: tag:tag122 usage:client\n"));
}

TYPED_TEST(ItemList, LogsNothingForAnUnknownPair) {
    this->add({"main", "client", "/1"});
    for (const char* const other : {"Main", "mai", "main ", ""})
        EXPECT_EQ(this->get(other, "client"), nullptr) << other;
    EXPECT_EQ(this->get("main", "Client"), nullptr);
    EXPECT_EQ(this->get(nullptr, "client"), nullptr);
    EXPECT_EQ(this->get("main", nullptr), nullptr);
    EXPECT_TRUE(logIsEmpty(this->log));
}

TYPED_TEST(ItemList, ReplacesOnlyThePathOfAKnownPair) {
    this->add({"main", "client", "/a/long/path"});
    this->add({"aux", "client", "/2"});
    const auto* const stored = this->get("main", "client");
    this->add({"main", "client", "/new"});
    EXPECT_EQ(this->get("main", "client"), stored);
    EXPECT_STREQ(stored->outPath, "/new");
    EXPECT_TRUE(logged(this->log, INFO, "01-02: tag:main usage:client\n", 2));
}

TYPED_TEST(ItemList, RemovesOnlyTheGivenPair) {
    this->add({"main", "client", "/1"});
    this->add({"main", "driver", "/2"});
    this->remove({"main", "client", "another path"});
    EXPECT_EQ(this->get("main", "client"), nullptr);
    EXPECT_STREQ(this->get("main", "driver")->outPath, "/2");
    this->remove({"main", "unknown", ""});
    EXPECT_NE(this->get("main", "driver"), nullptr);
}

TYPED_TEST(ItemList, IsEmptyAfterAClear) {
    TypeParam::clear(this->config);
    this->add({"main", "client", "/1"});
    this->add({"aux", "client", "/2"});
    TypeParam::clear(this->config);
    EXPECT_EQ(this->get("main", "client"), nullptr);
    this->add({"aux", "client", "/3"});
    EXPECT_STREQ(this->get("aux", "client")->outPath, "/3");
    EXPECT_TRUE(logged(this->log, INFO, "01-01: tag:aux usage:client\n"));
}

TYPED_TEST(ItemList, AcceptsItsOwnItemsAsArguments) {
    this->add({"main", "client", "/1"});
    auto* const stored = this->get("main", "client");
    TypeParam::add(this->config, *stored);
    EXPECT_STREQ(stored->outPath, "/1");
    TypeParam::remove(this->config, *stored);
    EXPECT_EQ(this->get("main", "client"), nullptr);
}

TYPED_TEST(ItemList, CutsTextsThatFillTheirField) {
    typename TypeParam::Item item;
    std::memset(&item, 'x', sizeof(item));
    this->add(item);
    const std::string name(63, 'x');
    const auto* const stored = this->get(name.c_str(), name.c_str());
    ASSERT_NE(stored, nullptr);
    EXPECT_EQ(stored->tag, name);
    EXPECT_EQ(stored->usage, name);
    EXPECT_EQ(stored->outPath, std::string(255, 'x'));
    this->add(item);  // the same pair: no second item
    this->remove(item);
    EXPECT_EQ(this->get(name.c_str(), name.c_str()), nullptr);
}

TEST(Settings, KeepAnyLevelAndTheMarkSwitch) {
    const ConfigDirectory directory;
    AudioConfig config(true);
    for (const int level : {3, 0, -1, 2147483647}) {
        config.setLogLevel(static_cast<AudioLogLevel>(level));
        EXPECT_EQ(config.getLogLevel(), level);
    }
    config.setEnMark(true);
    EXPECT_TRUE(config.getEnMark());
    config.setEnMark(false);
    EXPECT_FALSE(config.getEnMark());
}

TEST(Settings, OfTwoKindsAreSeparate) {
    const ConfigDirectory directory;
    AudioConfig config(true);
    AudioDumpItem dump = {"main", "client", "/d"};
    config.addDumpItem(dump);
    EXPECT_EQ(config.getTraceItem("main", "client"), nullptr);
    config.clearTraceItem();
    EXPECT_NE(config.getDumpItem("main", "client"), nullptr);
}

TEST(Settings, StayConsistentWithManyThreads) {
    const ConfigDirectory directory;
    AudioConfig config(true);
    onThreads(4, [&config](int number) {
        AudioDumpItem dump = {"", "client", "/d"};
        AudioTraceItem trace = {"shared", "client", "/t"};
        std::snprintf(dump.tag, sizeof(dump.tag), "tag%d", number);
        for (int i = 0; i < 500; ++i) {
            config.addDumpItem(dump);
            EXPECT_STREQ(config.getDumpItem(dump.tag, "client")->outPath, "/d");
            config.removeDumpItem(dump);
            config.addTraceItem(trace);
            config.setLogLevel(static_cast<AudioLogLevel>(i));
            config.setEnMark(config.getEnMark() || config.getLogLevel() < 500);
        }
    });
    EXPECT_TRUE(config.getEnMark());
    EXPECT_EQ(config.getLogLevel(), 499);
    EXPECT_EQ(config.getDumpItem("tag0", "client"), nullptr);
    EXPECT_NE(config.getTraceItem("shared", "client"), nullptr);
}

TEST(Settings, OfTwoObjectsAreIndependent) {
    const ConfigDirectory directory;
    AudioConfig reader(true);
    {
        AudioConfig writer(false);
        writer.setEnMark(true);
    }
    EXPECT_FALSE(reader.getEnMark());
    EXPECT_TRUE(AudioConfig(true).getEnMark());
}

}  // namespace
}  // namespace cabinaudio::test
