// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/shm/ShareMemory.h>

#include "client/UplinkCodec.h"
#include "foundation/Log.h"

#include <cstdint>

namespace cabinaudio {

/// The ring of a coded uplink as a sequence of frames: a header with the length of the body, then
/// the body. The server may store anything in the ring at any time, even in a header. Used with the
/// record's lock held.
class FramedRing {
public:
    /// Outcome of taking a frame.
    enum class Outcome : std::uint8_t {
        Taken,
        Missing,     // there is no complete frame
        TooLong,     // longer than the buffer: the frame stays in the ring
        Impossible,  // longer than the ring: its header is dropped
    };
    struct Frame {
        Outcome outcome;
        std::uint32_t bytes;  // Taken, TooLong: of the whole frame; Impossible: of the body
    };

    /// @param codec        a framed codec
    /// @param headerBytes  of this codec
    FramedRing(ShareMemoryEx& ring, std::uint32_t codec, std::uint32_t headerBytes)
        : mRing(ring), mCodec(codec), mHeaderBytes(headerBytes) {}

    /// Minimum fill level for takeWithin() not to return Missing; the size of a header while the
    /// header is incomplete or has an impossible length.
    [[nodiscard]] unsigned needed() const;

    /// Takes the next frame if it fits into `capacity` bytes.
    [[nodiscard]] Frame takeWithin(unsigned char* buffer, unsigned capacity);

    /// Takes the next frame, however long it is: the buffer must hold as much as the ring.
    /// @param site  operation that the log lines belong to
    /// @return bytes stored; 0 without a complete header, or when the body length in the header is
    ///         not less than the fill level: the header is lost then
    [[nodiscard]] unsigned takeWhole(unsigned char* buffer, const LogSite& site);

private:
    [[nodiscard]] std::uint32_t bodyBytes(const unsigned char* header) const;

    ShareMemoryEx& mRing;
    std::uint32_t mCodec;
    std::uint32_t mHeaderBytes;
};

}  // namespace cabinaudio
