// SPDX-License-Identifier: Apache-2.0
#include "client/FramedRing.h"

#include "shm/RingAccess.h"

#include <cstring>

namespace cabinaudio {

namespace {

constexpr std::uint32_t LOAS_LENGTH_MASK = 0x1FFF;
constexpr std::uint32_t LONGEST_HEADER_BYTES = OPUS_HEADER_BYTES;

}  // namespace

std::uint32_t FramedRing::bodyBytes(const unsigned char* header) const {
    if (mCodec == CODEC_OPUS)
        return std::uint32_t{header[0]} << 24 | std::uint32_t{header[1]} << 16 |
               std::uint32_t{header[2]} << 8 | header[3];
    return (std::uint32_t{header[1]} << 8 | header[2]) & LOAS_LENGTH_MASK;
}

unsigned FramedRing::needed() const {
    unsigned char header[LONGEST_HEADER_BYTES];
    if (RingAccess::peek(mRing, header, mHeaderBytes) < mHeaderBytes) return mHeaderBytes;
    const std::uint64_t whole = mHeaderBytes + std::uint64_t{bodyBytes(header)};
    return whole < mRing.getTotalSize() ? static_cast<unsigned>(whole) : mHeaderBytes;
}

FramedRing::Frame FramedRing::takeWithin(unsigned char* buffer, unsigned capacity) {
    // The length is taken from this copy of the header, whatever the ring contains later.
    unsigned char header[LONGEST_HEADER_BYTES];
    if (RingAccess::peek(mRing, header, mHeaderBytes) < mHeaderBytes) return {Outcome::Missing, 0};
    const std::uint32_t body = bodyBytes(header);
    const std::uint64_t whole = mHeaderBytes + std::uint64_t{body};
    if (whole >= mRing.getTotalSize()) {
        (void)mRing.read(header, mHeaderBytes);
        return {Outcome::Impossible, body};
    }
    const auto bytes = static_cast<std::uint32_t>(whole);
    if (bytes > capacity) return {Outcome::TooLong, bytes};
    if (bytes > mRing.getUsedSize()) return {Outcome::Missing, 0};
    if (static_cast<std::uint32_t>(mRing.read(buffer, bytes)) < bytes) return {Outcome::Missing, 0};
    std::memcpy(buffer, header, mHeaderBytes);
    return {Outcome::Taken, bytes};
}

unsigned FramedRing::takeWhole(unsigned char* buffer, const LogSite& site) {
    if (mHeaderBytes > mRing.getUsedSize()) return 0;
    const auto got = static_cast<std::uint32_t>(mRing.read(buffer, mHeaderBytes));
    // Deliberate: logged although the read succeeded.
    if (got != 0)
        AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site,
                     "AUDIO IGNORE(0==mShareMemory->read(buffer, mHeaderSize))!\n");
    if (got < mHeaderBytes) return 0;
    const std::uint32_t body = bodyBytes(buffer);
    if (body >= mRing.getUsedSize()) return 0;
    if (mRing.read(buffer + mHeaderBytes, body) == 0)
        AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site,
                     "AUDIO IGNORE(mShareMemory->read(buffer + mHeaderSize, frameSize))!\n");
    return mHeaderBytes + body;
}

}  // namespace cabinaudio
