// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/shm/ShareMemory.h>

#include "client/UplinkCodec.h"
#include "foundation/Log.h"

#include <cstdint>

namespace cabinaudio {

/// The ring of a coded uplink, seen as frames: a header that tells the length of the body, and the
/// body. The server may store anything into the ring at any time, into a header as well. Used with
/// the record's lock held.
class FramedRing {
public:
    /// How a frame was taken.
    enum class Outcome : std::uint8_t {
        Taken,
        Missing,     // no whole frame is there
        TooLong,     // for the buffer: the frame stays in the ring
        Impossible,  // longer than the ring: its header is dropped
    };
    struct Frame {
        Outcome outcome;
        std::uint32_t bytes;  // Taken, TooLong: of the whole frame; Impossible: of the body
    };

    /// @param codec        a framed one
    /// @param headerBytes  of this codec
    FramedRing(ShareMemoryEx& ring, std::uint32_t codec, std::uint32_t headerBytes)
        : mRing(ring), mCodec(codec), mHeaderBytes(headerBytes) {}

    /// Minimum fill level at which takeWithin() does not find the frame missing; as long as the
    /// header is incomplete, or tells an impossible length, that of a header.
    [[nodiscard]] unsigned needed() const;

    /// Takes the next frame if `capacity` bytes hold it.
    [[nodiscard]] Frame takeWithin(unsigned char* buffer, unsigned capacity);

    /// Takes the next frame, however long it is: the buffer holds whatever the ring holds.
    /// @param site  operation that the log lines belong to
    /// @return bytes stored; 0 without a whole header, or when the header promises as much as there
    ///         is, or more: the header is lost then
    [[nodiscard]] unsigned takeWhole(unsigned char* buffer, const LogSite& site);

private:
    [[nodiscard]] std::uint32_t bodyBytes(const unsigned char* header) const;

    ShareMemoryEx& mRing;
    std::uint32_t mCodec;
    std::uint32_t mHeaderBytes;
};

}  // namespace cabinaudio
