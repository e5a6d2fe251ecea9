// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/recorder/Conversation.h"

#include "devkit/board/recorder/LibraryCalls.h"
#include "devkit/board/recorder/Memory.h"
#include "wire/Stream.h"

#include <sys/mman.h>

#include <algorithm>

namespace cabinaudio::recorder {
namespace {

using trace::Kind;
using trace::UNKNOWN;

constexpr std::size_t HEADER = sizeof(audio_param);
constexpr std::size_t FRAME = sizeof(SocketFrameHeader);
// A longer length is none: the server closes the connection, too.
constexpr std::uint32_t MOST_PAYLOAD = 64 << 20;
// Most bytes of a message that is put together from pieces.
constexpr std::size_t PART_SIZE = std::size_t{1} << 20;

constexpr std::uint32_t FIRST_CAPTURE_TYPE = 64;
constexpr std::uint32_t LAST_CAPTURE_TYPE = 68;

/// @return bytes of the message that begins here, 0 when none begins
std::size_t messageLength(const std::uint8_t* header) noexcept {
    const std::uint32_t command = wordAt(header + offsetof(audio_param, cmd));
    const std::uint32_t payload = wordAt(header + offsetof(audio_param, length));
    if (command == AUDIO_CMD_REGISTER) return HEADER;
    const bool isRequest = command == AUDIO_CMD_CALL || command == AUDIO_CMD_CALL_FLAG;
    return isRequest && payload <= MOST_PAYLOAD ? HEADER + payload : 0;
}

bool asksForRing(std::uint32_t type, std::uint32_t function) noexcept {
    if (type <= LAST_PLAYBACK_TYPE)
        return function == static_cast<std::uint32_t>(wire::StreamFunction::GetShareMemory);
    return type >= FIRST_CAPTURE_TYPE && type <= LAST_CAPTURE_TYPE &&
           function == static_cast<std::uint32_t>(wire::CaptureFunction::GetShareMemory);
}

}  // namespace

void Conversation::begin(std::uint32_t number) noexcept {
    mNumber = number;
    mType = UNKNOWN;
    mHasEnded = false;
    mSending = nullptr;
    mPart = nullptr;
    mPartSize = 0;
    mIsUnframed = false;
    mAwaitsReply = false;
    mFunction = UNKNOWN;
    mHeaderSize = 0;
    mAwaitsBody = false;
    mName[0] = '\0';
    mRingAddress = 0;
    mRingSize = 0;
    mRingBytes = 0;
    writeRecord(fields(Kind::Connected), timeNow());
}

// ---- To the server ------------------------------------------------------------------------------

void Conversation::sending(const void* bytes, std::size_t count) noexcept {
    mSending = bytes;
    mSendingSize = count;
    mSendingTime = timeNow();
}

void Conversation::sent(ssize_t count) noexcept {
    if (mSending == nullptr) return;  // a reply was received before, so all of it was sent
    const void* const bytes = mSending;
    mSending = nullptr;
    if (count > 0) toServer(bytes, static_cast<std::size_t>(count), mSendingTime);
}

void Conversation::toServer(const void* bytes, std::size_t count, std::uint64_t time) noexcept {
    const auto* rest = static_cast<const std::uint8_t*>(bytes);
    while (count > 0) {
        if (mIsUnframed) return noteUnframed(rest, count, time);
        if (mPartSize == 0) mPartTime = time;
        const std::size_t whole =
            mPartSize == 0 && count >= HEADER ? messageLength(rest) : std::size_t{0};
        std::size_t used = whole;
        if (whole != 0 && whole <= count)
            writeRequest(rest, whole, time);
        else
            used = appendPart(rest, count);
        rest += used;
        count -= used;
    }
}

/// Takes bytes of the next message. @return how many
std::size_t Conversation::appendPart(const std::uint8_t* bytes, std::size_t count) noexcept {
    const std::size_t known = mPartSize < HEADER ? HEADER : messageLength(mPart);
    if (known == 0 || known > PART_SIZE || !makeBuffer()) {
        mIsUnframed = true;
        if (mPartSize != 0) noteUnframed(mPart, mPartSize, mPartTime);
        mPartSize = 0;
        return 0;
    }
    const std::size_t taken = std::min(count, known - mPartSize);
    copyBytes(mPart + mPartSize, bytes, taken);
    mPartSize += taken;
    if (mPartSize >= HEADER && mPartSize == messageLength(mPart)) {
        writeRequest(mPart, mPartSize, mPartTime);
        mPartSize = 0;
    } else if (mPartSize == HEADER && messageLength(mPart) == 0) {
        appendPart(bytes, 0);
    }
    return taken;
}

bool Conversation::makeBuffer() noexcept {
    if (mPart != nullptr) return true;
    void* const made = libc::mmap64.find()(nullptr, PART_SIZE, PROT_READ | PROT_WRITE,
                                           MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (made != MAP_FAILED) mPart = static_cast<std::uint8_t*>(made);
    return mPart != nullptr;
}

void Conversation::writeRequest(const std::uint8_t* message, std::size_t length,
                                std::uint64_t time) noexcept {
    const bool isRegistration = wordAt(message) == AUDIO_CMD_REGISTER;
    mFunction = UNKNOWN;
    if (!isRegistration && length >= HEADER + sizeof mFunction)
        mFunction = wordAt(message + HEADER);
    mAwaitsReply = true;
    mRequestTime = time;
    // The type counts from the registration on.
    writeRecord(fields(Kind::ToServer), time, {message, length});
    if (isRegistration) noteRegistration(message);
}

void Conversation::noteRegistration(const std::uint8_t* message) noexcept {
    mType = wordAt(message + offsetof(audio_param, type));
    copyBytes(mName, message + offsetof(audio_param, name), NAME_SIZE);
}

/// The server does not understand these bytes either; they are recorded as they are.
void Conversation::noteUnframed(const std::uint8_t* bytes, std::size_t count,
                                std::uint64_t time) noexcept {
    mFunction = UNKNOWN;
    writeRecord(fields(Kind::ToServer), time, {bytes, count});
}

// ---- To the client ------------------------------------------------------------------------------

void Conversation::toClient(const void* bytes, std::size_t count) noexcept {
    const auto* rest = static_cast<const std::uint8_t*>(bytes);
    while (count > 0) {
        // The length of a body is not sent; the client receives it with one call.
        if (mAwaitsBody) return takeBody(rest, count);
        const std::size_t taken = std::min(count, FRAME - mHeaderSize);
        copyBytes(mHeader + mHeaderSize, rest, taken);
        mHeaderSize += taken;
        rest += taken;
        count -= taken;
        if (mHeaderSize == FRAME) takeHeader();
    }
}

void Conversation::takeHeader() noexcept {
    mHeaderTime = timeNow();
    mAwaitsBody = wordAt(mHeader + offsetof(SocketFrameHeader, magic)) == FRAME_MAGIC &&
                  wordAt(mHeader + offsetof(SocketFrameHeader, headerId)) == HEADER_REPLY;
    if (mAwaitsBody) {
        if (mSending != nullptr) sent(static_cast<ssize_t>(mSendingSize));
        return;
    }
    mHeaderSize = 0;
    RecordFields record = fields(Kind::ToClient);
    record.function = UNKNOWN;
    writeRecord(record, mHeaderTime, {mHeader, FRAME});
}

void Conversation::takeBody(const std::uint8_t* bytes, std::size_t count) noexcept {
    RecordFields record = fields(Kind::ToClient);
    if (mAwaitsReply && mHeaderTime > mRequestTime)
        record.detail = (mHeaderTime - mRequestTime) / 1000;
    if (asksForRing(mType, mFunction)) noteRing(bytes, count);
    mAwaitsReply = false;
    mAwaitsBody = false;
    mHeaderSize = 0;
    writeRecord(record, mHeaderTime, {mHeader, FRAME}, {bytes, count});
}

void Conversation::noteRing(const std::uint8_t* bytes, std::size_t count) noexcept {
    if (count < sizeof(wire::ShareMemoryReply)) return;
    if (wordAt(bytes + offsetof(wire::ShareMemoryReply, status)) != 0) return;
    mRingAddress = wordAt(bytes + offsetof(wire::ShareMemoryReply, address));
    mRingSize = wordAt(bytes + offsetof(wire::ShareMemoryReply, size));
}

// ---- Both ---------------------------------------------------------------------------------------

void Conversation::end() noexcept {
    if (mHasEnded) return;
    mHasEnded = true;
    RecordFields record = fields(Kind::ToClient);
    record.function = mAwaitsBody ? mFunction : UNKNOWN;
    if (mHeaderSize != 0) writeRecord(record, mHeaderTime, {mHeader, mHeaderSize});
    if (mPartSize != 0) noteUnframed(mPart, mPartSize, mPartTime);
    if (mPart != nullptr) libc::munmap.find()(mPart, PART_SIZE);
    mPart = nullptr;
    record = fields(Kind::Disconnected);
    record.function = UNKNOWN;
    writeRecord(record, timeNow());
}

RecordFields Conversation::fields(Kind kind) const noexcept {
    return {kind, mNumber, mType, mFunction, 0};
}

}  // namespace cabinaudio::recorder
