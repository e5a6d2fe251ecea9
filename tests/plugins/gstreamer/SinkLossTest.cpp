// SPDX-License-Identifier: Apache-2.0
// cabinaudiosink without a server, and when the server or the stream goes.
#include "tests/plugins/gstreamer/SinkFixture.h"
#include "tests/support/Generous.h"
#include "tests/support/Row.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <csignal>
#include <future>

namespace cabinaudio::test {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

const std::string RESOURCE = "gst-resource-error-quark ";

std::string resource(GstResourceError code) {
    return RESOURCE + std::to_string(code);
}

/// The next error of the sink. Elements before it report that their data is not taken.
Message errorOfSink(const Pipeline& pipeline, std::chrono::milliseconds bound) {
    const auto deadline = Clock::now() + bound;
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        Message message = pipeline.wait(GST_MESSAGE_ERROR, std::max(left, 0ms));
        if (message == nullptr ||
            GST_MESSAGE_SRC(message.get()) == GST_OBJECT_CAST(pipeline.element()))
            return message;
    }
}

std::chrono::microseconds processorTime() {
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    return std::chrono::seconds(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           std::chrono::microseconds(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
}

class GstSinkLoss : public SinkFixture {
protected:
    /// Expects one error of the sink within 2 s, and then quiet.
    static void expectLoss(const Pipeline& pipeline) {
        const auto begin = Clock::now();
        const Message error = errorOfSink(pipeline, 10s);
        ASSERT_NE(error, nullptr);
        EXPECT_EQ(errorOf(error), resource(GST_RESOURCE_ERROR_WRITE));
        EXPECT_LT(Clock::now() - begin, generous(2s));
        const auto processor = processorTime();
        EXPECT_EQ(errorOfSink(pipeline, 300ms), nullptr);
        EXPECT_LT(processorTime() - processor, 200ms);
        const auto ending = Clock::now();
        gst_element_set_state(pipeline.get(), GST_STATE_NULL);
        EXPECT_LT(Clock::now() - ending, generous(2s));
    }
    /// A pipeline that has been heard for a moment.
    void start(const Pipeline& pipeline) const {
        ASSERT_TRUE(pipeline.become(GST_STATE_PLAYING));
        ASSERT_TRUE(pipeline.reaches(100 * GST_MSECOND));
    }
};

struct LossRow : Row {
    const char* properties;
    const char* command;  // of the server; empty: it is killed
};

class GstSinkLossOf : public GstSinkLoss, public testing::WithParamInterface<LossRow> {};

}  // namespace

TEST_P(GstSinkLossOf, IsOneErrorWithinTwoSeconds) {
    const Pipeline pipeline(playing(sound(96000), GetParam().properties));
    start(pipeline);
    const std::string command = GetParam().command;
    if (command.empty())
        mServer.server().kill(SIGKILL);
    else
        EXPECT_THAT(mServer.server().command(command), testing::HasSubstr("ok"));
    expectLoss(pipeline);
}

INSTANTIATE_TEST_SUITE_P(Loss, GstSinkLossOf,
                         testing::Values(LossRow{"KilledServer", "", ""},
                                         LossRow{"KilledServerOfASource", "tag=main", ""},
                                         LossRow{"KilledServerOfAlternative", "tag=alternative",
                                                 ""},
                                         LossRow{"RemovedStream", "", "stream remove sink"}),
                         ROW_NAME);

/// Nothing is sent by then, and the end is awaited.
TEST_F(GstSinkLoss, InTheLastSamplesIsAnErrorToo) {
    const Pipeline pipeline(playing(sound()));
    ASSERT_TRUE(pipeline.become(GST_STATE_PLAYING));
    ASSERT_TRUE(pipeline.reaches(150 * GST_MSECOND));
    mServer.server().kill(SIGKILL);
    expectLoss(pipeline);
}

TEST_F(GstSinkLoss, WhilePausedIsNoticedByTheResumption) {
    const Pipeline pipeline(playing(sound(96000)));
    start(pipeline);
    ASSERT_TRUE(pipeline.become(GST_STATE_PAUSED));
    mServer.server().kill(SIGKILL);
    EXPECT_EQ(errorOfSink(pipeline, 200ms), nullptr);
    gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
    expectLoss(pipeline);
}

TEST_F(GstSinkLoss, EndsWithTheNextServer) {
    const auto samples = sound(24000);
    const Pipeline pipeline(playing(samples));
    start(pipeline);
    mServer.server().kill(SIGKILL);
    mServer.server().wait();
    ASSERT_NE(errorOfSink(pipeline, 10s), nullptr);
    ASSERT_TRUE(pipeline.become(GST_STATE_READY));
    const RealServer next({"--output", "null"});
    GstBus* const bus = gst_element_get_bus(pipeline.get());
    gst_bus_set_flushing(bus, TRUE);
    gst_bus_set_flushing(bus, FALSE);
    gst_object_unref(bus);
    ASSERT_TRUE(pipeline.play());
    EXPECT_EQ(streamOf(next, "sink").at("frames"), 24000);
}

TEST_F(GstSinkLoss, OfAServerThatOnlyStandsStillIsNone) {
    const auto samples = sound(24000);
    {
        const Pipeline pipeline(playing(samples));
        start(pipeline);
        mServer.server().kill(SIGSTOP);
        EXPECT_EQ(errorOfSink(pipeline, 400ms), nullptr);
        mServer.server().kill(SIGCONT);
        ASSERT_TRUE(pipeline.ends());
    }
    ASSERT_TRUE(mServer.stop());
    EXPECT_EQ(taken().samples, wide(samples));
}

TEST_F(GstSinkLoss, OfItsSourceIsAMessageAndSoIsItsReturn) {
    const Pipeline pipeline(playing(sound(96000), "tag=main"));
    start(pipeline);
    for (const bool isActive : {false, true}) {
        const std::string command = isActive ? "source activate sink" : "source withdraw sink";
        EXPECT_THAT(mServer.server().command(command), testing::HasSubstr("ok"));
        const Message message = pipeline.wait(GST_MESSAGE_ELEMENT, 5s);
        ASSERT_NE(message, nullptr) << command;
        const GstStructure* const content = gst_message_get_structure(message.get());
        EXPECT_STREQ(gst_structure_get_name(content), "cabinaudio-source");
        EXPECT_STREQ(gst_structure_get_string(content, "stream-name"), "sink");
        gboolean active = -1;
        ASSERT_TRUE(gst_structure_get_boolean(content, "active", &active));
        EXPECT_EQ(active != FALSE, isActive);
        const GstClockTime place = pipeline.position();
        EXPECT_TRUE(pipeline.reaches(place + 100 * GST_MSECOND)) << "the pace of the clock";
    }
}

// ---- Opening ------------------------------------------------------------------------------------

TEST(GstSinkOpening, WithoutAServerFailsAtReady) {
    const Pipeline pipeline("audiotestsrc ! cabinaudiosink name=sink");
    EXPECT_FALSE(pipeline.become(GST_STATE_READY));
    const Message error = errorOfSink(pipeline, 0ms);
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(errorOf(error), resource(GST_RESOURCE_ERROR_NOT_FOUND));
    EXPECT_EQ(errorOfSink(pipeline, 0ms), nullptr);
}

TEST(GstSinkOpening, WaitsForAServerAsLongAsToldTo) {
    const Pipeline pipeline("audiotestsrc ! cabinaudiosink name=sink wait=60000");
    auto opening = std::async(std::launch::async, [&] { return pipeline.become(GST_STATE_READY); });
    EXPECT_EQ(opening.wait_for(50ms), std::future_status::timeout);
    const RealServer server;
    EXPECT_TRUE(opening.get());
}

struct InstanceRow : Row {
    const char* instance;
};

class GstSinkOfInstance : public testing::TestWithParam<InstanceRow> {};

TEST_P(GstSinkOfInstance, IsRefusedAtReady) {
    const RealServer server;
    const Pipeline pipeline("audiotestsrc ! cabinaudiosink name=sink");
    g_object_set(pipeline.element(), "instance", GetParam().instance, nullptr);
    EXPECT_FALSE(pipeline.become(GST_STATE_READY));
    const Message error = errorOfSink(pipeline, 0ms);
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(errorOf(error), resource(GST_RESOURCE_ERROR_SETTINGS));
}

INSTANTIATE_TEST_SUITE_P(Name, GstSinkOfInstance,
                         testing::Values(InstanceRow{"Another", "another"},
                                         InstanceRow{"NoName", "a/b"}),
                         ROW_NAME);

TEST_F(GstSinkLoss, OfTheServersConsentIsAnErrorOfItsOwn) {
    const Player player("sink", AUDIO_TAG_ALTERNATIVE,
                        {0, 48000, 0, AUDIO_CHANNEL_MAP_2, 0, AUDIO_BIT_DEPTH_16});
    const Pipeline pipeline(playing(sound(), "tag=alternative"));
    gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
    const Message error = errorOfSink(pipeline, 10s);
    ASSERT_NE(error, nullptr);
    EXPECT_EQ(errorOf(error), resource(GST_RESOURCE_ERROR_BUSY));
}

}  // namespace cabinaudio::test
