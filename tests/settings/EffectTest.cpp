// SPDX-License-Identifier: Apache-2.0
//
// Parameter blocks of effects, which carry their own length.
#include "tests/interpose/Blocks.h"
#include "tests/settings/Row.h"
#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

namespace cabinaudio::test {
namespace {

using Parameter = audio::effect_param_t;

/// The two operations on effects, as the interfaces of playback and of capture have them.
struct Effects {
    const char* test;
    std::uint32_t type;
    std::uint32_t setter;
    std::uint32_t getter;
    std::function<int(const Clients&, const char*, const char*, const Parameter&)> set;
    std::function<int(const Clients&, const char*, const char*, Parameter&)> get;
};

/// A parameter block of a caller, in memory that it fills to the last byte.
class Block {
public:
    explicit Block(std::uint32_t size) : mBytes(joined({word(size), pattern(size)})) {}
    [[nodiscard]] Parameter& parameter() { return *reinterpret_cast<Parameter*>(mBytes.data()); }
    [[nodiscard]] const Bytes& bytes() const { return mBytes; }

private:
    Bytes mBytes;
};

class EffectParameter : public ::testing::TestWithParam<Effects> {
protected:
    int set(Block& block) { return effects.set(clients, "main", "reverb", block.parameter()); }
    int get(Block& block) { return effects.get(clients, "main", "reverb", block.parameter()); }
    [[nodiscard]] Bytes request(std::uint32_t function, const Bytes& block) const {
        return joined({word(function), text("main"), text("reverb"), block});
    }

    const Effects effects = GetParam();
    LogCapture log;
    ScriptedServer server;
    const Clients clients{effects.type};
    Blocks blocks;
};

TEST_P(EffectParameter, IsSentWholeForEveryLength) {
    std::size_t sent = 0;
    for (const std::uint32_t size : {0U, 1U, 2U, 3U, 4U, 5U, 1000U, 70000U}) {
        Block block(size);
        const Bytes before = block.bytes();
        EXPECT_EQ(set(block), 0) << size;
        EXPECT_EQ(block.bytes(), before);
        ++sent;
        ASSERT_EQ(server.requests(effects.type, effects.setter).size(), sent);
        const Request last = server.requests(effects.type, effects.setter).back();
        EXPECT_EQ(last.header.cmd, 198U);
        EXPECT_EQ(last.payload.size(), size + 136);
        EXPECT_EQ(last.payload, request(effects.setter, before)) << size;
        EXPECT_EQ(blocks.requestSize(), size + 136);
        EXPECT_EQ(blocks.replySize(), 4U);
    }
}

// The client reads the body of a reply with one receive. Up to 32 KiB the kernel passes a message
// on as one piece; of a longer one the receive may find the first piece only.
TEST_P(EffectParameter, ComesBackWholeUpTo32KiB) {
    for (const std::uint32_t size : {0U, 1U, 2U, 3U, 4U, 5U, 1000U, 32000U}) {
        Block block(size);
        const Bytes before = block.bytes();
        Bytes theirs = before;
        for (std::uint8_t& one : theirs)
            one = static_cast<std::uint8_t>(one + 20);
        server.on(effects.type, effects.getter, Answer::bytes(joined({number(-42), theirs})));
        EXPECT_EQ(get(block), -42) << size;
        EXPECT_EQ(block.bytes(), theirs) << size;
        EXPECT_EQ(server.requests(effects.type, effects.getter).back().payload,
                  request(effects.getter, before))
            << size;
        EXPECT_EQ(blocks.requestSize(), size + 136);
        EXPECT_EQ(blocks.replySize(), size + 8);
    }
}

TEST_P(EffectParameter, IsStoredByItsLengthBeforeTheCall) {
    for (const std::uint32_t claimed : {0U, 3U, 9U, 0xffffffffU}) {
        Block block(8);
        const Bytes theirs = joined({word(claimed), Bytes(8, 0x77)});
        server.on(effects.type, effects.getter, Answer::bytes(joined({word(0), theirs})));
        EXPECT_EQ(get(block), 0);
        EXPECT_EQ(block.bytes(), theirs);
    }
}

TEST_P(EffectParameter, IsZeroWhereTheReplyIsShort) {
    Block block(8);
    server.on(effects.type, effects.getter, Answer::words(-42, 2));
    EXPECT_EQ(get(block), -42);
    EXPECT_EQ(block.bytes(), joined({word(2), Bytes(8)}));
}

TEST_P(EffectParameter, IsUnchangedWithoutAReply) {
    Block block(8);
    const Bytes before = block.bytes();
    blocks.loseReplies(true);
    EXPECT_EQ(set(block), 1);
    EXPECT_EQ(get(block), 1);
    EXPECT_EQ(block.bytes(), before);
}

TEST_P(EffectParameter, IsRefusedWhenTooLongForARequest) {
    // Heads without any data behind them: nothing beyond them may be read.
    for (const std::uint32_t size :
         {0xffffffffU, 0xffffffffU - 1, 0xffffffffU - 134, 0xffffffffU - 135, 0xffffffffU - 136,
          0xffffffffU - 137, 0xffffffffU - 136 - 87}) {
        const auto head = std::make_unique<Parameter>(Parameter{size});
        EXPECT_EQ(effects.set(clients, "main", "reverb", *head), NO_MEMORY) << size;
        EXPECT_EQ(effects.get(clients, "main", "reverb", *head), NO_MEMORY) << size;
        EXPECT_EQ(head->size, size);
    }
    EXPECT_EQ(server.requests().size(), 1U) << "sent more than the registration";
    // And the object is as good as new.
    Block block(4);
    EXPECT_EQ(set(block), 0);
}

TEST_P(EffectParameter, TravelsWithTextsCutToTheirFields) {
    Block block(0);
    struct Case {
        std::string given;
        std::string sent;
    };
    for (const auto& [given, sent] :
         {Case{"", ""}, Case{std::string(63, 'a'), std::string(63, 'a')},
          Case{std::string(64, 'b'), std::string(63, 'b')},
          Case{std::string(70, 'c'), std::string(63, 'c')},
          Case{std::string(5000, 'd'), std::string(63, 'd')}}) {
        EXPECT_EQ(effects.set(clients, given.c_str(), "reverb", block.parameter()), 0);
        EXPECT_EQ(server.requests().back().payload,
                  joined({word(effects.setter), text(sent), text("reverb"), word(0)}));
        EXPECT_EQ(effects.get(clients, "main", given.c_str(), block.parameter()), 0);
        EXPECT_EQ(server.requests().back().payload,
                  joined({word(effects.getter), text("main"), text(sent), word(0)}));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Of, EffectParameter,
    ::testing::Values(
        Effects{"Playback", 128, 4098, 4099,
                [](auto& c, auto&&... with) { return c.app().setEffectParameter(with...); },
                [](auto& c, auto&&... with) { return c.app().getEffectParameter(with...); }},
        Effects{"Capture", 133, 0, 1,
                [](auto& c, auto&&... with) { return c.record().set(with...); },
                [](auto& c, auto&&... with) { return c.record().get(with...); }}),
    TEST_NAME);

}  // namespace
}  // namespace cabinaudio::test
