// SPDX-License-Identifier: Apache-2.0
//
// Names that an object keeps for its caller.
#include "tests/interpose/Blocks.h"
#include "tests/settings/Row.h"
#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace cabinaudio::test {
namespace {

struct Getter {
    const char* test;
    std::uint32_t function;
    const char* tag;
    const char* (audio::QVAudioSetting::Source::*get)(const char*);
};

class KeptName : public ::testing::TestWithParam<Getter> {
protected:
    const char* get() { return get(getter.tag); }
    const char* get(const char* tag) {
        audio::QVAudioSetting::Source& interface = source;
        return (interface.*getter.get)(tag);
    }
    void answers(std::int32_t status, const std::string& name) {
        server.on(130, getter.function, Answer::bytes(joined({number(status), text(name)})));
    }

    const Getter getter = GetParam();
    ScriptedServer server;
    ClientSourceSetting source;
    LogCapture log;
};

TEST_P(KeptName, KeepsItsAddressAndChangesWithTheNextCall) {
    answers(0, "radio");
    const char* const name = get();
    EXPECT_STREQ(name, "radio");
    answers(0, "cd");
    EXPECT_EQ(get(), name);
    EXPECT_STREQ(name, "cd");
    EXPECT_EQ(Bytes(name, name + 64), text("cd")) << "something of the former name is left";
}

TEST_P(KeptName, IsStoredForEachStatus) {
    answers(-42, "radio");
    EXPECT_STREQ(get(), "radio");
    server.on(130, getter.function, Answer::status(-42));
    EXPECT_STREQ(get(), "");
    EXPECT_TRUE(log.lines().empty()) << log.dump();
}

TEST_P(KeptName, EndsInItsBufferWhenTheServersNameDoesNot) {
    answers(0, std::string(64, 'x'));
    EXPECT_EQ(get(), std::string(63, 'x'));
    answers(0, std::string(63, 'y'));
    EXPECT_EQ(get(), std::string(63, 'y'));
}

TEST_P(KeptName, HasZerosAfterItsEnd) {
    Bytes field(64, 'x');
    std::copy_n("radio", 6, field.begin());
    server.on(130, getter.function, Answer::bytes(joined({number(0), field})));
    const char* const name = get();
    EXPECT_EQ(Bytes(name, name + 64), text("radio"));
}

TEST_P(KeptName, IsReplacedBeforeTheBlocksAreFreed) {
    answers(0, "radio");
    const char* const name = get();
    answers(0, "cd");
    Blocks blocks;
    std::string whenFreed;
    blocks.whenFreeing([&] { whenFreed = name; });
    EXPECT_EQ(get(), name);
    EXPECT_EQ(whenFreed, "cd");
}

TEST_P(KeptName, StaysWhenACallIsRefusedOrFails) {
    answers(0, "radio");
    const char* const name = get();
    EXPECT_EQ(get(nullptr), nullptr);
    EXPECT_EQ(get(std::string(64, 'm').c_str()), nullptr);
    EXPECT_STREQ(name, "radio");
    Blocks blocks;
    blocks.loseReplies(true);
    EXPECT_EQ(get(), nullptr);
    EXPECT_STREQ(name, "radio");
    blocks.refuse(true);
    EXPECT_EQ(get(), nullptr);
    EXPECT_STREQ(name, "radio");
}

INSTANTIATE_TEST_SUITE_P(
    Of, KeptName,
    ::testing::Values(Getter{"Output", 24, "main", &audio::QVAudioSetting::Source::getOutPutSource},
                      Getter{"Input", 25, "uplink",
                             &audio::QVAudioSetting::Source::getInputDestination}),
    TEST_NAME);

TEST(KeptNames, AreSeparateForOutputAndInput) {
    ScriptedServer server;
    server.on(130, 24, Answer::bytes(joined({word(0), text("radio")})));
    server.on(130, 25, Answer::bytes(joined({word(0), text("phone")})));
    ClientSourceSetting source;
    const char* const output = source.getOutPutSource("main");
    const char* const input = source.getInputDestination("uplink");
    EXPECT_STREQ(output, "radio");
    EXPECT_STREQ(input, "phone");
}

TEST(SourceCount, IsTheStatusUnlessItIsZero) {
    ScriptedServer server;
    ClientSourceSetting source;
    struct Case {
        int status;
        int number;
        int result;
    };
    for (const auto& [status, count, result] :
         {Case{0, 3, 3}, Case{0, 0, 0}, Case{-42, 3, -42}, Case{5, 3, 5}, Case{0, -1, -1}}) {
        server.on(130, 26, Answer::words(status, count));
        EXPECT_EQ(source.getActivedSourceNumber("main"), result);
    }
}

TEST(TrackStreamType, MayFillItsFieldAndReplacesTheCallersText) {
    ScriptedServer server;
    ClientSourceSetting source;
    std::string type = "before";
    server.on(130, 35, Answer::bytes(joined({number(-42), text(std::string(64, 's'))})));
    EXPECT_EQ(source.getTrackStreamType("main", "radio", type), 0);
    EXPECT_EQ(type, std::string(64, 's'));
    server.on(130, 35, Answer::status(-42));
    EXPECT_EQ(source.getTrackStreamType("main", "radio", type), 0);
    EXPECT_EQ(type, "");
}

}  // namespace
}  // namespace cabinaudio::test
