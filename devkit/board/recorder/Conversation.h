// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/board/recorder/CaptureFile.h"
#include "wire/Frame.h"

#include <cstddef>
#include <cstdint>

namespace cabinaudio::recorder {

/// Last audio_connect_type of playback streams; the first is 0.
inline constexpr std::uint32_t LAST_PLAYBACK_TYPE = 3;

/// One connection to the server as the calls of the application show it: bytes become messages, and
/// messages become records. Not synchronised; its owner has a lock.
///
/// All members are numbers without constructors: the objects lie in a table that exists before the
/// first constructor of the process runs.
class Conversation {
public:
    void begin(std::uint32_t number) noexcept;

    /// A send begins with these bytes, which stay readable until sent() or takeSent(). It is kept
    /// back, because the reply may be received before the send has returned.
    void sending(const void* bytes, std::size_t count) noexcept;

    /// The send has ended. @param count  bytes that the kernel took, -1 for none
    void sent(ssize_t count) noexcept;

    /// Bytes that the application sends outside of sending() and sent().
    void toServer(const void* bytes, std::size_t count, std::uint64_t time) noexcept;

    void toClient(const void* bytes, std::size_t count) noexcept;

    /// The connection has ended, on either side. Once.
    void end() noexcept;

    /// In the child of a fork: calls of other threads do not go on.
    void forgetSend() noexcept { mSending = nullptr; }

    [[nodiscard]] bool isSending() const noexcept { return mSending != nullptr; }
    [[nodiscard]] std::uint32_t number() const noexcept { return mNumber; }
    [[nodiscard]] std::uint32_t type() const noexcept { return mType; }
    /// Name of the registration, not terminated when it has 64 characters.
    [[nodiscard]] const char* name() const noexcept { return mName; }
    /// The ring in physical memory that the server has named last; size 0 without one.
    [[nodiscard]] std::uint32_t ringAddress() const noexcept { return mRingAddress; }
    [[nodiscard]] std::uint32_t ringSize() const noexcept { return mRingSize; }

    /// Bytes that went through the stream's earlier rings.
    [[nodiscard]] std::uint64_t ringBytes() const noexcept { return mRingBytes; }
    void setRingBytes(std::uint64_t bytes) noexcept { mRingBytes = bytes; }

    static constexpr std::size_t NAME_SIZE = sizeof(audio_param::name);

private:
    std::size_t appendPart(const std::uint8_t* bytes, std::size_t count) noexcept;
    bool makeBuffer() noexcept;
    void writeRequest(const std::uint8_t* message, std::size_t length, std::uint64_t time) noexcept;
    void noteRegistration(const std::uint8_t* message) noexcept;
    void noteUnframed(const std::uint8_t* bytes, std::size_t count, std::uint64_t time) noexcept;
    void takeHeader() noexcept;
    void takeBody(const std::uint8_t* bytes, std::size_t count) noexcept;
    void noteRing(const std::uint8_t* bytes, std::size_t count) noexcept;
    [[nodiscard]] RecordFields fields(trace::Kind kind) const noexcept;

    std::uint32_t mNumber;
    std::uint32_t mType;
    bool mHasEnded;

    // To the server.
    const void* mSending;  // null while no send is kept back
    std::size_t mSendingSize;
    std::uint64_t mSendingTime;
    std::uint8_t* mPart;  // of a message that is sent in pieces; a mapping of PART_SIZE
    std::size_t mPartSize;
    std::uint64_t mPartTime;
    bool mIsUnframed;  // no message begins where one must

    // The last request.
    bool mAwaitsReply;
    std::uint32_t mFunction;
    std::uint64_t mRequestTime;

    // To the client.
    std::uint8_t mHeader[sizeof(SocketFrameHeader)];
    std::size_t mHeaderSize;
    std::uint64_t mHeaderTime;
    bool mAwaitsBody;

    char mName[NAME_SIZE];
    std::uint32_t mRingAddress;
    std::uint32_t mRingSize;
    std::uint64_t mRingBytes;
};

}  // namespace cabinaudio::recorder
