// SPDX-License-Identifier: Apache-2.0
// Sound through cabinaudiosink, in pipelines of the test's process, against the real server.
#include "tests/plugins/gstreamer/SinkFixture.h"
#include "tests/support/Row.h"

#include <array>
#include <cstring>

namespace cabinaudio::test {

namespace {

class GstSink : public SinkFixture {
protected:
    /// Samples in a buffer; without a time if it is negative.
    template <typename Sample>
    static void push(const Pipeline& pipeline, const std::vector<Sample>& samples, double seconds) {
        const std::size_t bytes = samples.size() * sizeof(Sample);
        GstBuffer* const buffer = gst_buffer_new_allocate(nullptr, bytes, nullptr);
        gst_buffer_fill(buffer, 0, samples.data(), bytes);
        if (seconds >= 0) GST_BUFFER_PTS(buffer) = static_cast<GstClockTime>(seconds * GST_SECOND);
        if (seconds >= 0) GST_BUFFER_FLAG_SET(buffer, GST_BUFFER_FLAG_DISCONT);
        GstFlowReturn flow = GST_FLOW_OK;
        g_signal_emit_by_name(pipeline.element("source"), "push-buffer", buffer, &flow);
        gst_buffer_unref(buffer);
        ASSERT_EQ(flow, GST_FLOW_OK);
    }
    static void start(const Pipeline& pipeline) {
        ASSERT_NE(gst_element_set_state(pipeline.get(), GST_STATE_PLAYING),
                  GST_STATE_CHANGE_FAILURE);
    }
    static void end(const Pipeline& pipeline) {
        GstFlowReturn flow = GST_FLOW_OK;
        g_signal_emit_by_name(pipeline.element("source"), "end-of-stream", &flow);
        ASSERT_EQ(flow, GST_FLOW_OK);
    }

