// SPDX-License-Identifier: Apache-2.0
// Reading and writing the diagnostics file.
#include <cabinaudio/diag/AudioConfig.h>

#include "tests/support/ConfigDirectory.h"
#include "tests/support/Logged.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <locale>
#include <string>

namespace cabinaudio::test {
namespace {

constexpr char MKDIR_LINE[] = "Failed to mkdir:/media/flash/nvm/as_server\\(strerror=.*\\)\n";
constexpr char DUMP_READ[] = "Parse dump item success.\n";
constexpr char TRACE_READ[] = "Parse trace item success.\n";
constexpr char LOG_READ[] = "Parse log item success.\n";

std::string block(const std::string& keyword, const std::string& tag, const std::string& usage,
                  const std::string& outPath) {
    return keyword + "\n tag=" + tag + "\n usage=" + usage + "\n outPath=" + outPath + "\n";
}

const std::string MAIN_DUMP = block("Dump", "main", "client", "/tmp/d");

std::string outPath(const AudioDumpItem* item) {
    return item != nullptr ? item->outPath : "no item";
}
std::string outPath(const AudioTraceItem* item) {
    return item != nullptr ? item->outPath : "no item";
}

class DiagnosticsFile : public testing::Test {
protected:
    const ConfigDirectory directory;
    const LogCapture log;
};

class NumbersWithSeparators : public std::numpunct<char> {
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST_F(DiagnosticsFile, LeavesTheDefaultsWhenItIsMissing) {
    AudioConfig config(true);
    EXPECT_EQ(config.getLogLevel(), 4);
    EXPECT_FALSE(config.getEnMark());
    EXPECT_EQ(config.getDumpItem("main", "x"), nullptr);
    EXPECT_EQ(config.getTraceItem("main", "x"), nullptr);
    EXPECT_TRUE(logIsEmpty(log));
}

TEST_F(DiagnosticsFile, LeavesTheDefaultsWhenItIsUnreadable) {
    std::filesystem::create_directory(directory.file());
    AudioConfig config(true);
    EXPECT_EQ(config.getLogLevel(), 4);
    EXPECT_EQ(config.getDumpItem("main", "client"), nullptr);
}

TEST_F(DiagnosticsFile, GivesLevelAndMarkSwitch) {
    directory.write("Log\n level=2\n enMark=1\n");
    AudioConfig config(true);
    EXPECT_EQ(config.getLogLevel(), 2);
    EXPECT_TRUE(config.getEnMark());
    EXPECT_TRUE(logged(log, INFO, "AudioConfig", "_parseLogItem", LOG_READ));
    EXPECT_EQ(log.lines().size(), 1U) << log.dump();
}

TEST_F(DiagnosticsFile, GivesDumpItems) {
    directory.write(MAIN_DUMP + block("Dump", "uplink", "driver", "/tmp/u"));
    AudioConfig config(true);
    EXPECT_TRUE(logged(log, INFO, "AudioConfig", "_parseDumpItem", DUMP_READ, 2));
    EXPECT_EQ(outPath(config.getDumpItem("main", "client")), "/tmp/d");
    EXPECT_EQ(outPath(config.getDumpItem("uplink", "driver")), "/tmp/u");
    EXPECT_EQ(config.getTraceItem("main", "client"), nullptr);
}

TEST_F(DiagnosticsFile, GivesTraceItems) {
    directory.write(block("Trace", "main", "client", "/tmp/t"));
    AudioConfig config(true);
    EXPECT_TRUE(logged(log, INFO, "AudioConfig", "_parseTraceItem", TRACE_READ));
    EXPECT_EQ(outPath(config.getTraceItem("main", "client")), "/tmp/t");
    EXPECT_EQ(config.getDumpItem("main", "client"), nullptr);
}

TEST_F(DiagnosticsFile, MayMixBlocksAndForeignLines) {
    directory.write("# by hand\n\n" + block("Trace", "a", "b", "/t") +
                    "Log\n level=6\n enMark=1\n" + " tag=stray\n" + MAIN_DUMP +
                    "dump\n Dump\nend\n" + block("Trace", "c", "d", "/u"));
    AudioConfig config(true);
    EXPECT_EQ(config.getLogLevel(), 6);
    EXPECT_EQ(outPath(config.getTraceItem("a", "b")), "/t");
    EXPECT_EQ(outPath(config.getTraceItem("c", "d")), "/u");
    EXPECT_EQ(outPath(config.getDumpItem("main", "client")), "/tmp/d");
    EXPECT_TRUE(logged(log, INFO, DUMP_READ));
}

TEST_F(DiagnosticsFile, AcceptsKeywordsWithMoreLetters) {
    directory.write(block("Dumpster", "a", "b", "/d") + block("Tracery", "a", "b", "/t") +
                    "Logbook\n level=5\n enMark=1\n");
    AudioConfig config(true);
    EXPECT_EQ(outPath(config.getDumpItem("a", "b")), "/d");
    EXPECT_EQ(outPath(config.getTraceItem("a", "b")), "/t");
    EXPECT_EQ(config.getLogLevel(), 5);
}

TEST_F(DiagnosticsFile, IgnoresPartsOfKeywords) {
    directory.write(block("Dum", "a", "b", "/d") + block("Trac", "a", "b", "/t") +
                    "Lo\n level=5\n enMark=1\n");
    AudioConfig config(true);
    EXPECT_EQ(config.getDumpItem("a", "b"), nullptr);
    EXPECT_EQ(config.getTraceItem("a", "b"), nullptr);
    EXPECT_EQ(config.getLogLevel(), 4);
}

TEST_F(DiagnosticsFile, KeepsOneItemPerPairWithTheLastPath) {
    directory.write(MAIN_DUMP + block("Dump", "aux", "client", "/tmp/a") +
                    block("Dump", "main", "client", "/tmp/second"));
    AudioConfig config(true);
    EXPECT_EQ(outPath(config.getDumpItem("main", "client")), "/tmp/second");
    EXPECT_TRUE(logged(log, INFO, "01-02: tag:main usage:client\n"));
    EXPECT_TRUE(logged(log, INFO, DUMP_READ, 3));
}

TEST_F(DiagnosticsFile, DropsAnItemWithAWrongLineAndThatLine) {
    // Were the usage line looked at again, nothing would change; were "Dump" or "Log" in the place
    // of a value line, a block would start.
    directory.write(
        "Dump\n usage=client\n tag=main\n usage=client\n outPath=/tmp/d\n"
        "Dump\nDump\n tag=one\n usage=client\n outPath=/tmp/1\n"
        "Dump\n tag=two\nLog\n level=6\n enMark=1\n"
        "Dump\n tag=three\n usage=client\nTrace\n tag=x\n usage=y\n outPath=/z\n"
        "Dump\ntag=four\n usage=client\n outPath=/tmp/4\n" +
        block("Dump", "five", "c", "/5"));
    AudioConfig config(true);
    for (const char* const dropped : {"main", "one", "two", "three", "four"})
        EXPECT_EQ(config.getDumpItem(dropped, "client"), nullptr) << dropped;
    EXPECT_EQ(config.getTraceItem("x", "y"), nullptr);
    EXPECT_EQ(config.getLogLevel(), 4);
    EXPECT_EQ(outPath(config.getDumpItem("five", "c")), "/5");
    EXPECT_TRUE(logged(log, INFO, DUMP_READ));
    EXPECT_TRUE(logged(log, INFO, TRACE_READ, 0));
}

TEST_F(DiagnosticsFile, KeepsANewLevelEvenWithoutAMarkLine) {
    directory.write("Log\n level=2\n enMark=1\nLog\n level=3\nLog\n level=6\n enMark=0\n");
    AudioConfig config(true);
    EXPECT_EQ(config.getLogLevel(), 3);  // the third "Log" was taken for the mark line
    EXPECT_TRUE(config.getEnMark());
    EXPECT_TRUE(logged(log, INFO, LOG_READ));
}

TEST_F(DiagnosticsFile, ChangesNothingInALogBlockWithoutLevel) {
    directory.write("Log\n enMark=1\n level=2\n");
    AudioConfig config(true);
    EXPECT_EQ(config.getLogLevel(), 4);
    EXPECT_FALSE(config.getEnMark());
}

TEST_F(DiagnosticsFile, ReadsAnyDecimalNumber) {
    const struct {
        const char* text;
        int level;
    } rows[] = {{"-3", -3},
                {" 7x", 7},
                {"abc", 0},
                {"", 0},
                {"0x10", 0},
                {"010", 10},
                {"2147483647", 2147483647},
                {"99999999999999999999", 2147483647},
                {"4294967298", 2147483647},
                {"-4294967298", -2147483647 - 1}};
    for (const auto& row : rows) {
        directory.write(std::string("Log\n level=") + row.text + "\n enMark=" + row.text + "\n");
        AudioConfig config(true);
        EXPECT_EQ(config.getLogLevel(), row.level) << row.text;
        EXPECT_EQ(config.getEnMark(), row.level != 0) << row.text;
    }
}

TEST_F(DiagnosticsFile, MayEndWithoutALineEnd) {
    directory.write("Dump\n tag=main\n usage=client\n outPath=/tmp/d");
    EXPECT_EQ(outPath(AudioConfig(true).getDumpItem("main", "client")), "/tmp/d");
    directory.write("Log\n level=3\n enMark=1");
    EXPECT_TRUE(AudioConfig(true).getEnMark());
    directory.write("Log\n level=3");
    EXPECT_EQ(AudioConfig(true).getLogLevel(), 3);
}

TEST_F(DiagnosticsFile, MayEndInTheMiddleOfABlock) {
    for (const char* const text :
         {"Dump", "Dump\n", "Dump\n tag=main", "Dump\n tag=main\n usage=client",
          "Dump\n tag=main\n usage=client\n", "Log", "Log\n"}) {
        directory.write(text);
        AudioConfig config(true);
        EXPECT_EQ(config.getDumpItem("main", "client"), nullptr) << text;
        EXPECT_EQ(config.getLogLevel(), 4) << text;
    }
}

TEST_F(DiagnosticsFile, IsReadUpToATooLongLine) {
    for (const bool lineEnd : {true, false}) {
        directory.write(MAIN_DUMP + std::string(300, 'x') + (lineEnd ? "\n" : "") +
                        (lineEnd ? block("Dump", "late", "client", "/tmp/l") : ""));
        AudioConfig config(true);
        EXPECT_EQ(outPath(config.getDumpItem("main", "client")), "/tmp/d");
        EXPECT_EQ(config.getDumpItem("late", "client"), nullptr);
    }
}

TEST_F(DiagnosticsFile, IsReadUpToALineOfMoreThan255Characters) {
    for (const std::size_t length : {std::size_t{255}, std::size_t{256}}) {
        directory.write(std::string(length, 'x') + "\n" + MAIN_DUMP);
        AudioConfig config(true);
        EXPECT_EQ(outPath(config.getDumpItem("main", "client")),
                  length == 255 ? "/tmp/d" : "no item");
    }
    for (const std::size_t length : {std::size_t{255}, std::size_t{256}}) {
        const std::string path(length - std::string(" outPath=").size(), 'p');
        directory.write(block("Dump", "a", "b", path) + MAIN_DUMP);
        AudioConfig config(true);
        EXPECT_EQ(outPath(config.getDumpItem("a", "b")), length == 255 ? path : "no item");
        EXPECT_EQ(outPath(config.getDumpItem("main", "client")),
                  length == 255 ? "/tmp/d" : "no item");
    }
}

TEST_F(DiagnosticsFile, NamesAreCutTo63Characters) {
    const std::string tag(100, 't');
    const std::string usage(100, 'u');
    directory.write(block("Dump", tag, usage, "/tmp/d"));
    AudioConfig config(true);
    const AudioDumpItem* const item = config.getDumpItem(tag.c_str(), usage.c_str());
    ASSERT_NE(item, nullptr);
    EXPECT_EQ(item->tag, tag.substr(0, 63));
    EXPECT_EQ(item->usage, usage.substr(0, 63));
    EXPECT_EQ(config.getDumpItem(tag.substr(0, 63).c_str(), usage.substr(0, 63).c_str()), item);
    EXPECT_EQ(config.getDumpItem(tag.substr(0, 62).c_str(), usage.c_str()), nullptr);
}

TEST_F(DiagnosticsFile, MayHaveEmptyValues) {
    directory.write(block("Dump", "", "", ""));
    AudioConfig config(true);
    EXPECT_EQ(outPath(config.getDumpItem("", "")), "");
}

TEST_F(DiagnosticsFile, DirectoryIsMadeAndLoggedAsAFailure) {
    std::filesystem::remove(directory.path());
    const AudioConfig config(true);
    struct stat made = {};
    ASSERT_EQ(stat(directory.path().c_str(), &made), 0);
    EXPECT_EQ(made.st_mode & 0777, 0700U);
    EXPECT_TRUE(loggedLike(log, DEBUG, MKDIR_LINE));
    EXPECT_EQ(log.lines().size(), 1U) << log.dump();
    EXPECT_NE(log.lines()[0].text.find("[AudioConfig][_parseConfigItems]["), std::string::npos);
    const AudioConfig again(true);
    EXPECT_EQ(log.lines().size(), 1U) << log.dump();
}

TEST_F(DiagnosticsFile, StaysUnchangedByAReader) {
    {
        AudioConfig config(true);
        config.setLogLevel(AUDIO_LOG_LEVEL_ERROR);
    }
    EXPECT_FALSE(std::filesystem::exists(directory.file()));
    directory.write("anything\n" + MAIN_DUMP);
    {
        AudioConfig config(true);
        config.clearDumpItem();
        config.setEnMark(true);
    }
    EXPECT_EQ(directory.text(), "anything\n" + MAIN_DUMP);
}

TEST_F(DiagnosticsFile, IsWrittenWithTheDefaults) {
    { const AudioConfig config(false); }
    EXPECT_EQ(directory.text(), "Log\n level=4\n enMark=0\n");
    EXPECT_TRUE(logIsEmpty(log));
}

TEST_F(DiagnosticsFile, IsWrittenInItsOrder) {
    {
        AudioConfig config(false);
        AudioTraceItem trace = {"t", "u", "/trace"};
        AudioDumpItem first = {"main", "client", "/tmp/d"};
        AudioDumpItem second = {"aux", "driver", ""};
        config.addTraceItem(trace);
        config.addDumpItem(first);
        config.addDumpItem(second);
        config.setLogLevel(static_cast<AudioLogLevel>(-7));
        config.setEnMark(true);
    }
    EXPECT_EQ(directory.text(),
              "Dump\n tag=main\n usage=client\n outPath=/tmp/d\n"
              "Dump\n tag=aux\n usage=driver\n outPath=\n"
              "Trace\n tag=t\n usage=u\n outPath=/trace\n"
              "Log\n level=-7\n enMark=1\n");
}

TEST_F(DiagnosticsFile, IsEqualAfterReadingAndWriting) {
    const std::string text = MAIN_DUMP + block("Dump", "aux", "driver", "/tmp/x y") +
                             block("Trace", "a", "b", "/c") + "Log\n level=6\n enMark=1\n";
    directory.write("comment\n" + text);
    { const AudioConfig config(false); }
    EXPECT_EQ(directory.text(), text);
}

TEST_F(DiagnosticsFile, IsReplacedByTheLastWriter) {
    directory.write("a much longer file than what will be written\n" + MAIN_DUMP);
    {
        AudioConfig config(false);
        config.clearDumpItem();
    }
    EXPECT_EQ(directory.text(), "Log\n level=4\n enMark=0\n");
}

TEST_F(DiagnosticsFile, IsWrittenToADirectoryThatIsMadeAgain) {
    {
        const AudioConfig config(false);
        std::filesystem::remove(directory.path());
    }
    EXPECT_EQ(directory.text(), "Log\n level=4\n enMark=0\n");
    ASSERT_TRUE(loggedLike(log, DEBUG, MKDIR_LINE));
    EXPECT_NE(log.lines()[0].text.find("[AudioConfig][_storeConfigItems]["), std::string::npos);
}

TEST_F(DiagnosticsFile, IsLoggedAndLostWhenItCannotBeWritten) {
    std::filesystem::create_directory(directory.file());
    { const AudioConfig config(false); }
    EXPECT_TRUE(logged(log, ERROR, "AudioConfig", "_storeConfigItems",
                       "Failed to open file(w):/media/flash/nvm/as_server/audio_config, "
                       "error:Is a directory(21)\n"));
    EXPECT_TRUE(std::filesystem::is_directory(directory.file()));
}

TEST_F(DiagnosticsFile, IsWrittenEquallyInEveryLocale) {
    const std::locale before =
        std::locale::global(std::locale(std::locale::classic(), new NumbersWithSeparators));
    {
        AudioConfig config(false);
        config.setLogLevel(static_cast<AudioLogLevel>(1234567));
    }
    std::locale::global(before);
    EXPECT_EQ(directory.text(), "Log\n level=1234567\n enMark=0\n");
}

}  // namespace
}  // namespace cabinaudio::test
