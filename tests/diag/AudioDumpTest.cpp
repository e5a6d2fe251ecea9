// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/diag/AudioDump.h>
#include <cabinaudio/foundation/AudioTime.h>

#include "tests/diag/FrozenClock.h"
#include "tests/support/ConfigDirectory.h"
#include "tests/support/Logged.h"
#include "tests/support/ProcessState.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <regex>
#include <string>
#include <vector>

namespace cabinaudio::test {
namespace {

constexpr char FLUSH_FAILED[] = "AUDIO IGNORE(mFile.flush())!\n";
constexpr char SYNC_FAILED[] = "AUDIO IGNORE(fsync(mFile.fd()) == 0)!\n";

std::string pointerText(const void* pointer) {
    char text[32];
    std::snprintf(text, sizeof(text), "%" PRIXPTR, reinterpret_cast<std::uintptr_t>(pointer));
    return text;
}

void write(AudioDump& dump, const std::string& bytes) {
    dump.write(reinterpret_cast<const unsigned char*>(bytes.data()),
               static_cast<unsigned>(bytes.size()));
}

class ConfiguredDump : public testing::Test {
protected:
    /// The directory that dumps go to; it does not exist at first.
    [[nodiscard]] std::string dir() const { return directory.top() / "d"; }

    void configure(const std::string& tag, const std::string& usage, const std::string& path) {
        directory.write(directory.text() + "Dump\n tag=" + tag + "\n usage=" + usage +
                        "\n outPath=" + path + "\n");
    }

    /// Names of the dump files, sorted.
    [[nodiscard]] std::vector<std::string> files() const {
        std::vector<std::string> names;
        std::error_code missing;
        for (const auto& entry : std::filesystem::directory_iterator(dir(), missing))
            names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }

    /// Content of the only dump file.
    [[nodiscard]] std::string dumped() const {
        const auto names = files();
        return names.size() == 1 ? contentsOf(dir() + "/" + names[0])
                                 : std::to_string(names.size()) + " files";
    }

    [[nodiscard]] std::size_t linesOfTheDump() const {
        const auto lines = log.lines();
        return static_cast<std::size_t>(std::count_if(lines.begin(), lines.end(), [](auto& line) {
            return line.text.rfind("[AudioDump]", 0) == 0;
        }));
    }

    const ConfigDirectory directory;
    const LogCapture log;
};

using DumpInADirectory = ConfiguredDump;
using DriverDump = ConfiguredDump;

/// Dumps of an application's main stream.
class Dump : public ConfiguredDump {
protected:
    Dump() { configure("main", "client", dir()); }

