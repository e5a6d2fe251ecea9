// SPDX-License-Identifier: Apache-2.0
// Changes of state and position of cabinaudiosink.
#include "tests/plugins/gstreamer/SinkFixture.h"
#include "tests/support/Generous.h"
#include "tests/support/ProcessState.h"
#include "tests/support/RealTimeRight.h"
#include "tests/support/Row.h"

#include <gst/audio/gstaudiobasesink.h>
#include <gst/check/gstharness.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <random>

namespace cabinaudio::test {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

namespace {

class GstSinkState : public SinkFixture {};

/// The time that a call takes.
template <typename Function>
Clock::duration duration(const Function& function) {
    const auto begin = Clock::now();
    function();
    return Clock::now() - begin;
}

}  // namespace

TEST_F(GstSinkState, PausedContinuesWithTheNextSample) {
    const auto samples = sound(48000);
    {
        const Pipeline pipeline(playing(samples));
        for (GstClockTime place = 100; place <= 700; place += 100) {
            ASSERT_TRUE(pipeline.become(GST_STATE_PLAYING));
            ASSERT_TRUE(pipeline.reaches(place * GST_MSECOND));
            ASSERT_TRUE(pipeline.become(GST_STATE_PAUSED));
        }
        ASSERT_TRUE(pipeline.play());
    }
    ASSERT_TRUE(mServer.stop());
    EXPECT_EQ(taken().samples, wide(samples));
}

TEST_F(GstSinkState, PausedInItsLastSamplesPlaysThem) {
    {
        const Pipeline pipeline(playing(sound()));
        ASSERT_TRUE(pipeline.become(GST_STATE_PLAYING));
        ASSERT_TRUE(pipeline.reaches(150 * GST_MSECOND));  // all of it has been sent
        ASSERT_TRUE(pipeline.become(GST_STATE_PAUSED));
        EXPECT_EQ(pipeline.wait(GST_MESSAGE_EOS, 300ms), nullptr);
        ASSERT_TRUE(pipeline.play());
    }
    ASSERT_TRUE(mServer.stop());
    EXPECT_EQ(taken().samples, wide(sound()));
}

TEST_F(GstSinkState, PrerolledPlaysNothing) {
    const Pipeline pipeline(playing(sound()));
    ASSERT_TRUE(pipeline.become(GST_STATE_PAUSED));
    EXPECT_EQ(pipeline.wait(GST_MESSAGE_EOS, 50ms), nullptr);
    EXPECT_EQ(streamOf(mServer.server(), "sink").at("frames"), 0);
    EXPECT_EQ(pipeline.position(), 0U);
}

TEST_F(GstSinkState, AFlushingSeekCutsTheSoundExactly) {
    const auto samples = sound(48000);
    {
        const Pipeline pipeline(playing(samples));
        ASSERT_TRUE(pipeline.become(GST_STATE_PLAYING));
        ASSERT_TRUE(pipeline.reaches(200 * GST_MSECOND));
        ASSERT_TRUE(pipeline.seek(700 * GST_MSECOND));
        ASSERT_TRUE(pipeline.play());
    }
    ASSERT_TRUE(mServer.stop());
    EXPECT_TRUE(isCutTo(taken().samples, wide(samples), from(33600, samples)));
    EXPECT_LT(taken().frames(), 14400U + 12000U);
}

TEST_F(GstSinkState, AFlushingSeekAtAnOddRateIsExact) {
    const auto samples = sound(44100);
    {
        const Pipeline pipeline(file(samples, 44100) + "! cabinaudiosink name=sink");
        ASSERT_TRUE(pipeline.become(GST_STATE_PLAYING));
        ASSERT_TRUE(pipeline.reaches(150 * GST_MSECOND));
        ASSERT_TRUE(pipeline.seek(700 * GST_MSECOND));
        ASSERT_TRUE(pipeline.play());
    }
    ASSERT_TRUE(mServer.stop());
    EXPECT_TRUE(isCutTo(taken().samples, wide(samples), from(30870, samples)));
}

TEST_F(GstSinkState, AHundredSeeksEndWithTheLastOne) {
    const auto samples = sound(3 * 48000);
    {
        const Pipeline pipeline(playing(samples));
        ASSERT_TRUE(pipeline.become(GST_STATE_PLAYING));
        std::mt19937 random(1);
        for (int count = 0; count < 99; ++count)
            ASSERT_TRUE(pipeline.seek(random() % 3000 * GST_MSECOND)) << count;
        ASSERT_TRUE(pipeline.seek(2800 * GST_MSECOND));
        ASSERT_TRUE(pipeline.play());
    }
    ASSERT_TRUE(mServer.stop());
    const auto rest = from(2800 * 48, samples);
    EXPECT_TRUE(endsWith(taken().samples, rest));
    // Whatever was heard of the sound of other seeks is older.
    EXPECT_EQ(mServer.report().at("streams").size(), 1U);
}

TEST_F(GstSinkState, PlaysAgainAfterTheEnd) {
    const auto samples = sound(4800);
    {
        const Pipeline pipeline(playing(samples));
        ASSERT_TRUE(pipeline.play());
        ASSERT_TRUE(pipeline.seek(0));
        ASSERT_TRUE(pipeline.play());
        ASSERT_TRUE(pipeline.become(GST_STATE_READY));
        ASSERT_TRUE(pipeline.play());
    }
    ASSERT_TRUE(mServer.stop());
    std::size_t frames = 0;
    for (const auto& stream : mServer.report().at("streams"))
        frames += stream.at("frames").get<std::size_t>();
    EXPECT_EQ(frames, 3U * 4800U);
    EXPECT_EQ(mServer.report().at("streams").size(), 2U);
}

TEST_F(GstSinkState, FiveHundredChangesEndWell) {
    const auto samples = sound(4800);
    {
        const Pipeline pipeline(playing(samples));
        std::mt19937 random(1);
        constexpr GstState STATES[] = {GST_STATE_NULL, GST_STATE_READY, GST_STATE_PAUSED,
                                       GST_STATE_PLAYING};
        for (int count = 0; count < 500; ++count) {
            const GstState state = STATES[random() % 4];
            // Half of them come before the one before is reached.
            if (random() % 2 == 0) {
                ASSERT_NE(gst_element_set_state(pipeline.get(), state), GST_STATE_CHANGE_FAILURE);
            } else {
                ASSERT_TRUE(pipeline.become(state)) << count << " " << state;
            }
        }
        ASSERT_TRUE(pipeline.become(GST_STATE_NULL));
        ASSERT_TRUE(pipeline.play());
    }
    ASSERT_TRUE(mServer.stop());
    const auto& last = mServer.report().at("streams").back();
    EXPECT_EQ(last.at("frames"), 4800);
}

TEST_F(GstSinkState, EndsAtOnceInEachState) {
    for (const GstState state : {GST_STATE_READY, GST_STATE_PAUSED, GST_STATE_PLAYING}) {
        const Pipeline pipeline(playing(sound(48000)));
        ASSERT_TRUE(pipeline.become(state));
        if (state == GST_STATE_PLAYING) {
            ASSERT_TRUE(pipeline.reaches(50 * GST_MSECOND));
        }
        EXPECT_LT(duration([&] { EXPECT_TRUE(pipeline.become(GST_STATE_NULL)); }), 1s) << state;
    }
}

/// The pipeline pauses, and the base class's thread waits.
TEST_F(GstSinkState, EndsAtOnceWhilePausedInTheMiddle) {
    const Pipeline pipeline(playing(sound(48000)));
    ASSERT_TRUE(pipeline.become(GST_STATE_PLAYING));
    ASSERT_TRUE(pipeline.reaches(50 * GST_MSECOND));
    ASSERT_TRUE(pipeline.become(GST_STATE_PAUSED));
    EXPECT_LT(duration([&] { EXPECT_TRUE(pipeline.become(GST_STATE_NULL)); }), 1s);
}

struct StallRow : Row {
    GstState state;
};

class GstSinkInAStall : public GstSinkState, public testing::WithParamInterface<StallRow> {};

/// A request waits for its reply for two seconds; a stream that had none is lost.
TEST_P(GstSinkInAStall, EndsWithinTheBoundOfTheLink) {
    const Pipeline pipeline(playing(sound(48000)));
    ASSERT_TRUE(pipeline.become(GetParam().state));
    if (GetParam().state == GST_STATE_PLAYING) {
        ASSERT_TRUE(pipeline.reaches(50 * GST_MSECOND));
    }
    mServer.server().kill(SIGSTOP);
    const auto took = duration([&] { gst_element_set_state(pipeline.get(), GST_STATE_NULL); });
    mServer.server().kill(SIGCONT);
    EXPECT_LT(took, generous(5s));
}

INSTANTIATE_TEST_SUITE_P(State, GstSinkInAStall,
                         testing::Values(StallRow{"Paused", GST_STATE_PAUSED},
                                         StallRow{"Playing", GST_STATE_PLAYING}),
                         ROW_NAME);

TEST_F(GstSinkState, KeepsItsPropertiesFromPausedOn) {
    const Pipeline pipeline(playing(sound(4800)));
    GstElement* const sink = pipeline.element();
    ASSERT_TRUE(pipeline.become(GST_STATE_PAUSED));
    g_object_set(sink, "stream-param", 7, nullptr);
    gint param = 0;
    g_object_get(sink, "stream-param", &param, nullptr);
    EXPECT_EQ(param, 1);
    const Message warning = pipeline.wait(GST_MESSAGE_WARNING);
    ASSERT_NE(warning, nullptr);
    EXPECT_EQ(errorOf(warning),
              "gst-resource-error-quark " + std::to_string(GST_RESOURCE_ERROR_SETTINGS));
    ASSERT_TRUE(pipeline.become(GST_STATE_READY));
    g_object_set(sink, "stream-param", 7, nullptr);
    g_object_get(sink, "stream-param", &param, nullptr);
    EXPECT_EQ(param, 7);
}

TEST_F(GstSinkState, NamesItsStreamAfterTheProgram) {
    const Pipeline pipeline(file(sound(480)) + "! cabinaudiosink");
    ASSERT_TRUE(pipeline.play());
    const std::string name = stateOf(mServer.server()).at("streams").at(0).at("name");
    EXPECT_EQ(name.rfind("gst-gst-sink-test-" + std::to_string(getpid()) + "-", 0), 0U) << name;
}

TEST_F(GstSinkState, OfAParentIsNotDisturbedByAChildThatEnds) {
    const auto samples = sound(24000);
    {
        const Pipeline pipeline(playing(samples));
        ASSERT_TRUE(pipeline.become(GST_STATE_PLAYING));
        ASSERT_TRUE(pipeline.reaches(100 * GST_MSECOND));
        const pid_t child = fork();
        if (child == 0) {
            alarm(10);
            // GStreamer's threads and locks are the parent's; the sink's own part must be harmless.
            GstAudioRingBuffer* const ring = GST_AUDIO_BASE_SINK(pipeline.element())->ringbuffer;
            GstAudioRingBufferClass* const table = GST_AUDIO_RING_BUFFER_GET_CLASS(ring);
            table->pause(ring);
            table->stop(ring);
            table->clear_all(ring);
            table->release(ring);
            _exit(0);
        }
        int status = -1;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
        ASSERT_TRUE(pipeline.ends());
    }
    ASSERT_TRUE(mServer.stop());
    EXPECT_EQ(taken().samples, wide(samples));
}

TEST_F(GstSinkState, PlaysWithoutTheRightToRealTime) {
    giveUpRealTime();
    {
        const Pipeline pipeline(playing(sound()));
        ASSERT_TRUE(pipeline.play());
    }
    ASSERT_TRUE(mServer.stop());
    EXPECT_EQ(taken().samples, wide(sound()));
}

/// The element in a harness: no pipeline, no other clock than that of the test.
TEST_F(GstSinkState, TakesTheCapsOfStreamsOnly) {
    initGStreamer();
    GstHarness* const harness = gst_harness_new("cabinaudiosink");
    GstPad* const pad = gst_element_get_static_pad(harness->element, "sink");
    const auto accepts = [pad](const char* text) {
        GstCaps* const caps = gst_caps_from_string(text);
        const bool result = gst_pad_query_accept_caps(pad, caps) != FALSE;
        gst_caps_unref(caps);
        return result;
    };
    const std::string two = "audio/x-raw,layout=interleaved,channels=2,channel-mask=(bitmask)3,";
    EXPECT_TRUE(accepts((two + "format=S24LE,rate=8000").c_str()));
    EXPECT_TRUE(accepts((two + "format=S32LE,rate=192000").c_str()));
    EXPECT_FALSE(accepts((two + "format=S16LE,rate=7999").c_str()));
    EXPECT_FALSE(accepts((two + "format=S16LE,rate=192001").c_str()));
    EXPECT_FALSE(accepts((two + "format=S16BE,rate=48000").c_str()));
    EXPECT_FALSE(accepts((two + "format=F32LE,rate=48000").c_str()));
    EXPECT_FALSE(
        accepts("audio/x-raw,layout=interleaved,format=S16LE,rate=48000,channels=7,"
                "channel-mask=(bitmask)0"));
    gst_object_unref(pad);
    gst_harness_teardown(harness);
}

}  // namespace cabinaudio::test
