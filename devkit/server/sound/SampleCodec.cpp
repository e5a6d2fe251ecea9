// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/sound/SampleCodec.h"

#include <samplerate.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace cabinaudio::server {
namespace {

float fromUnsigned8(std::uint8_t sample) {
    return static_cast<float>(sample - 128) / 128.0F;
}

std::uint8_t toUnsigned8(float sample) {
    return static_cast<std::uint8_t>(std::clamp(std::lrint(sample * 128.0F) + 128, 0L, 255L));
}

float fromPacked24(const std::uint8_t* sample) {
    std::int32_t value = 0;
    std::memcpy(reinterpret_cast<std::uint8_t*>(&value) + 1, sample, 3);
    return static_cast<float>(value >> 8) / 8388608.0F;
}

/// libsamplerate produces 32 bits; the upper 24 are packed.
void pack24(std::span<const std::int32_t> in, std::uint8_t* out) {
    for (const std::int32_t sample : in) {
        std::memcpy(out, reinterpret_cast<const std::uint8_t*>(&sample) + 1, 3);
        out += 3;
    }
}

}  // namespace

const char* nameOf(SampleType type) {
    switch (type) {
        case SampleType::S16:
            return "s16";
        case SampleType::S24:
            return "s24";
        case SampleType::S32:
            return "s32";
        case SampleType::Float:
            break;
    }
    return "float";
}

std::optional<SampleType> sampleTypeOf(const std::string& name) {
    for (const auto type : {SampleType::S16, SampleType::S24, SampleType::S32, SampleType::Float}) {
        if (name == nameOf(type)) return type;
    }
    return std::nullopt;
}

std::size_t sizeOf(SampleType type) {
    switch (type) {
        case SampleType::S16:
            return 2;
        case SampleType::S24:
            return 3;
        case SampleType::S32:
        case SampleType::Float:
            break;
    }
    return 4;
}

float largest(SampleType type) {
    switch (type) {
        case SampleType::S16:
            return 32767.0F / 32768.0F;
        case SampleType::S24:
            return 8388607.0F / 8388608.0F;
        case SampleType::S32:  // the next larger float is 1.0
        case SampleType::Float:
            break;
    }
    return 1.0F;
}

void decodeSamples(unsigned bytesPerSample, const std::uint8_t* in, std::span<float> out) {
    const auto count = static_cast<int>(out.size());
    switch (bytesPerSample) {
        case 1:
            std::transform(in, in + count, out.begin(), fromUnsigned8);
            break;
        case 2:
            src_short_to_float_array(reinterpret_cast<const short*>(in), out.data(), count);
            break;
        case 3:
            for (float& sample : out) {
                sample = fromPacked24(in);
                in += 3;
            }
            break;
        default:
            src_int_to_float_array(reinterpret_cast<const int*>(in), out.data(), count);
            break;
    }
}

void encodeSamples(SampleType type, std::span<const float> in, std::vector<std::uint8_t>& out) {
    const auto count = static_cast<int>(in.size());
    out.resize(in.size() * sizeOf(type));
    switch (type) {
        case SampleType::S16:
            src_float_to_short_array(in.data(), reinterpret_cast<short*>(out.data()), count);
            break;
        case SampleType::S24: {
            std::vector<std::int32_t> wide(in.size());
            src_float_to_int_array(in.data(), wide.data(), count);
            pack24(wide, out.data());
            break;
        }
        case SampleType::S32:
            src_float_to_int_array(in.data(), reinterpret_cast<int*>(out.data()), count);
            break;
        case SampleType::Float:
            std::memcpy(out.data(), in.data(), in.size_bytes());
            break;
    }
}

void encodeSamples(unsigned bytesPerSample, std::span<const float> in,
                   std::vector<std::uint8_t>& out) {
    switch (bytesPerSample) {
        case 1:
            out.resize(in.size());
            std::transform(in.begin(), in.end(), out.begin(), toUnsigned8);
            break;
        case 2:
            encodeSamples(SampleType::S16, in, out);
            break;
        case 3:
            encodeSamples(SampleType::S24, in, out);
            break;
        default:
            encodeSamples(SampleType::S32, in, out);
            break;
    }
}

}  // namespace cabinaudio::server
