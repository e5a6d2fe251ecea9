// SPDX-License-Identifier: Apache-2.0
#include "plugins/gstreamer/SinkSamples.h"

#include "plugins/gstreamer/StreamFormats.h"

#include <algorithm>
#include <cstdlib>

namespace cabinaudio::gstreamer {

namespace {

std::vector<guint8> stretched(const guint8* data, std::size_t frameBytes, std::size_t inputs,
                              std::size_t outputs, bool isReverse) {
    std::vector<guint8> result(outputs * frameBytes);
    for (std::size_t i = 0; i < outputs; ++i) {
        const std::size_t nearest = std::min(i * inputs / outputs, inputs - 1);
        const std::size_t from = isReverse ? inputs - 1 - nearest : nearest;
        std::copy_n(data + from * frameBytes, frameBytes, result.data() + i * frameBytes);
    }
    return result;
}

/// Whether the channels have another order than those of the server.
bool mustReorder(const GstAudioInfo& info,
                 const std::array<GstAudioChannelPosition, 64>& positions) {
    return isReordered(info) &&
           !std::equal(info.position, info.position + GST_AUDIO_INFO_CHANNELS(&info),
                       positions.begin());
}

}  // namespace

const guint8* samplesToPlay(const GstAudioInfo& info, const guint8* data, gint inputs, gint outputs,
                            std::vector<guint8>& converted) {
    const auto frameBytes = static_cast<std::size_t>(GST_AUDIO_INFO_BPF(&info));
    const auto frames = static_cast<std::size_t>(std::abs(outputs));
    const auto positions = serverPositions(info);
    const bool isReordering = mustReorder(info, positions);
    if (inputs != outputs)
        converted =
            stretched(data, frameBytes, static_cast<std::size_t>(inputs), frames, outputs < 0);
    else if (isReordering)
        converted.assign(data, data + frames * frameBytes);
    else
        return data;
    if (isReordering)
        gst_audio_reorder_channels(converted.data(), converted.size(), GST_AUDIO_INFO_FORMAT(&info),
                                   GST_AUDIO_INFO_CHANNELS(&info), info.position, positions.data());
    return converted.data();
}

}  // namespace cabinaudio::gstreamer