    /// One that gets these bytes.
    static void dump(const std::string& bytes) {
        AudioDump dump(AUDIO_TAG_MAIN, "nav", "client", false);
        write(dump, bytes);
    }
};

TEST_F(ConfiguredDump, WritesTheBytesOfAConfiguredStream) {
    configure("uplink", "client", dir());
    {
        AudioDump dump(AUDIO_TAG_UPLINK, "mic", "client", false);
        write(dump, "abc");
        write(dump, std::string("\0\xff\n", 3));
    }
    EXPECT_EQ(dumped(), std::string("abc\0\xff\n", 6));
    EXPECT_TRUE(
        logged(log, INFO, "AudioDump", "AudioDump",
               "AUDIO DUMP INIT, tag=uplink, name=mic, usage=client, outPath=" + dir() + ".\n"));
}

TEST_F(ConfiguredDump, NamesItsFileAfterTheStreamAndTheClock) {
    const std::string name(70, 'n');
    const std::string usage(70, 'u');
    const struct {
        AudioTagType tag;
        std::string tagText;
        std::string name;
        std::string usage;
        std::uint64_t time;
        std::string expected;
    } rows[] = {
        {AUDIO_TAG_MAIN, "main", "nav", "client", 5000000, "main_nav_client_5000000.pcm"},
        {AUDIO_TAG_MAIN, "main", "nav", "client", 1234567890123456,
         "main_nav_client_1234567890123456.pcm"},
        {AUDIO_TAG_UNKNOWN, "", "x", "client", 7, "_x_client_7.pcm"},
        {AUDIO_TAG_MAIN, "main", name, usage, 7,
         "main_" + name.substr(0, 63) + "_" + usage.substr(0, 63) + "_7.pcm"},
    };
    for (const auto& row : rows) {
        std::filesystem::remove_all(dir());
        directory.write("");
        configure(row.tagText, row.usage, dir());
        const FrozenClock clock(row.time);
        { const AudioDump dump(row.tag, row.name.c_str(), row.usage.c_str(), false); }
        EXPECT_EQ(files(), std::vector<std::string>{row.expected});
    }
}

TEST_F(Dump, HasTheTimeOfOpeningInItsFileName) {
    const std::uint64_t before = AudioTime::now();
    { const AudioDump dump(AUDIO_TAG_MAIN, "nav", "client", false); }
    const std::uint64_t after = AudioTime::now();
    ASSERT_EQ(files().size(), 1U);
    std::smatch name;
    const std::string file = files()[0];
    ASSERT_TRUE(std::regex_match(file, name, std::regex("main_nav_client_([0-9]+)\\.pcm"))) << file;
    EXPECT_GE(std::stoull(name[1]), before);
    EXPECT_LE(std::stoull(name[1]), after);
}

TEST_F(ConfiguredDump, IgnoresAStreamThatIsNotConfigured) {
    configure("uplink", "client", dir());
    {
        AudioDump otherTag(AUDIO_TAG_INPUT0, "mic", "client", false);
        AudioDump otherUsage(AUDIO_TAG_UPLINK, "mic", "server", false);
        write(otherTag, "abc");
        write(otherUsage, "abc");
    }
    EXPECT_TRUE(files().empty());
    EXPECT_EQ(linesOfTheDump(), 0U) << log.dump();
}

TEST_F(ConfiguredDump, IgnoresAStreamWithAnEmptyPath) {
    configure("uplink", "client", "");
    {
        AudioDump dump(AUDIO_TAG_UPLINK, "mic", "client", false);
        write(dump, "abc");
    }
    EXPECT_EQ(linesOfTheDump(), 0U) << log.dump();
}

TEST_F(Dump, RefusesMissingTexts) {
    const char* const usage = "client";
    {
        AudioDump noName(AUDIO_TAG_MAIN, nullptr, usage, false);
        AudioDump noUsage(AUDIO_TAG_MAIN, usage, nullptr, false);
        write(noName, "abc");
        write(noUsage, "abc");
    }
    EXPECT_TRUE(files().empty());
    const std::string text = pointerText(usage);
    EXPECT_TRUE(logged(log, ERROR, "AudioDump", "AudioDump",
                       "Invalid params, name=0, usage=" + text + ".\n"));
    EXPECT_TRUE(logged(log, ERROR, "Invalid params, name=" + text + ", usage=0.\n"));
}

TEST_F(Dump, CannotBeResumedWithoutItsTexts) {
    AudioDump dump(AUDIO_TAG_MAIN, nullptr, "client", false);
    dump.resume(true);
    write(dump, "abc");
    EXPECT_TRUE(logged(log, ERROR, "Failed to resume dump cause NULL item/outPath.\n"));
    EXPECT_TRUE(files().empty());
}

TEST_F(Dump, MakesItsDirectoryAndLogsAFailure) {
    { const AudioDump first(AUDIO_TAG_MAIN, "a", "client", false); }
    struct stat made = {};
    ASSERT_EQ(stat(dir().c_str(), &made), 0);
    EXPECT_EQ(made.st_mode & 0777, 0700U);
    const std::string expression = "Failed to mkdir:" + dir() + "\\(strerror=.*\\)\n";
    EXPECT_TRUE(loggedLike(log, DEBUG, expression));
    EXPECT_TRUE(loggedLike(log, WARN, ".*", 0));
    { const AudioDump second(AUDIO_TAG_MAIN, "b", "client", false); }
    EXPECT_TRUE(loggedLike(log, DEBUG, expression));
    EXPECT_EQ(files().size(), 2U);
}

TEST_F(ConfiguredDump, MakesOnlyTheLastLevelAndLogsAFileThatCannotBeOpened) {
    const std::string deep = dir() + "/missing";
    configure("main", "client", deep);
    {
        const FrozenClock clock(5000000);
        AudioDump dump(AUDIO_TAG_MAIN, "nav", "client", false);
        write(dump, "abc");
    }
    EXPECT_FALSE(std::filesystem::exists(dir()));
    EXPECT_TRUE(logged(log, WARN, "AudioDump", "_init",
                       "Failed to open dump out file:" + deep +
                           "/main_nav_client_5000000.pcm,error:No such file or directory(2)\n"));
    EXPECT_TRUE(loggedLike(log, DEBUG, ".*", 0));
}

TEST_F(Dump, IgnoresEmptyWrites) {
    {
        AudioDump dump(AUDIO_TAG_MAIN, "nav", "client", false);
        const unsigned char byte = 1;
        dump.write(&byte, 0);
        dump.write(nullptr, 10);
        dump.write(nullptr, 0);
    }
    EXPECT_EQ(dumped(), "");
}

TEST_F(Dump, KeepsTheOrderOfManyWrites) {
    std::string expected;
    {
        AudioDump dump(AUDIO_TAG_MAIN, "nav", "client", false);
        for (unsigned i = 0; i < 2000; ++i) {
            const std::string piece(i % 700, static_cast<char>(i));
            write(dump, piece);
            expected += piece;
        }
    }
    EXPECT_EQ(dumped(), expected);
}

TEST_F(ConfiguredDump, OfTheSameMicrosecondTruncatesTheEarlierFileUnlessItAppends) {
    const FrozenClock clock(5000000);
    const struct {
        const char* usage;
        bool appends;
        const char* expected;
    } rows[] = {
        {"client", false, "2nd"}, {"client", true, "first2nd"}, {"driver", true, "first2nd"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.usage) + (row.appends ? " appends" : ""));
        std::filesystem::remove_all(dir());
        directory.write("");
        configure("main", row.usage, dir());
        for (const char* const bytes : {"first", "2nd"}) {
            AudioDump dump(AUDIO_TAG_MAIN, "nav", row.usage, row.appends);
            if (row.usage == std::string("driver")) dump.resume(true);
            write(dump, bytes);
        }
        EXPECT_EQ(dumped(), row.expected);
    }
}

TEST_F(ConfiguredDump, CutsTheFileNameTo255Characters) {
    std::string longDir = directory.top();
    while (longDir.size() < 200)
        longDir += "/" + std::string(20, 'l');
    longDir += "/" + std::string(245 - longDir.size() - 1, 'e');
    std::filesystem::create_directories(longDir);
    {
        const FrozenClock clock(5000000);
        AudioDump dump(longDir.c_str(), "description", false);
        write(dump, "abc");
    }
    EXPECT_EQ(contentsOf(longDir + "/descripti"), "abc");  // 245 + 1 + 9
}

TEST_F(Dump, ClosesItsFile) {
    const ProcessState before = ProcessState::now();
    {
        const AudioDump dump(AUDIO_TAG_MAIN, "nav", "client", false);
        EXPECT_EQ(ProcessState::now().descriptors, before.descriptors + 1);
    }
    EXPECT_EQ(ProcessState::now().descriptors, before.descriptors);
}

TEST_F(Dump, FlushesAndSyncsWithoutALogLine) {
    dump("abc");
    EXPECT_TRUE(logged(log, DEBUG, FLUSH_FAILED, 0));
    EXPECT_TRUE(logged(log, DEBUG, SYNC_FAILED, 0));
}

TEST_F(ConfiguredDump, LogsAFileThatCannotBeSynced) {
    std::filesystem::create_directory(dir());
    const std::string pipe = dir() + "/desc_ignored_ignored_5000000.pcm";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const int reader = open(pipe.c_str(), O_RDWR | O_CLOEXEC);  // keeps the dump from blocking
    ASSERT_GE(reader, 0);
    {
        const FrozenClock clock(5000000);
        AudioDump dump(dir().c_str(), "desc", false);
        write(dump, "abc");
    }
    char bytes[4] = {};
    EXPECT_EQ(read(reader, bytes, 3), 3);
    EXPECT_STREQ(bytes, "abc");
    close(reader);
    EXPECT_TRUE(logged(log, DEBUG, "AudioDump", "_deinit", SYNC_FAILED));
    EXPECT_TRUE(logged(log, DEBUG, FLUSH_FAILED, 0));
}

TEST_F(Dump, DropsBytesWhileItIsPaused) {
    {
        AudioDump dump(AUDIO_TAG_MAIN, "nav", "client", false);
        write(dump, "before");
        dump.resume(false);
        write(dump, "paused");
    }
    EXPECT_EQ(dumped(), "before");
}

TEST_F(Dump, EndsWhenItIsResumedWhileItsFileIsOpen) {
    {
        AudioDump dump(AUDIO_TAG_MAIN, "nav", "client", false);
        write(dump, "before");
        dump.resume(false);
        dump.resume(true);
        write(dump, "after");
    }
    EXPECT_EQ(dumped(), "before");  // no second file, and the failed stream drops the rest
    EXPECT_TRUE(loggedLike(log, WARN, ".*", 0));
    EXPECT_TRUE(logged(log, DEBUG, "AudioDump", "_deinit", FLUSH_FAILED));
    EXPECT_TRUE(logged(log, DEBUG, SYNC_FAILED, 0));
}

TEST_F(ConfiguredDump, UsesTheSettingsOfItsConstruction) {
    configure("main", "driver", dir());
    AudioDump dump(AUDIO_TAG_MAIN, "nav", "driver", false);
    directory.write("");
    dump.resume(true);
    EXPECT_EQ(files().size(), 1U);
    AudioDump later(AUDIO_TAG_MAIN, "nav", "driver", false);
    later.resume(true);
    EXPECT_EQ(files().size(), 1U);
    EXPECT_TRUE(logged(log, ERROR, "Failed to resume dump cause NULL item/outPath.\n"));
}

TEST_F(DriverDump, WritesOnlyAfterItsResume) {
    configure("main", "driver", dir());
    {
        AudioDump dump(AUDIO_TAG_MAIN, "nav", "driver", false);
        EXPECT_TRUE(log.lines().size() == 1 && log.has(INFO, "Parse dump item success.\n"))
            << log.dump();
        write(dump, "early");
        EXPECT_TRUE(files().empty());
        dump.resume(true);
        write(dump, "now");
    }
    EXPECT_EQ(dumped(), "now");
}

TEST_F(DriverDump, StaysPausedWithoutAnItem) {
    AudioDump dump(AUDIO_TAG_MAIN, "nav", "driver", false);
    dump.resume(true);
    write(dump, "abc");
    EXPECT_TRUE(logged(log, ERROR, "AudioDump", "resume",
                       "Failed to resume dump cause NULL item/outPath.\n"));
}

TEST_F(DriverDump, StaysPausedWithAnEmptyPath) {
    configure("main", "driver", "");
    AudioDump dump(AUDIO_TAG_MAIN, "nav", "driver", false);
    dump.resume(true);
    EXPECT_TRUE(logged(log, ERROR, "Failed to resume dump cause NULL item/outPath.\n"));
}

TEST_F(DumpInADirectory, NeedsNoSettings) {
    {
        const FrozenClock clock(5000000);
        AudioDump dump(dir().c_str(), "desc", false);
        write(dump, "abc");
    }
    EXPECT_EQ(files(), std::vector<std::string>{"desc_ignored_ignored_5000000.pcm"});
    EXPECT_EQ(dumped(), "abc");
    EXPECT_TRUE(logged(log, INFO, "AudioDump", "AudioDump",
                       "AUDIO DUMP INIT, dumpFullPath=" + dir() + ".\n"));
}

TEST_F(DumpInADirectory, RefusesMissingArguments) {
    const char* const text = "desc";
    {
        AudioDump noPath(nullptr, text, false);
        AudioDump noText(text, nullptr, false);
        write(noPath, "abc");
        write(noText, "abc");
    }
    const std::string pointer = pointerText(text);
    EXPECT_TRUE(logged(log, ERROR, "AudioDump", "AudioDump",
                       "Invalid params, dumpFullPath=0, desc=" + pointer + ".\n"));
    EXPECT_TRUE(logged(log, ERROR, "Invalid params, dumpFullPath=" + pointer + ", desc=0.\n"));
    EXPECT_EQ(linesOfTheDump(), 2U) << log.dump();
}

TEST_F(DumpInADirectory, ContinuesWhenAResumeFails) {
    {
        AudioDump dump(dir().c_str(), "desc", false);
        write(dump, "one");
        dump.resume(true);  // there is no item for the empty texts
        write(dump, "two");
    }
    EXPECT_TRUE(logged(log, ERROR, "Failed to resume dump cause NULL item/outPath.\n"));
    EXPECT_EQ(dumped(), "onetwo");
}

}  // namespace
}  // namespace cabinaudio::test
