// SPDX-License-Identifier: Apache-2.0
//
// Parts of the server without the server.
#include "devkit/server/base/Period.h"
#include "devkit/server/base/Text.h"
#include "devkit/server/control/Commands.h"
#include "devkit/server/inputs/InputChoice.h"
#include "devkit/server/loop/EventLoop.h"
#include "devkit/server/loop/Timer.h"
#include "devkit/server/loop/Waker.h"
#include "devkit/server/mix/StreamRecord.h"
#include "devkit/server/outputs/OutputFactory.h"
#include "devkit/server/rings/PhysicalMemory.h"
#include "devkit/server/rings/RingPlaces.h"
#include "devkit/server/sound/ChannelMatrix.h"
#include "devkit/server/sound/SampleCodec.h"
#include "devkit/server/sound/StreamFormat.h"
#include "devkit/trace/ConnectType.h"
#include "tests/support/ProcessState.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/epoll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <thread>

namespace cabinaudio::server {
namespace {

using ::testing::ElementsAre;
using ::testing::FloatNear;

TEST(Period, IsSixteenMillisecondsInWholeFrames) {
    EXPECT_EQ(framesOfPeriod(48000), 768U);
    EXPECT_EQ(framesOfPeriod(44100), 706U);
    EXPECT_EQ(framesOfPeriod(8000), 128U);
    EXPECT_EQ(framesOfPeriod(192000), 3072U);
}

TEST(Periods, HoldEveryFrameOfTheirTime) {
    EXPECT_EQ(framesOfPeriods(44100, 0), 0U);
    EXPECT_EQ(framesOfPeriods(44100, 1), 705U);
    EXPECT_EQ(framesOfPeriods(44100, 1000), 705600U);
    // A hundred years without a wrap-around.
    EXPECT_EQ(framesOfPeriods(192000, 197109000000), 605518848000000U);
}

std::vector<float> decoded(unsigned bytesPerSample, const std::vector<std::uint8_t>& bytes) {
    std::vector<float> samples(bytes.size() / bytesPerSample);
    decodeSamples(bytesPerSample, bytes.data(), samples);
    return samples;
}

TEST(Samples, OfEveryWidthAreDecodedToFullScaleOne) {
    EXPECT_THAT(decoded(1, {0, 128, 255}), ElementsAre(-1.0F, 0.0F, 127.0F / 128));
    EXPECT_THAT(decoded(2, {0, 0x80, 0, 0, 0xff, 0x7f}),
                ElementsAre(-1.0F, 0.0F, 32767.0F / 32768));
    EXPECT_THAT(decoded(3, {0, 0, 0x80, 1, 0, 0, 0xff, 0xff, 0x7f}),
                ElementsAre(-1.0F, 1.0F / 8388608, 8388607.0F / 8388608));
    EXPECT_THAT(decoded(4, {0, 0, 0, 0x80, 0, 0, 0, 0x40}), ElementsAre(-1.0F, 0.5F));
}

TEST(Samples, OfSixteenAndTwentyFourBitsSurviveDecodingAndEncoding) {
    std::vector<std::uint8_t> all16;
    for (unsigned value = 0; value < 65536; ++value) {
        all16.push_back(static_cast<std::uint8_t>(value));
        all16.push_back(static_cast<std::uint8_t>(value >> 8));
    }
    std::vector<std::uint8_t> encoded;
    encodeSamples(SampleType::S16, decoded(2, all16), encoded);
    EXPECT_EQ(encoded, all16);

    std::vector<std::uint8_t> some24;
    for (unsigned value = 0; value < 1U << 24; value += 97) {
        for (const unsigned shift : {0U, 8U, 16U})
            some24.push_back(static_cast<std::uint8_t>(value >> shift));
    }
    encodeSamples(SampleType::S24, decoded(3, some24), encoded);
    EXPECT_EQ(encoded, some24);
}

TEST(Samples, OfEveryWidthAreEncodedForClients) {
    for (const unsigned width : {1U, 2U, 3U, 4U}) {
        std::vector<std::uint8_t> bytes;
        encodeSamples(width, std::vector<float>{-1.0F, 0.0F, 0.5F}, bytes);
        ASSERT_EQ(bytes.size(), 3 * width);
        std::vector<float> samples(3);
        decodeSamples(width, bytes.data(), samples);
        EXPECT_EQ(samples, (std::vector<float>{-1.0F, 0.0F, 0.5F})) << width;
    }
    std::vector<std::uint8_t> bytes;
    encodeSamples(1, std::vector<float>{-2.0F, 2.0F}, bytes);
    EXPECT_EQ(bytes, (std::vector<std::uint8_t>{0, 255}));
}

TEST(Samples, BeyondFullScaleAreClipped) {
    std::vector<std::uint8_t> bytes;
    encodeSamples(SampleType::S16, std::array{1.5F, -1.5F, 1.0F, -1.0F}, bytes);
    EXPECT_THAT(bytes, ElementsAre(0xff, 0x7f, 0, 0x80, 0xff, 0x7f, 0, 0x80));
    encodeSamples(SampleType::S24, std::array{1.5F, -1.5F}, bytes);
    EXPECT_THAT(bytes, ElementsAre(0xff, 0xff, 0x7f, 0, 0, 0x80));
    encodeSamples(SampleType::S32, std::array{1.5F, -1.5F}, bytes);
    EXPECT_THAT(bytes, ElementsAre(0xff, 0xff, 0xff, 0x7f, 0, 0, 0, 0x80));
    encodeSamples(SampleType::Float, std::array{1.5F}, bytes);
    EXPECT_THAT(bytes, ElementsAre(0, 0, 0xc0, 0x3f)) << "floats have room above";
}

std::vector<float> mixed(std::size_t inputs, std::size_t outputs, std::vector<float> frame) {
    std::vector<float> out(outputs, 0.0F);
    ChannelMatrix(inputs, outputs).add(frame.data(), 1, out.data());
    return out;
}

TEST(ChannelMatrix, PassesEqualChannelCountsUnchanged) {
    EXPECT_THAT(mixed(2, 2, {0.25F, -0.5F}), ElementsAre(0.25F, -0.5F));
    EXPECT_THAT(mixed(1, 1, {0.3F}), ElementsAre(0.3F));
}

TEST(ChannelMatrix, PlaysMonoInFrontOnly) {
    EXPECT_THAT(mixed(1, 2, {0.5F}), ElementsAre(0.5F, 0.5F));
    EXPECT_THAT(mixed(1, 4, {0.5F}), ElementsAre(0.5F, 0.5F, 0.0F, 0.0F));
}

TEST(ChannelMatrix, AveragesStereoToMono) {
    EXPECT_THAT(mixed(2, 1, {0.5F, 0.25F}), ElementsAre(0.375F));
}

TEST(ChannelMatrix, FoldsSurroundIntoTheSameSide) {
    const auto left = mixed(4, 2, {0.0F, 0.0F, 1.0F, 0.0F});
    EXPECT_THAT(left, ElementsAre(FloatNear(0.4142F, 0.001F), 0.0F));
    EXPECT_THAT(mixed(6, 2, {0, 0, 0, 0, 1.0F, 0}),
                ElementsAre(FloatNear(0.2265F, 0.001F), FloatNear(0.2265F, 0.001F)));
}

TEST(ChannelMatrix, NeverMakesFullScaleLouder) {
    for (std::size_t inputs = 1; inputs <= 6; ++inputs) {
        for (std::size_t outputs = 1; outputs <= 8; ++outputs) {
            for (const float sample : mixed(inputs, outputs, std::vector<float>(inputs, 1.0F)))
                EXPECT_LE(sample, 1.0001F) << inputs << " to " << outputs;
        }
    }
}

TEST(ChannelMatrix, AddsToTheOutput) {
    std::vector<float> out = {0.5F, 0.5F};
    ChannelMatrix(2, 2).add(std::array{0.25F, -0.25F}.data(), 1, out.data());
    EXPECT_THAT(out, ElementsAre(0.75F, 0.25F));
}

TEST(PhysicalMemory, GivesOutPagesThatDoNotOverlap) {
    PhysicalMemory memory;
    const auto first = memory.allocate(1);
    const auto second = memory.allocate(5000);
    const auto third = memory.allocate(4096);
    ASSERT_TRUE(first && second && third);
    EXPECT_EQ(first->address() % 4096, 0U);
    EXPECT_EQ(second->address() - first->address(), 4096U);
    EXPECT_EQ(third->address() - second->address(), 8192U);
}

TEST(PhysicalMemory, ReusesReturnedRanges) {
    PhysicalMemory memory;
    const auto first = memory.allocate(4096);
    auto second = memory.allocate(8192);
    const auto third = memory.allocate(4096);
    const std::uint32_t hole = second->address();
    second.reset();
    const auto tooLarge = memory.allocate(8193);
    ASSERT_TRUE(tooLarge);
    EXPECT_GT(tooLarge->address(), third->address());
    const auto fitting = memory.allocate(8192);
    ASSERT_TRUE(fitting);
    EXPECT_EQ(fitting->address(), hole);
    PhysicalMemory::remove();
}

TEST(PhysicalMemory, EndsBelowTheBoardsFile) {
    PhysicalMemory memory;
    EXPECT_FALSE(memory.allocate(0x3f000001));
    EXPECT_FALSE(memory.allocate(0xffffffff));
    const auto all = memory.allocate(0x3f000000);
    ASSERT_TRUE(all);
    EXPECT_FALSE(memory.allocate(1));
}

TEST(PhysicalMemory, IsZeroedBeforeReuse) {
    PhysicalMemory memory;
    auto range = memory.allocate(4096);
    ASSERT_TRUE(range);
    const auto address = static_cast<off_t>(range->address());
    const int device = open("/dev/mem", O_RDWR | O_CLOEXEC);
    ASSERT_GE(device, 0);
    ASSERT_EQ(pwrite(device, "x", 1, address), 1);
    range.reset();
    char byte = 'y';
    ASSERT_EQ(pread(device, &byte, 1, address), 1);
    EXPECT_EQ(byte, 0);
    close(device);
    PhysicalMemory::remove();
}

TEST(Ring, HasTheObjectNameThatTheLibraryUses) {
    PhysicalMemory memory;
    const RingPlace::Memory physical = memory.allocate(4096);
    EXPECT_EQ(RingPlace::objectName("trk", {}), "trk");
    EXPECT_EQ(RingPlace::objectName("//trk", {}), "trk");
    EXPECT_EQ(RingPlace::objectName("/", {}), "");
    EXPECT_EQ(RingPlace::objectName("trk", physical), "trk_0x40000000");
    EXPECT_EQ(RingPlace::objectName(std::string(63, 'x'), physical), std::string(63, 'x'));
}

TEST(StreamRecord, JoinsRunsThatTouch) {
    StreamRecord record;
    record.addRun(100, 0, 10, false);
    record.addRun(110, 10, 5, true);
    record.addRun(115, 15, 0, true);   // nothing
    record.addRun(120, 15, 5, true);   // a gap in the output
    record.addRun(125, 50, 5, false);  // a gap in the stream
    ASSERT_EQ(record.segments.size(), 3U);
    EXPECT_EQ(record.segments[0].outputFrame, 100U);
    EXPECT_EQ(record.segments[0].outputFrames, 15U);
    EXPECT_EQ(record.segments[1].streamFrame, 15U);
    EXPECT_EQ(record.segments[2].streamFrame, 50U);
}

TEST(Commands, TakeTheRestOfTheLineAsTheirArgument) {
    Commands commands;
    commands.add("say", [](const std::string& text) { return "<" + text + ">"; });
    commands.add("say it", [](const std::string&) { return std::string("never"); });
    EXPECT_EQ(commands.run("say a b  c "), "<a b  c >");
    EXPECT_EQ(commands.run("say"), "<>");
    EXPECT_EQ(commands.run("say it"), "<it>") << "the first that fits";
    EXPECT_EQ(commands.run("saying"), "error: no such command: saying");
}

TEST(ClientName, IsShownWithoutControlCharacters) {
    EXPECT_EQ(printable("a\n\"b\"\x7f"), "a\\n\\\"b\\\"\\x7f");
    EXPECT_EQ(fileName("../a b"), "_.._a_b");
    EXPECT_EQ(fileName(""), "_");
    EXPECT_EQ(fileName(std::string(100, 'x')).size(), 64U);
}

TEST(ConnectTypes, HaveNames) {
    EXPECT_EQ(trace::connectTypeName(AUDIO_CONNECT_MAIN), "main");
    EXPECT_EQ(trace::connectTypeName(AUDIO_CONNECT_RECORD_CONTROL), "record control");
    EXPECT_EQ(trace::connectTypeName(static_cast<audio_connect_type>(200)), "type 200");
    EXPECT_TRUE(trace::isKnown(AUDIO_CONNECT_UPLINK));
    EXPECT_FALSE(trace::isKnown(AUDIO_CONNECT_UNKNOWN));
}

TEST(OutputTexts, AreAcceptedOrRefused) {
    for (const char* right : {"auto", "null", "pulse", "alsa", "alsa:hw:0,0", "wav:x:y.wav"})
        EXPECT_EQ(checkOutput(right), "") << right;
    for (const char* wrong : {"", "wav", "wav:", "null:", "auto:x", "pulse:x", "oss", "alsa2"})
        EXPECT_NE(checkOutput(wrong), "") << wrong;
    EXPECT_TRUE(runsWithoutClock("null"));
    EXPECT_TRUE(runsWithoutClock("wav:x"));
    EXPECT_FALSE(runsWithoutClock("auto"));
    EXPECT_FALSE(runsWithoutClock("alsa"));
}

TEST(InputTexts, AreCheckedAndKeptPerTag) {
    InputChoice choice;
    EXPECT_EQ(choice.of(AUDIO_TAG_INPUT0), "tone:440");
    EXPECT_EQ(choice.add("silence"), "");
    EXPECT_EQ(choice.add("uplink=tone:1000.5"), "");
    EXPECT_EQ(choice.add("input_front_feedback=a=b.wav"), "");
    EXPECT_EQ(choice.add("main=file"), "") << "a file's name: nothing is recorded there";
    EXPECT_EQ(choice.of(AUDIO_TAG_INPUT1), "main=file");
    EXPECT_EQ(choice.of(AUDIO_TAG_UPLINK), "tone:1000.5");
    EXPECT_EQ(choice.of(AUDIO_TAG_INPUT_FRONT_FEEDBACK), "a=b.wav");
    EXPECT_EQ(choice.add("uplink=mic"), "") << "a later one counts";
    EXPECT_EQ(choice.of(AUDIO_TAG_UPLINK), "mic");
    for (const char* wrong :
         {"", "input0=", "tone:", "tone:x", "tone:0", "tone:96001", "tone:nan"}) {
        EXPECT_NE(choice.add(wrong), "") << wrong;
    }
    EXPECT_EQ(choice.of(AUDIO_TAG_INPUT1), "main=file");
}

TEST(Input, IsInTheRateAndChannelsAskedFor) {
    for (const unsigned channels : {1U, 2U, 6U}) {
        const auto input = openInput("tone:1000", 44100, channels);
        EXPECT_EQ(input->rate(), 44100U);
        EXPECT_EQ(input->channels(), channels);
        std::vector<float> samples(std::size_t{441} * channels);
        input->read(samples);
        EXPECT_FLOAT_EQ(samples[0], 0.0F);
        EXPECT_GT(*std::max_element(samples.begin(), samples.end()), 0.49F);
    }
    EXPECT_THROW(openInput("/no/such/file", 48000, 2), std::runtime_error);
    EXPECT_THROW(openInput("tone:", 48000, 2), std::runtime_error);
}

TEST(Timer, TicksWithoutDrift) {
    EventLoop loop;
    using Clock = std::chrono::steady_clock;
    const auto begin = Clock::now();
    std::uint64_t ticks = 0;
    Timer timer(loop, [&](std::uint64_t deadlines) {
        ticks += deadlines;
        if (ticks >= 10) loop.stop();
    });
    timer.every(std::chrono::milliseconds(4));
    loop.run();
    // Ten deadlines of 4 ms have passed when the tenth is counted.
    EXPECT_GE(Clock::now() - begin, std::chrono::milliseconds(40));
}

TEST(Timer, RunsOnceWhenAsked) {
    EventLoop loop;
    int runs = 0;
    Timer once(loop, [&](std::uint64_t) { ++runs; });
    once.once(std::chrono::milliseconds(0));
    Timer end(loop, [&](std::uint64_t) { loop.stop(); });
    end.once(std::chrono::milliseconds(20));
    loop.run();
    EXPECT_EQ(runs, 1);
}

TEST(EventLoop, DropsEventsOfRemovedDescriptors) {
    EventLoop loop;
    std::array<int, 2> one = {};
    std::array<int, 2> two = {};
    ASSERT_EQ(pipe2(one.data(), O_CLOEXEC), 0);
    ASSERT_EQ(pipe2(two.data(), O_CLOEXEC), 0);
    ASSERT_EQ(write(one[1], "x", 1), 1);
    ASSERT_EQ(write(two[1], "x", 1), 1);
    int handled = 0;
    const auto handler = [&](std::uint32_t) {
        ++handled;
        loop.remove(one[0]);
        loop.remove(two[0]);
        loop.post([&] { loop.stop(); });
    };
    loop.add(one[0], EPOLLIN, handler);
    loop.add(two[0], EPOLLIN, handler);
    loop.run();
    EXPECT_EQ(handled, 1);
    for (const int fd : {one[0], one[1], two[0], two[1]})
        close(fd);
}

TEST(Waker, RunsItsHandlerInTheLoopThread) {
    EventLoop loop;
    std::thread::id handledBy;
    Waker waker(loop, [&] {
        handledBy = std::this_thread::get_id();
        loop.stop();
    });
    std::thread other([&] { waker.notify(); });
    loop.run();
    other.join();
    EXPECT_EQ(handledBy, std::this_thread::get_id());
}

}  // namespace
}  // namespace cabinaudio::server
