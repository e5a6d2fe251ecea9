// SPDX-License-Identifier: Apache-2.0
#include "plugins/gstreamer/StreamFormats.h"

#include "plugins/common/Streams.h"

#include <algorithm>

namespace cabinaudio::gstreamer {

namespace {

constexpr std::array<GstAudioChannelPosition, MOST_CHANNELS> SERVER_ORDER = {
    GST_AUDIO_CHANNEL_POSITION_FRONT_LEFT,   GST_AUDIO_CHANNEL_POSITION_FRONT_RIGHT,
    GST_AUDIO_CHANNEL_POSITION_REAR_LEFT,    GST_AUDIO_CHANNEL_POSITION_REAR_RIGHT,
    GST_AUDIO_CHANNEL_POSITION_FRONT_CENTER, GST_AUDIO_CHANNEL_POSITION_LFE1};

/// Rear or side channels, or none with a position: in this order converters choose.
constexpr char CAPS[] =
    "audio/x-raw,channels=2,channel-mask=(bitmask)0x3;"
    "audio/x-raw,channels=1;"
    "audio/x-raw,channels=6,channel-mask=(bitmask){0x3f,0xc0f};"
    "audio/x-raw,channels=5,channel-mask=(bitmask){0x37,0xc07};"
    "audio/x-raw,channels=4,channel-mask=(bitmask){0x33,0xc03};"
    "audio/x-raw,channels=3,channel-mask=(bitmask){0x13,0x403};"
    "audio/x-raw,channels=[2,6],channel-mask=(bitmask)0x0";

GstAudioChannelPosition asSide(GstAudioChannelPosition position) {
    switch (position) {
        case GST_AUDIO_CHANNEL_POSITION_REAR_LEFT:
            return GST_AUDIO_CHANNEL_POSITION_SIDE_LEFT;
        case GST_AUDIO_CHANNEL_POSITION_REAR_RIGHT:
            return GST_AUDIO_CHANNEL_POSITION_SIDE_RIGHT;
        default:
            return position;
    }
}

}  // namespace

GstCaps* streamCaps() {
    GstCaps* const formats = gst_caps_from_string(
        "audio/x-raw,format={S16LE,S24LE,S32LE,U8},layout=interleaved,"
        "rate=[8000,192000]");
    GstCaps* const channels = gst_caps_from_string(CAPS);
    GstCaps* const result = gst_caps_intersect_full(channels, formats, GST_CAPS_INTERSECT_FIRST);
    gst_caps_unref(channels);
    gst_caps_unref(formats);
    return result;
}

void addPadTemplate(GstElementClass* elementClass, GstPadDirection direction, GstCaps* caps) {
    const char* const name = direction == GST_PAD_SRC ? "src" : "sink";
    gst_element_class_add_pad_template(elementClass,
                                       gst_pad_template_new(name, direction, GST_PAD_ALWAYS, caps));
    gst_caps_unref(caps);
}

AudioFormatDesc streamFormat(const GstAudioInfo& info) {
    return plugin::pcmFormat(static_cast<unsigned>(GST_AUDIO_INFO_RATE(&info)),
                             static_cast<unsigned>(GST_AUDIO_INFO_CHANNELS(&info)),
                             static_cast<unsigned>(GST_AUDIO_INFO_WIDTH(&info)));
}

std::array<GstAudioChannelPosition, 64> serverPositions(const GstAudioInfo& info) {
    const int channels = std::min(GST_AUDIO_INFO_CHANNELS(&info), MOST_CHANNELS);
    const bool hasSides = std::any_of(info.position, info.position + channels, [](auto position) {
        return position == GST_AUDIO_CHANNEL_POSITION_SIDE_LEFT;
    });
    std::array<GstAudioChannelPosition, 64> positions = {};
    std::transform(SERVER_ORDER.begin(), SERVER_ORDER.begin() + channels, positions.begin(),
                   [hasSides](auto position) { return hasSides ? asSide(position) : position; });
    return positions;
}

bool isReordered(const GstAudioInfo& info) {
    return GST_AUDIO_INFO_CHANNELS(&info) > 1 && !GST_AUDIO_INFO_IS_UNPOSITIONED(&info);
}

}  // namespace cabinaudio::gstreamer
