// SPDX-License-Identifier: Apache-2.0
// A write-back of the diagnostics settings that does not succeed.
#include <cabinaudio/diag/AudioConfig.h>

#include "tests/diag/FailingMemory.h"
#include "tests/support/ConfigDirectory.h"
#include "tests/support/Logged.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>

namespace cabinaudio::test {
namespace {

constexpr char NO_MEMORY[] =
    "Failed to open file(w):/media/flash/nvm/as_server/audio_config, "
    "error:Cannot allocate memory(12)\n";
constexpr char NO_SPACE[] =
    "Failed to open file(w):/media/flash/nvm/as_server/audio_config, "
    "error:No space left on device(28)\n";

/// Settings with something of each kind to write.
void fill(AudioConfig& config) {
    AudioDumpItem dump = {"main", "client", "/tmp/d"};
    AudioTraceItem trace = {"main", "client", "/tmp/t"};
    config.addDumpItem(dump);
    config.addTraceItem(trace);
    config.setLogLevel(static_cast<AudioLogLevel>(-2147483647 - 1));
}

TEST(WriteBack, IsLoggedAndLostWithoutMemory) {
    if (!FailingMemory::isPossible()) GTEST_SKIP() << "allocations cannot fail in this build";
    const ConfigDirectory directory;
    LogCapture log;
    int failures = 0;
    for (bool hasFailed = true; hasFailed;) {
        std::optional<AudioConfig> config(std::in_place, false);
        fill(*config);
        log.clear();
        const FailingMemory memory(failures + 1);
        config.reset();
        hasFailed = memory.hasFailed();
        if (!hasFailed) break;
        ++failures;
        EXPECT_TRUE(logged(log, ERROR, "AudioConfig", "_storeConfigItems", NO_MEMORY)) << failures;
        EXPECT_EQ(log.lines().size(), 1U) << log.dump();
    }
    EXPECT_GT(failures, 0) << "nothing was allocated";
    EXPECT_TRUE(logIsEmpty(log));
    EXPECT_EQ(directory.text(),
              "Dump\n tag=main\n usage=client\n outPath=/tmp/d\n"
              "Trace\n tag=main\n usage=client\n outPath=/tmp/t\n"
              "Log\n level=-2147483648\n enMark=0\n");
}

TEST(WriteBack, IsLoggedAndLostOnAFullDisk) {
    const ConfigDirectory directory;
    const LogCapture log;
    std::filesystem::create_symlink("/dev/full", directory.file());
    {
        AudioConfig config(false);
        fill(config);
    }
    EXPECT_TRUE(logged(log, ERROR, "AudioConfig", "_storeConfigItems", NO_SPACE));
    EXPECT_EQ(log.lines().size(), 1U) << log.dump();
}

}  // namespace
}  // namespace cabinaudio::test
