// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include "foundation/Log.h"

#include <cstddef>
#include <cstdint>

namespace cabinaudio {

/// Silence in the format of an uplink: noise of very low level for linear PCM, a stored frame or
/// packet for mSBC and Opus, nothing for other codecs.
class UplinkSilence {
public:
    static constexpr std::size_t LONGEST_FRAME_BYTES = 231;  // Opus at 24 kHz

    /// @param bytesPerMs  pace of the server's data; 0: none
    /// @param name        of the record, for the log
    UplinkSilence(const AudioFormatDesc& format, std::uint32_t bytesPerMs, const char* name)
        : mFormat(format), mBytesPerMs(bytesPerMs), mName(name) {}

    /// Fills a buffer of `bytes` bytes. The process ends when a stored frame does not fit.
    /// @param site  operation that the log lines belong to
    /// @return bytes of silence. For linear PCM always `bytes`, even if the pace requires less
    ///         noise: the rest of the buffer is unchanged
    unsigned fill(unsigned char* buffer, unsigned bytes, const LogSite& site) const;

private:
    void fillNoise(unsigned char* buffer, unsigned bytes, const LogSite& site) const;
    [[nodiscard]] std::uint64_t noiseFrames(unsigned bytes, unsigned width) const;
    unsigned fillOpus(unsigned char* buffer, unsigned bytes, const LogSite& site) const;

    const AudioFormatDesc& mFormat;
    std::uint32_t mBytesPerMs;
    const char* mName;
};

}  // namespace cabinaudio
