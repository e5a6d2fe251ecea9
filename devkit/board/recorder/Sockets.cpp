// SPDX-License-Identifier: Apache-2.0
// The calls with which an application speaks to the server. Functions that block are not noexcept:
// a cancelled thread unwinds through them.
#include "devkit/board/Board.h"
#include "devkit/board/Export.h"
#include "devkit/board/recorder/Connections.h"
#include "devkit/board/recorder/LibraryCalls.h"
#include "devkit/board/recorder/Memory.h"
#include "devkit/board/recorder/Rings.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace cabinaudio::recorder {
namespace {

/// The server's socket, also that of an instance.
bool isServer(const sockaddr* address, socklen_t length) noexcept {
    constexpr std::size_t NAME = sizeof board::SERVER_SOCKET - 1;
    constexpr std::size_t BEGIN = offsetof(sockaddr_un, sun_path) + 1;
    if (address == nullptr || length < BEGIN + NAME || address->sa_family != AF_UNIX) return false;
    const char* path = reinterpret_cast<const sockaddr_un*>(address)->sun_path;
    if (path[0] != '\0' || memcmp(path + 1, board::SERVER_SOCKET, NAME) != 0) return false;
    return length == BEGIN + NAME || path[1 + NAME] == '.';
}

/// Records one call that sends. `parts` are the buffers of the call.
class Sending {
public:
    Sending(int descriptor, const iovec* parts, std::size_t count) noexcept
        : mConnection(findConnection(descriptor)), mParts(parts), mCount(count) {
        if (mConnection == nullptr) return;
        const KeepErrno keep;
        const Hold hold(mConnection->lock);
        Conversation& conversation = mConnection->conversation;
        mNumber = conversation.number();
        mConnection->isInherited = false;
        mTime = timeNow();
        mIsKept = hold && count == 1 && !conversation.isSending();
        if (mIsKept) conversation.sending(parts[0].iov_base, parts[0].iov_len);
    }

    ssize_t finish(ssize_t sent) const noexcept {
        if (mConnection == nullptr) return sent;
        const KeepErrno keep;
        const Hold hold(mConnection->lock);
        if (!hold || mConnection->conversation.number() != mNumber) return sent;
        if (mIsKept)
            mConnection->conversation.sent(sent);
        else
            note(sent);
        return sent;
    }

private:
    void note(ssize_t sent) const noexcept {
        std::size_t left = sent > 0 ? static_cast<std::size_t>(sent) : 0;
        for (std::size_t i = 0; i < mCount && left > 0; ++i) {
            const std::size_t used = std::min(left, mParts[i].iov_len);
            mConnection->conversation.toServer(mParts[i].iov_base, used, mTime);
            left -= used;
        }
    }

    Connection* mConnection;
    const iovec* mParts;
    std::size_t mCount;
    std::uint32_t mNumber = 0;
    std::uint64_t mTime = 0;
    bool mIsKept = false;
};

/// Records one call that receives.
class Receiving {
public:
    explicit Receiving(int descriptor, int flags) noexcept
        : mConnection((flags & MSG_PEEK) == 0 ? findConnection(descriptor) : nullptr) {
        if (mConnection == nullptr) return;
        const Hold hold(mConnection->lock);
        mNumber = mConnection->conversation.number();
        mConnection->isInherited = false;
    }

    ssize_t finish(ssize_t got, const iovec* parts, std::size_t count) const noexcept {
        if (mConnection == nullptr) return got;
        const KeepErrno keep;
        const bool isLost = got < 0 && errno == ECONNRESET;
        const Hold hold(mConnection->lock);
        Conversation& conversation = mConnection->conversation;
        if (!hold || conversation.number() != mNumber) return got;
        if ((got == 0 && lengthOf(parts, count) != 0) || isLost) conversation.end();
        std::size_t left = got > 0 ? static_cast<std::size_t>(got) : 0;
        for (std::size_t i = 0; i < count && left > 0; ++i) {
            const std::size_t used = std::min(left, parts[i].iov_len);
            conversation.toClient(parts[i].iov_base, used);
            left -= used;
        }
        return got;
    }

private:
    static std::size_t lengthOf(const iovec* parts, std::size_t count) noexcept {
        std::size_t length = 0;
        for (std::size_t i = 0; i < count; ++i)
            length += parts[i].iov_len;
        return length;
    }