    static std::string pushed(const std::string& format = "S16LE", unsigned rate = 48000,
                              unsigned channels = 2, const std::string& mask = "0x3") {
        return "appsrc name=source format=time caps=audio/x-raw,layout=interleaved,format=" +
               format + ",rate=" + std::to_string(rate) + ",channels=" + std::to_string(channels) +
               (channels > 1 ? ",channel-mask=(bitmask)" + mask : "") +
               " ! cabinaudiosink name=sink";
    }
};

}  // namespace

TEST_F(GstSink, PlaysEachSampleOnceUntilTheEndOfTheStream) {
    {
        const Pipeline pipeline(playing(sound()));
        ASSERT_TRUE(pipeline.play());
        const auto stream = streamOf(mServer.server(), "sink");
        EXPECT_EQ(stream.at("frames"), 12000) << "before the message";
    }
    ASSERT_TRUE(mServer.stop());
    EXPECT_TRUE(mServer.heard("sink", wide(sound())));
    EXPECT_EQ(mServer.stream("sink").at("underruns"), 0);
}

struct TagRow : Row {
    const char* tag;
};

class GstSinkOfTag : public GstSink, public testing::WithParamInterface<TagRow> {};

TEST_P(GstSinkOfTag, IsHeardSampleForSample) {
    const std::string tag = GetParam().tag;
    {
        const Pipeline pipeline(playing(sound(), "tag=" + tag));
        ASSERT_TRUE(pipeline.play());
    }
    ASSERT_TRUE(mServer.stop());
    EXPECT_TRUE(mServer.heard("sink", wide(sound())));
    EXPECT_EQ(mServer.stream("sink").at("tag"), tag);
    EXPECT_EQ(mServer.stream("sink").at("underruns"), 0);
}

INSTANTIATE_TEST_SUITE_P(Tag, GstSinkOfTag,
                         testing::Values(TagRow{"Alternative", "alternative"},
                                         TagRow{"Main", "main"}),
                         ROW_NAME);

TEST_F(GstSink, BeginsWithTheFirstSampleEachTime) {
    constexpr int ROUNDS = 50;
    const auto piece = sound(480);
    for (int round = 0; round < ROUNDS; ++round) {
        const Pipeline pipeline(playing(piece, "stream-name=s" + std::to_string(round)));
        ASSERT_TRUE(pipeline.play()) << round;
    }
    ASSERT_TRUE(mServer.stop());
    for (int round = 0; round < ROUNDS; ++round)
        EXPECT_TRUE(mServer.heard("s" + std::to_string(round), wide(piece)));
}

struct FormatRow : Row {
    const char* format;
    unsigned channels;
    unsigned rate;
    unsigned bits;
};

class GstSinkOfFormat : public GstSink, public testing::WithParamInterface<FormatRow> {};

TEST_P(GstSinkOfFormat, ReachesTheServerByteForByte) {
    const auto& row = GetParam();
    const std::size_t bytes = row.bits / 8;
    const std::size_t samples = row.channels * row.rate / 20;
    // Little-endian samples of whichever size; noise in all of their bytes.
    const std::vector<std::int16_t> noise = noise16(samples * bytes / 2 + 1);
    std::vector<unsigned char> data(samples * bytes);
    std::memcpy(data.data(), noise.data(), data.size());
    {
        const Pipeline pipeline(pushed(row.format, row.rate, row.channels, "0x0"));
        start(pipeline);
        push(pipeline, data, 0);
        end(pipeline);
        ASSERT_TRUE(pipeline.ends());
    }
    ASSERT_TRUE(mServer.stop());
    const Wav stem = taken();
    EXPECT_EQ(stem.rate, row.rate);
    EXPECT_EQ(stem.channels, row.channels);
    ASSERT_EQ(stem.samples.size(), samples);
    for (std::size_t i = 0; i < samples; ++i) {
        std::uint32_t expected = 0;
        for (std::size_t b = 0; b < bytes; ++b)
            expected |= std::uint32_t{data[i * bytes + b]} << (32 - 8 * bytes + 8 * b);
        if (bytes == 1) expected ^= 0x80000000U;
        ASSERT_EQ(static_cast<std::uint32_t>(stem.samples[i]), expected) << "sample " << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Format, GstSinkOfFormat,
                         testing::Values(FormatRow{"U8", "U8", 1, 8000, 8},
                                         FormatRow{"S16", "S16LE", 2, 44100, 16},
                                         FormatRow{"ThreeChannels", "S16LE", 3, 24000, 16},
                                         FormatRow{"FourChannels", "S16LE", 4, 16000, 16},
                                         FormatRow{"FiveChannels", "S32LE", 5, 32000, 32},
                                         FormatRow{"S24", "S24LE", 6, 48000, 24},
                                         FormatRow{"S32", "S32LE", 2, 192000, 32}),
                         ROW_NAME);

struct LayoutRow : Row {
    const char* mask;
};

class GstSinkOfLayout : public GstSink, public testing::WithParamInterface<LayoutRow> {};

TEST_P(GstSinkOfLayout, HasTheServersOrderOfChannels) {
    // In GStreamer's order: front left and right, centre, low, surround left and right.
    std::vector<std::int16_t> frames;
    for (std::int16_t frame = 0; frame < 2000; ++frame)
        for (std::int16_t channel = 1; channel <= 6; ++channel)
            frames.push_back(static_cast<std::int16_t>(channel * 4000 + frame));
    {
        const Pipeline pipeline(pushed("S16LE", 48000, 6, GetParam().mask));
        start(pipeline);
        push(pipeline, frames, 0);
        end(pipeline);
        ASSERT_TRUE(pipeline.ends());
    }
    ASSERT_TRUE(mServer.stop());
    constexpr std::array<int, 6> SERVER = {1, 2, 5, 6, 3, 4};
    const Wav stem = taken();
    ASSERT_EQ(stem.samples.size(), frames.size());
    for (std::size_t i = 0; i < stem.samples.size(); ++i)
        ASSERT_EQ(stem.samples[i] / 65536, SERVER[i % 6] * 4000 + static_cast<int>(i / 6));
}

INSTANTIATE_TEST_SUITE_P(Layout, GstSinkOfLayout,
                         testing::Values(LayoutRow{"Rear", "0x3f"}, LayoutRow{"Side", "0xc0f"}),
                         ROW_NAME);

TEST_F(GstSink, PlaysASoundToItsEndBeforeOneOfAnotherFormat) {
    {
        const Pipeline pipeline("concat name=both ! cabinaudiosink name=sink " + file(sound()) +
                                "! both. " + file(sound(9000, 2), 32000, "next.wav") + "! both.");
        ASSERT_TRUE(pipeline.play());
    }
    ASSERT_TRUE(mServer.stop());
    const auto& streams = mServer.report().at("streams");
    ASSERT_EQ(streams.size(), 2U);
    EXPECT_EQ(streams.at(0).at("frames"), 12000);
    EXPECT_EQ(streams.at(1).at("frames"), 9000);
}

TEST_F(GstSink, PlaysTwoFilesWithoutAGap) {
    auto both = sound();
    const auto second = sound(9000, 2);
    {
        const Pipeline pipeline("concat name=both ! cabinaudiosink name=sink " + file(both) +
                                "! both. " + file(second, 48000, "next.wav") + "! both.");
        ASSERT_TRUE(pipeline.play());
    }
    ASSERT_TRUE(mServer.stop());
    both.insert(both.end(), second.begin(), second.end());
    EXPECT_TRUE(mServer.heard("sink", wide(both)));
}

TEST_F(GstSink, PlaysWithAnotherAtTheSameTime) {
    const auto other = sound(12000, 2);
    {
        const Pipeline pipeline(playing(sound()) + " " + file(other, 48000, "other.wav") +
                                "! cabinaudiosink name=other tag=alternative");
        ASSERT_TRUE(pipeline.play());
    }
    ASSERT_TRUE(mServer.stop());
    EXPECT_EQ(taken().samples, wide(sound()));
    EXPECT_EQ(taken("other", "alternative").samples, wide(other));
}

TEST_F(GstSink, ContinuesSoundWithoutTimes) {
    {
        const Pipeline pipeline(pushed());
        start(pipeline);
        for (std::uint32_t piece = 1; piece <= 10; ++piece)
            push(pipeline, sound(1000, piece), -1);
        end(pipeline);
        ASSERT_TRUE(pipeline.ends());
    }
    ASSERT_TRUE(mServer.stop());
    std::vector<std::int16_t> expected;
    for (std::uint32_t piece = 1; piece <= 10; ++piece) {
        const auto samples = sound(1000, piece);
        expected.insert(expected.end(), samples.begin(), samples.end());
    }
    EXPECT_EQ(taken().samples, wide(expected));
}

TEST_F(GstSink, IsSilentBetweenSoundsThatAreApart) {
    {
        const Pipeline pipeline(pushed());
        start(pipeline);
        push(pipeline, sound(2400), 0);
        push(pipeline, sound(2400, 2), 0.15);
        end(pipeline);
        ASSERT_TRUE(pipeline.ends());
    }
    ASSERT_TRUE(mServer.stop());
    std::vector<std::int16_t> expected = sound(2400);
    expected.resize(2 * 7200);
    const auto second = sound(2400, 2);
    expected.insert(expected.end(), second.begin(), second.end());
    EXPECT_EQ(taken().samples, wide(expected));
}

/// The clock must run although nothing is played: others wait for it.
TEST_F(GstSink, IsSilentForAsLongAsAGapLasts) {
    {
        const Pipeline pipeline(pushed());
        start(pipeline);
        push(pipeline, sound(2400), 0);
        ASSERT_TRUE(gst_element_send_event(pipeline.element("source"),
                                           gst_event_new_gap(50 * GST_MSECOND, 250 * GST_MSECOND)));
        push(pipeline, sound(2400, 2), 0.3);
        end(pipeline);
        ASSERT_TRUE(pipeline.ends());
    }
    ASSERT_TRUE(mServer.stop());
    EXPECT_TRUE(endsWith(taken().samples, wide(sound(2400, 2))));
    const auto& segments = mServer.stream("sink").at("segments");
    const auto& heard = mServer.wav().samples;
    const auto find = [&](const std::vector<std::int32_t>& piece) {
        return std::search(heard.begin(), heard.end(), piece.begin(), piece.end());
    };
    ASSERT_NE(find(wide(sound(2400, 2))), heard.end()) << segments;
    const auto distance = (find(wide(sound(2400, 2))) - find(wide(sound(2400)))) / 2;
    EXPECT_NEAR(static_cast<double>(distance), 0.3 * 48000, 0.05 * 48000);
}

struct RateRow : Row {
    double rate;
};

class GstSinkAtRate : public GstSink, public testing::WithParamInterface<RateRow> {};

TEST_P(GstSinkAtRate, PlaysASecondInAQuarterOfIt) {
    const Pipeline pipeline(
        "audiotestsrc ! audio/x-raw,format=S16LE,rate=48000,channels=2"
        " ! cabinaudiosink name=sink");
    ASSERT_TRUE(pipeline.become(GST_STATE_PAUSED));
    constexpr auto FLAGS = static_cast<GstSeekFlags>(GST_SEEK_FLAG_FLUSH | GST_SEEK_FLAG_ACCURATE);
    ASSERT_TRUE(gst_element_seek(pipeline.get(), GetParam().rate, GST_FORMAT_TIME, FLAGS,
                                 GST_SEEK_TYPE_SET, 0, GST_SEEK_TYPE_SET, GST_SECOND));
    ASSERT_TRUE(pipeline.play());
    EXPECT_NEAR(streamOf(mServer.server(), "sink").at("frames").get<double>(), 12000, 100);
}

INSTANTIATE_TEST_SUITE_P(Rate, GstSinkAtRate,
                         testing::Values(RateRow{"Forwards", 4}, RateRow{"Backwards", -4}),
                         ROW_NAME);

TEST_F(GstSink, HasVolumeAndMuteOfTheServer) {
    const Pipeline pipeline(playing(sound(96000), "volume=0.5"));
    GstElement* const sink = pipeline.element();
    ASSERT_TRUE(pipeline.become(GST_STATE_PLAYING));
    const auto gain = [&]() -> double {
        const auto state = stateOf(mServer.server());
        for (const auto& track : state.at("settings").at("volume").at("tracks"))
            if (track.at("name") == "sink") return track.at("gain_db");
        ADD_FAILURE() << state;
        return 99;
    };
    EXPECT_NEAR(gain(), -6.02, 0.01);
    g_object_set(sink, "mute", TRUE, nullptr);
    EXPECT_EQ(gain(), -103.5);
    double volume = 0;
    g_object_get(sink, "volume", &volume, nullptr);
    EXPECT_EQ(volume, 0.5) << "kept by the mute";
    g_object_set(sink, "volume", 10.0, "mute", FALSE, nullptr);
    EXPECT_NEAR(gain(), 20, 0.01);
    g_object_set(sink, "volume", 0.0, nullptr);
    EXPECT_EQ(gain(), -103.5);
}

TEST_F(GstSink, ReportsItsLatencyToLivePipelines) {
    const Pipeline pipeline(
        "audiotestsrc is-live=true ! audio/x-raw,format=S16LE,rate=48000,channels=2"
        " ! cabinaudiosink name=sink buffer-time=96000");
    ASSERT_NE(gst_element_set_state(pipeline.get(), GST_STATE_PLAYING), GST_STATE_CHANGE_FAILURE);
    ASSERT_TRUE(pipeline.reaches(50 * GST_MSECOND));
    GstQuery* const query = gst_query_new_latency();
    ASSERT_TRUE(gst_element_query(pipeline.get(), query));
    GstClockTime least = 0;
    gst_query_parse_latency(query, nullptr, &least, nullptr);
    gst_query_unref(query);
    GstQuery* const ofSource = gst_query_new_latency();
    GstClockTime source = 0;
    GstPad* const peer = gst_element_get_static_pad(pipeline.element(), "sink");
    ASSERT_TRUE(gst_pad_peer_query(peer, ofSource));
    gst_query_parse_latency(ofSource, nullptr, &source, nullptr);
    gst_object_unref(peer);
    gst_query_unref(ofSource);
    guint64 deadline = 0;
    g_object_get(pipeline.element(), "processing-deadline", &deadline, nullptr);
    EXPECT_EQ(least - source - deadline, 7 * 16 * GST_MSECOND)
        << "six periods here, one in the server";
}

}  // namespace cabinaudio::test
