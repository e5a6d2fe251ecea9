// SPDX-License-Identifier: Apache-2.0
#include "client/UplinkSilence.h"

#include <cabinaudio/foundation/AudioMath.h>

#include "client/SilentFrames.h"
#include "client/UplinkCodec.h"
#include "client/UplinkPacing.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace cabinaudio {

namespace {

/// Fills `count` samples from `at` with noise, each the upper bits of one random number.
template <typename Sample>
void noise(unsigned char* at, std::uint64_t count, unsigned shift) {
    for (; count > 0; --count, at += sizeof(Sample)) {
        const auto sample = static_cast<Sample>(audioMathRandn() >> shift);
        std::memcpy(at, &sample, sizeof sample);
    }
}

/// AUDIO_ASSERT failure whose log line names the operation.
[[noreturn]] void abortOn(const char* broken, const LogSite& site) {
    AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "AUDIO ASSERT(%s)!\n", broken);
    std::abort();
}

}  // namespace

unsigned UplinkSilence::fill(unsigned char* buffer, unsigned bytes, const LogSite& site) const {
    switch (mFormat.codecType) {
        case CODEC_PCM:
            fillNoise(buffer, bytes, site);
            return bytes;
        case CODEC_MSBC:
            if (sizeof(msbc_silent) > bytes) abortOn("sizeof(msbc_silent) <= bytes", site);
            std::memcpy(buffer, msbc_silent, sizeof msbc_silent);
            return sizeof msbc_silent;
        case CODEC_OPUS:
            return fillOpus(buffer, bytes, site);
        default:
            return 0;
    }
}

unsigned UplinkSilence::fillOpus(unsigned char* buffer, unsigned bytes, const LogSite& site) const {
    const auto packet = opusSilence(mFormat.sampleRate);
    if (packet.empty()) {
        AUDIO_LOG_AT(ANDROID_LOG_WARN, site, "[%s] not support samplerate(%d)!!!\n", mName,
                     static_cast<int>(mFormat.sampleRate));
        return 0;
    }
    const auto readSize = static_cast<unsigned>(packet.size());
    if (readSize > bytes) abortOn("readSize <= bytes", site);
    std::memcpy(buffer, packet.data(), readSize);
    return readSize;
}

void UplinkSilence::fillNoise(unsigned char* buffer, unsigned bytes, const LogSite& site) const {
    const int bits = AudioTypes::getBitsPerSample(mFormat.bitDepth);
    switch (bits) {
        case 8:
            noise<std::int8_t>(buffer, noiseFrames(bytes, 1), 24);
            break;
        case 32:
            noise<std::int32_t>(buffer, noiseFrames(bytes, 4), 0);
            break;
        default:
            noise<std::int16_t>(buffer, noiseFrames(bytes, 2), 16);
            if (bits != 16)
                AUDIO_LOG_AT(ANDROID_LOG_WARN, site,
                             "[%s] Unsupported bit depth:%d, default to 16.\n", mName, bits);
            break;
    }
}

/// One sample per frame at the stream's rate, whatever the channels. Limited, because with a period
/// other than 16 ms that would be more samples of `width` bytes than fit.
std::uint64_t UplinkSilence::noiseFrames(unsigned bytes, unsigned width) const {
    const std::uint64_t room = bytes / width;
    if (mBytesPerMs == 0) return room;
    const std::uint64_t wanted =
        ceilDiv(std::uint64_t{mFormat.sampleRate} * bytes, std::uint64_t{1000} * mBytesPerMs);
    return std::min(wanted, room);
}

}  // namespace cabinaudio