    Connection* mConnection;
    std::uint32_t mNumber = 0;
};

iovec bufferOf(const void* bytes, std::size_t length) noexcept {
    return {const_cast<void*>(bytes), length};  // only read
}

}  // namespace
}  // namespace cabinaudio::recorder

using namespace cabinaudio::recorder;

extern "C" {

BOARD_EXPORT int connect(int descriptor, const sockaddr* address, socklen_t length) {
    const int result = libc::connect.find()(descriptor, address, length);
    if (result == 0 && isServer(address, length)) addConnection(descriptor);
    return result;
}

BOARD_EXPORT ssize_t send(int descriptor, const void* bytes, size_t length, int flags) {
    const iovec buffer = bufferOf(bytes, length);
    const Sending sending(descriptor, &buffer, 1);
    return sending.finish(libc::send.find()(descriptor, bytes, length, flags));
}

BOARD_EXPORT ssize_t sendto(int descriptor, const void* bytes, size_t length, int flags,
                            const sockaddr* address, socklen_t addressLength) {
    const iovec buffer = bufferOf(bytes, length);
    const Sending sending(descriptor, &buffer, 1);
    return sending.finish(
        libc::sendto.find()(descriptor, bytes, length, flags, address, addressLength));
}

BOARD_EXPORT ssize_t sendmsg(int descriptor, const msghdr* message, int flags) {
    if (findConnection(descriptor) == nullptr)
        return libc::sendmsg.find()(descriptor, message, flags);
    const Sending sending(descriptor, message->msg_iov, message->msg_iovlen);
    return sending.finish(libc::sendmsg.find()(descriptor, message, flags));
}

BOARD_EXPORT ssize_t recv(int descriptor, void* bytes, size_t length, int flags) {
    const iovec buffer = {bytes, length};
    const Receiving receiving(descriptor, flags);
    return receiving.finish(libc::recv.find()(descriptor, bytes, length, flags), &buffer, 1);
}

BOARD_EXPORT ssize_t __recv_chk(int descriptor, void* bytes, size_t length, size_t size, int flags);
ssize_t __recv_chk(int descriptor, void* bytes, size_t length, size_t size, int flags) {
    const iovec buffer = {bytes, length};
    const Receiving receiving(descriptor, flags);
    return receiving.finish(libc::checkedRecv.find()(descriptor, bytes, length, size, flags),
                            &buffer, 1);
}

BOARD_EXPORT ssize_t recvfrom(int descriptor, void* bytes, size_t length, int flags,
                              sockaddr* address, socklen_t* addressLength) {
    const iovec buffer = {bytes, length};
    const Receiving receiving(descriptor, flags);
    return receiving.finish(
        libc::recvfrom.find()(descriptor, bytes, length, flags, address, addressLength), &buffer,
        1);
}

BOARD_EXPORT ssize_t __recvfrom_chk(int descriptor, void* bytes, size_t length, size_t size,
                                    int flags, sockaddr* address, socklen_t* addressLength);
ssize_t __recvfrom_chk(int descriptor, void* bytes, size_t length, size_t size, int flags,
                       sockaddr* address, socklen_t* addressLength) {
    const iovec buffer = {bytes, length};
    const Receiving receiving(descriptor, flags);
    return receiving.finish(libc::checkedRecvfrom.find()(descriptor, bytes, length, size, flags,
                                                         address, addressLength),
                            &buffer, 1);
}

BOARD_EXPORT ssize_t recvmsg(int descriptor, msghdr* message, int flags) {
    if (findConnection(descriptor) == nullptr)
        return libc::recvmsg.find()(descriptor, message, flags);
    const Receiving receiving(descriptor, flags);
    const ssize_t got = libc::recvmsg.find()(descriptor, message, flags);
    return receiving.finish(got, message->msg_iov, message->msg_iovlen);
}

// Before the call: another thread may get the number at once.

BOARD_EXPORT int close(int descriptor) {
    removeConnection(descriptor);
    forgetObject(descriptor);
    return libc::close.find()(descriptor);
}

BOARD_EXPORT int dup2(int from, int to) noexcept {
    if (from != to) removeConnection(to);
    return libc::dup2.find()(from, to);
}

BOARD_EXPORT int dup3(int from, int to, int flags) noexcept {
    if (from != to) removeConnection(to);
    return libc::dup3.find()(from, to, flags);
}
}
