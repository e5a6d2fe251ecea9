// SPDX-License-Identifier: Apache-2.0
#include "tools/play/Samples.h"

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace cabinaudio::tool {

namespace {

/// Each takes the sample as a 32-bit number, left-justified.
void put(AudioBitDepthType depth, std::int32_t sample, unsigned char*& to) {
    const auto bits = static_cast<std::uint32_t>(sample);
    switch (depth) {
        case AUDIO_BIT_DEPTH_8:
            *to++ = static_cast<unsigned char>((bits >> 24) ^ 0x80u);
            return;
        case AUDIO_BIT_DEPTH_16:
            break;
        case AUDIO_BIT_DEPTH_24:
            *to++ = static_cast<unsigned char>(bits >> 8);
            break;
        default:
            *to++ = static_cast<unsigned char>(bits);
            *to++ = static_cast<unsigned char>(bits >> 8);
            break;
    }
    *to++ = static_cast<unsigned char>(bits >> 16);
    *to++ = static_cast<unsigned char>(bits >> 24);
}

std::int32_t justified(std::int16_t sample) {
    return sample * 65536;
}

std::int32_t justified(std::int32_t sample) {
    return sample;
}

/// Rounds to the target depth; rounding to more bits would truncate later.
std::int32_t justified(float sample, AudioBitDepthType depth) {
    const double steps = std::ldexp(1.0, static_cast<int>(depth) - 1);
    const double rounded = std::nearbyint(static_cast<double>(sample) * steps);
    const double clipped =
        std::isnan(rounded) ? 0 : std::clamp(rounded, -steps, steps - 1);  // full scale is -1
    return static_cast<std::int32_t>(clipped * (std::ldexp(1.0, 31) / steps));
}

template <typename Sample, typename Justify>
void convertAll(const void* from, std::size_t count, AudioBitDepthType depth, unsigned char* to,
                Justify justify) {
    const auto* next = static_cast<const unsigned char*>(from);
    for (std::size_t i = 0; i < count; ++i, next += sizeof(Sample)) {
        Sample sample;
        std::memcpy(&sample, next, sizeof sample);
        put(depth, justify(sample), to);
    }
}

}  // namespace

SamplePlan planFor(int sndfileFormat) {
    switch (sndfileFormat & SF_FORMAT_SUBMASK) {
        case SF_FORMAT_PCM_S8:
        case SF_FORMAT_PCM_U8:
            return {SampleSource::Short, AUDIO_BIT_DEPTH_8};
        case SF_FORMAT_PCM_24:
        case SF_FORMAT_ALAC_20:
        case SF_FORMAT_ALAC_24:
        case SF_FORMAT_DWVW_24:
            return {SampleSource::Int, AUDIO_BIT_DEPTH_24};
        case SF_FORMAT_PCM_32:
        case SF_FORMAT_ALAC_32:
            return {SampleSource::Int, AUDIO_BIT_DEPTH_32};
        case SF_FORMAT_FLOAT:
        case SF_FORMAT_DOUBLE:
            return {SampleSource::Float, AUDIO_BIT_DEPTH_32};
        case SF_FORMAT_VORBIS:
        case SF_FORMAT_OPUS:
        case SF_FORMAT_MPEG_LAYER_I:
        case SF_FORMAT_MPEG_LAYER_II:
        case SF_FORMAT_MPEG_LAYER_III:
            return {SampleSource::Float, AUDIO_BIT_DEPTH_16};
        default:
            return {SampleSource::Short, AUDIO_BIT_DEPTH_16};
    }
}

std::size_t sourceBytes(SampleSource source) {
    return source == SampleSource::Short ? sizeof(std::int16_t) : sizeof(std::int32_t);
}

void convertSamples(const SamplePlan& plan, const void* from, std::size_t count,
                    unsigned char* to) {
    const AudioBitDepthType depth = plan.depth;
    switch (plan.source) {
        case SampleSource::Short:
            return convertAll<std::int16_t>(from, count, depth, to,
                                            [](std::int16_t sample) { return justified(sample); });
        case SampleSource::Int:
            return convertAll<std::int32_t>(from, count, depth, to,
                                            [](std::int32_t sample) { return justified(sample); });
        case SampleSource::Float:
            return convertAll<float>(from, count, depth, to,
                                     [&](float sample) { return justified(sample, depth); });
    }
}

}  // namespace cabinaudio::tool
