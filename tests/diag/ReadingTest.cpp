// SPDX-License-Identifier: Apache-2.0
// Reading the diagnostics settings: without memory, beside words that only look like settings, and
// by a dump, which changes nothing.
#include <cabinaudio/diag/AudioConfig.h>
#include <cabinaudio/diag/AudioDump.h>

#include "tests/diag/FailingMemory.h"
#include "tests/support/ConfigDirectory.h"

#include <gtest/gtest.h>

#include <optional>

namespace cabinaudio::test {
namespace {

constexpr char SETTINGS[] =
    "# kept by hand\n"
    "Dump\n tag=main\n usage=client\n outPath=/nowhere/d\n"
    "Trace\n tag=main\n usage=client\n outPath=/nowhere/t\n"
    "Log\n level=6\n enMark=1\n";

TEST(ReadingSettings, WithoutMemoryKeepsWhatWasReadSoFar) {
    if (!FailingMemory::isPossible()) GTEST_SKIP() << "allocations cannot fail in this build";
    const ConfigDirectory directory;
    directory.write(SETTINGS);
    int failures = 0;
    bool hadDump = false;
    for (bool hasFailed = true; hasFailed;) {
        std::optional<AudioConfig> config;
        {
            const FailingMemory memory(failures + 1);
            ASSERT_NO_THROW(config.emplace(true)) << failures + 1;
            hasFailed = memory.hasFailed();
        }
        if (hasFailed) ++failures;
        const bool hasDump = config->getDumpItem("main", "client") != nullptr;
        const bool hasTrace = config->getTraceItem("main", "client") != nullptr;
        EXPECT_TRUE(hasDump || !hadDump) << "less was read with more memory";
        EXPECT_TRUE(hasDump || !hasTrace) << "the later item without the earlier one";
        EXPECT_EQ(config->getEnMark(), !hasFailed);
        hadDump = hasDump;
    }
    EXPECT_GT(failures, 1) << "nothing was allocated";
    EXPECT_TRUE(hadDump);
}

TEST(ReadingSettings, IgnoresKeywordsBehindOtherCharacters) {
    const ConfigDirectory directory;
    directory.write(
        "NoDump\n tag=main\n usage=client\n outPath=/nowhere\n"
        " Log\n level=6\n enMark=1\n"
        "Dump\n# tag=main\n usage=client\n outPath=/nowhere\n");
    AudioConfig config(true);
    EXPECT_EQ(config.getDumpItem("main", "client"), nullptr);
    EXPECT_EQ(config.getLogLevel(), AUDIO_LOG_LEVEL_INFO);
    EXPECT_FALSE(config.getEnMark());
}

TEST(ReadingSettings, ByADumpLeavesTheFileUnchanged) {
    const ConfigDirectory directory;
    directory.write(SETTINGS);
    {
        AudioDump dump(AUDIO_TAG_ALTERNATIVE, "name", "client", false);
        AudioDump another(directory.top().c_str(), "description", false);
    }
    EXPECT_EQ(directory.text(), SETTINGS);
}

}  // namespace
}  // namespace cabinaudio::test
