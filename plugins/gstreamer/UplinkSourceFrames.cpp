// SPDX-License-Identifier: Apache-2.0
#include "plugins/gstreamer/UplinkSourceFrames.h"

#include <array>
#include <optional>

namespace cabinaudio::gstreamer {

namespace {

constexpr std::uint64_t NS_PER_SECOND = 1'000'000'000;
constexpr std::uint64_t NS_PER_MS = 1'000'000;

// ---- Opus (RFC 6716, 3.1 and 3.2) ---------------------------------------------------------------

constexpr unsigned FIRST_HYBRID = 12;
constexpr unsigned FIRST_CELT = 16;

std::uint64_t opusFrame(unsigned configuration) {
    constexpr std::array<std::uint64_t, 4> SILK = {10, 20, 40, 60};  // ms
    if (configuration < FIRST_HYBRID) return SILK.at(configuration & 3) * NS_PER_MS;
    if (configuration < FIRST_CELT) return SILK.at(configuration & 1) * NS_PER_MS;
    return (NS_PER_MS * 5 / 2) << (configuration & 3);
}

/// Little-endian.
std::string number(std::uint32_t value, unsigned bytes) {
    std::string text;
    for (; bytes != 0; --bytes, value >>= 8)
        text.push_back(static_cast<char>(value & 0xffU));
    return text;
}

// ---- AAC (ISO/IEC 14496-3, 1.6.2 and 1.7.3) -----------------------------------------------------

constexpr std::size_t LOAS_HEADER = 3;

constexpr unsigned OBJECT_SBR = 5;
constexpr unsigned OBJECT_LOW_DELAY = 23;
constexpr unsigned OBJECT_PARAMETRIC_STEREO = 29;
constexpr unsigned OBJECT_ENHANCED_LOW_DELAY = 39;

/// Reads numbers from the most significant bit on; zeroes behind the end.
class Bits {
public:
    explicit Bits(std::span<const unsigned char> bytes) : mBytes(bytes) {}

    unsigned get(unsigned count) {
        unsigned value = 0;
        for (; count != 0; --count, ++mPlace)
            value = (value << 1) | bit();
        return value;
    }
    [[nodiscard]] bool isOver() const { return mPlace > mBytes.size() * 8; }

private:
    [[nodiscard]] unsigned bit() const {
        const std::size_t byte = mPlace / 8;
        return byte < mBytes.size() ? (mBytes[byte] >> (7 - mPlace % 8)) & 1U : 0;
    }

    std::span<const unsigned char> mBytes;
    std::size_t mPlace = 0;
};

unsigned objectType(Bits& bits) {
    constexpr unsigned ESCAPE = 31;
    const unsigned type = bits.get(5);
    return type == ESCAPE ? 32 + bits.get(6) : type;
}

unsigned samplingRate(Bits& bits) {
    constexpr std::array<unsigned, 16> RATES = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                                22050, 16000, 12000, 11025, 8000,  7350};
    constexpr unsigned ESCAPE = 15;
    const unsigned index = bits.get(4);
    return index == ESCAPE ? bits.get(24) : RATES.at(index);
}

unsigned frameSamples(unsigned object, bool isShort) {
    if (object == OBJECT_LOW_DELAY || object == OBJECT_ENHANCED_LOW_DELAY)
        return isShort ? 480 : 512;
    return isShort ? 960 : 1024;
}

struct LoasConfig {
    unsigned rate;  // of the frames' samples
    unsigned samples;
};

/// @param bits  behind the flag that announces the configuration
std::optional<LoasConfig> readConfig(Bits& bits) {
    if (bits.get(1) != 0) return std::nullopt;  // version 1
    bits.get(1);                                // the same time framing
    const unsigned frames = bits.get(6) + 1;
    bits.get(4 + 3);  // programs, layers
    unsigned object = objectType(bits);
    const unsigned rate = samplingRate(bits);
    bits.get(4);  // channels
    if (object == OBJECT_SBR || object == OBJECT_PARAMETRIC_STEREO) {
        samplingRate(bits);
        object = objectType(bits);
    }
    const unsigned samples = frames * frameSamples(object, bits.get(1) != 0);
    if (bits.isOver() || rate == 0) return std::nullopt;
    return LoasConfig{rate, samples};
}

}  // namespace

std::uint64_t opusDuration(std::span<const unsigned char> packet) {
    if (packet.empty()) return 0;
    const std::uint64_t frame = opusFrame(packet[0] >> 3);
    switch (packet[0] & 3) {
        case 0:
            return frame;
        case 3:
            return packet.size() < 2 ? 0 : frame * (packet[1] & 0x3fU);
        default:
            return 2 * frame;
    }
}

/// No sound is skipped at the beginning: the encoder has been running.
std::array<std::string, 2> opusHeaders(unsigned rate, unsigned channels) {
    const std::string version(1, '\1');
    const std::string skipped = number(0, 2);
    const std::string gain = number(0, 2);
    const std::string family = number(0, 1);
    const std::string vendor = "cabinaudio";
    const auto length = static_cast<std::uint32_t>(vendor.size());
    return {"OpusHead" + version + number(channels, 1) + skipped + number(rate, 4) + gain + family,
            "OpusTags" + number(length, 4) + vendor + number(0, 4)};
}

std::uint64_t LoasDuration::of(std::span<const unsigned char> frame) {
    if (frame.size() > LOAS_HEADER) {
        Bits bits(frame.subspan(LOAS_HEADER));
        const bool hasConfig = bits.get(1) == 0;
        if (const auto config = hasConfig ? readConfig(bits) : std::nullopt) {
            mRate = config->rate;
            mSamples = config->samples;
        }
    }
    return mSamples * NS_PER_SECOND / mRate;
}

}  // namespace cabinaudio::gstreamer
