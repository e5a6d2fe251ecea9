// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioCondition.h>
#include <cabinaudio/foundation/AudioMark.h>
#include <cabinaudio/foundation/AudioMutex.h>
#include <cabinaudio/foundation/AudioSemaphore.h>
#include <cabinaudio/foundation/AudioTime.h>
#include <cabinaudio/link/AudioConnection.h>

#include "foundation/LibraryThread.h"
#include "foundation/Log.h"
#include "link/AudioSocket.h"
#include "link/RecordLoan.h"
#include "link/ReplyDeadline.h"
#include "link/SktWorker.h"
#include "link/SocketAttempt.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

using cabinaudio::LogSite;
using cabinaudio::MAX_ATTEMPTS;
using cabinaudio::RecordLoan;
using cabinaudio::ReplyDeadline;
using cabinaudio::RETRY_PAUSE_US;
using cabinaudio::TakenRecord;

namespace {

constexpr int MAX_RETRIES = MAX_ATTEMPTS - 1;
constexpr std::uint64_t SEND_TIMEOUT_MS = 10000;

/// The abstract name: a zero byte, then the path without its terminator.
bool socket_make_sockaddr_un(const char* path, sockaddr_un& address, socklen_t& length) {
    if (path == nullptr) path = "";
    const std::size_t name = std::strlen(path);
    address = {};
    address.sun_family = AF_UNIX;
    if (name + 1 > sizeof address.sun_path) {
        AUDIO_LOGE("namelen > sun_path's size\n");
        return false;
    }
    std::memcpy(address.sun_path + 1, path, name);
    length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name);
    return true;
}

bool connectSocket(int descriptor, const char* path, const LogSite& site) {
    sockaddr_un address;
    socklen_t length = 0;
    if (!socket_make_sockaddr_un(path, address, length)) {
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "socket_make_sockaddr_un failed\n");
        return false;
    }
    if (::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), length) != 0) {
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "connect failed\n");
        return false;
    }
    return true;
}

bool limitSending(int descriptor, std::uint64_t ms) {
    const timeval timeout = {static_cast<time_t>(ms / 1000),
                             static_cast<suseconds_t>(ms % 1000 * 1000)};
    return ::setsockopt(descriptor, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof timeout) == 0;
}

/// One attempt. @return a connected descriptor, or -1
int openSocket(const char* path, const ReplyDeadline& deadline, const LogSite& site) {
    const int descriptor = ::socket(AF_UNIX, SOCK_STREAM, 0);
    if (descriptor <= STDERR_FILENO) {
        // Deliberate: 0 to 2 are refused, because a process that closed its standard streams would
        // print to the socket.
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "create socket failed, fd=%d\n", descriptor);
        if (descriptor >= 0) ::close(descriptor);
        return -1;
    }
    // If the server does not accept, connect(2) blocks too, once its backlog is full.
    if (deadline.isSet())
        limitSending(descriptor, std::max<std::uint64_t>(deadline.remainingMs(), 1));
    if (connectSocket(descriptor, path, site)) return descriptor;
    ::close(descriptor);
    return -1;
}

void prepareSocket(AudioSocket& record, const LogSite& site) {
    ::fcntl(record.mSocket, F_SETFD, FD_CLOEXEC);
    if (!limitSending(record.mSocket, SEND_TIMEOUT_MS))
        AUDIO_LOG_AT(ANDROID_LOG_WARN, site, "set send timeout time failed\n");
    record.mSendLimitMs = SEND_TIMEOUT_MS;
}

/// Time limit of one attempt to send: the time left until the deadline, at least 1 ms because 0
/// would mean no limit.
std::uint64_t sendingLimit(const ReplyDeadline& deadline) {
    if (!deadline.isSet()) return SEND_TIMEOUT_MS;
    return std::clamp<std::uint64_t>(deadline.remainingMs(), 1, SEND_TIMEOUT_MS);
}

/// The socket keeps its limit between requests, so it is set only when it changes.
void limitSending(AudioSocket& record, std::uint64_t ms) {
    if (record.mSendLimitMs != ms && limitSending(record.mSocket, ms)) record.mSendLimitMs = ms;
}

/// Waits until a body, or the end of the connection, can be read. @return false on timeout
bool waitForBody(int descriptor, const ReplyDeadline& deadline) {
    while (deadline.isSet()) {
        const std::uint64_t ms = deadline.remainingMs();
        pollfd body = {descriptor, POLLIN, 0};
        const int ready = ::poll(&body, 1, static_cast<int>(std::min<std::uint64_t>(ms, INT_MAX)));
        if (ready > 0) return true;
        if (ms == 0) return false;
    }
    return true;
}

/// Reads the body of a reply. @return the last attempt's result, with its errno
std::int32_t readBody(int descriptor, std::uint8_t* data, std::int32_t length,
                      const LogSite& site) {
    std::int32_t result = -1;
    for (int attempt = 0; attempt < MAX_ATTEMPTS; ++attempt) {
        result = cabinaudio::receiveOnce(descriptor, data, length);
        const int error = errno;
        if (attempt > 0)
            AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, "recv(%d) reTry:%d\n", result, attempt);
        if (result > 0) break;
        AUDIO_LOG_AT(ANDROID_LOG_WARN, site, "recv failed(%d) errno:%s %d, reTry=%d\n", result,
                     std::strerror(error), error, attempt);
        AudioTime::sleep(RETRY_PAUSE_US);
        errno = error;
        if (!cabinaudio::worthRetrying(result, error)) break;
    }
    return result;
}

}  // namespace

// ---- AudioConnection ----------------------------------------------------------------------------

AudioConnection::AudioConnection(const char* path, std::int32_t port, Callback callback,
                                 void* opaque)
    : mPath(path), mPort(port), mSocketRecord(nullptr), mCallback(callback), mOpaque(opaque) {
    const AudioMark::AutoMark mark("AudioConnection", __func__, __LINE__);
    connect();
}

AudioConnection::~AudioConnection() {
    const AudioMark::AutoMark mark("AudioConnection", __func__, __LINE__);
    disconnect();
}

std::int32_t AudioConnection::connect() {
    const AudioMark::AutoMark mark("AudioConnection", __func__, __LINE__);
    if (mSocketRecord.load() != nullptr) return 0;
    void* const memory = std::malloc(sizeof(AudioSocket));
    if (memory == nullptr) {
        AUDIO_LOGE("alloc socket memory failed\n");
        return 1;
    }
    AudioSocket* const pSocket = new (memory) AudioSocket;
    if (!pSocket->create(mCallback, mOpaque)) {
        AUDIO_LOGE("create mutex failed\n");
        AudioSocket::destroy(pSocket);
        return 1;
    }
    const ReplyDeadline deadline;
    for (int attempt = 0; attempt < MAX_ATTEMPTS && !deadline.isOver(); ++attempt) {
        pSocket->mSocket = openSocket(mPath, deadline, AUDIO_LOG_SITE);
        if (pSocket->mSocket < 0) continue;
        AUDIO_LOGD("connect ok\n");
        prepareSocket(*pSocket, AUDIO_LOG_SITE);
        cabinaudio::LibraryThread::start(*pSocket->mWorker);
        if (pSocket->mWorker->started()) pSocket->mState.startWorker();
        mSocketRecord = pSocket;
        return 0;
    }
    AudioSocket::destroy(pSocket);
    return 2;
}

std::int32_t AudioConnection::send(const std::uint8_t* data, std::int32_t length) {
    const AudioMark::AutoMark mark("AudioConnection", __func__, __LINE__);
    const RecordLoan loan(mSocketRecord);
    AudioSocket* const pSocket = loan.record();
    if (pSocket == nullptr) {
        AUDIO_LOGE("pSocket is null\n");
        return 1;
    }
    if (pSocket->mState.isBroken()) {
        AUDIO_LOGE("connection is broken\n");
        return 1;
    }
    const ReplyDeadline deadline;
    std::int32_t result = -1;
    for (int retry = 0; retry <= MAX_RETRIES && !deadline.isOver(); ++retry) {
        limitSending(*pSocket, sendingLimit(deadline));
        if (length < 0)
            result = cabinaudio::refuseLength();
        else
            result = static_cast<std::int32_t>(
                ::send(pSocket->mSocket, data, static_cast<std::size_t>(length), MSG_NOSIGNAL));
        const int error = errno;
        if (retry > 0) AUDIO_LOGD("send(%d) reTry:%d\n", result, retry);
        if (result > 0) break;
        AUDIO_LOGW("send failed(%d) errno:%s %d, reTry=%d\n", result, std::strerror(error), error,
                   retry);
        AudioTime::sleep(RETRY_PAUSE_US);
        if (!cabinaudio::worthRetrying(result, error)) break;
    }
    return result < 0 ? 1 : 0;
}

std::int32_t AudioConnection::recv(std::uint8_t* data, std::int32_t length) {
    const AudioMark::AutoMark mark("AudioConnection", __func__, __LINE__);
    const RecordLoan loan(mSocketRecord);
    AudioSocket* const pSocket = loan.record();
    if (pSocket == nullptr) {
        AUDIO_LOGE("pSocket is null\n");
        return 1;
    }
    const ReplyDeadline deadline;
    const AudioMutex::AutoLock lock(*pSocket->mReplyLock);
    if (pSocket->mState.isBroken()) {
        AUDIO_LOGE("connection is broken\n");
        return 1;
    }
    const bool isReady = pSocket->waitForReply(deadline);
    if (!isReady && !deadline.isOver()) {
        AUDIO_LOGD("exit\n");
        return 1;
    }
    if (!isReady || !waitForBody(pSocket->mSocket, deadline)) {
        AUDIO_LOGE("no answer in %lld ms, connection is broken\n",
                   static_cast<long long>(deadline.timeout().count()));
        pSocket->breakOff();
        return 1;
    }
    pSocket->mReplyReady = 0;
    const std::int32_t result = readBody(pSocket->mSocket, data, length, AUDIO_LOG_SITE);
    const int error = errno;
    pSocket->mState.takeBody(*pSocket->mReplyLock);
    pSocket->mReplySem->signal();
    if (result >= 0) return 0;
    AUDIO_LOGE("recv failed(%d) %s %d\n", result, std::strerror(error), error);
    return 1;
}

std::int32_t AudioConnection::disconnect() {
    const AudioMark::AutoMark mark("AudioConnection", __func__, __LINE__);
    const TakenRecord taken = cabinaudio::takeRecord(mSocketRecord);
    AudioSocket* const pSocket = taken.record;
    if (pSocket == nullptr) {
        AUDIO_LOGE("pSocket is null\n");
        return 1;
    }
    AUDIO_ASSERT(0 <= pSocket->mSocket);
    pSocket->mIsStall = 1;
    pSocket->mWorker->prepareStop();
    AUDIO_LOGD("close socket fd:%d", pSocket->mSocket);
    ::shutdown(pSocket->mSocket, SHUT_RDWR);
    pSocket->wakeRequester();
    pSocket->mReplySem->signal();
    pSocket->mWorker->join();
    // A requester may still use the descriptor; after close() its number can belong to another
    // file.
    taken.waitForReturn();
    ::close(pSocket->mSocket);
    pSocket->mSocket = -1;
    AudioSocket::destroy(pSocket);
    return 0;
}

void AudioConnection::_abandon() {
    const RecordLoan loan(mSocketRecord);
    AudioSocket* const pSocket = loan.record();
    if (pSocket == nullptr) return;
    // A running receive thread wakes the requester when it ends. Until then, taking the lock could
    // block: a requester holds it while it waits for a body. After that, no body is awaited.
    if (pSocket->mState.abandon()) pSocket->wakeRequester();
}

void AudioConnection::_interrupt() {
    const RecordLoan loan(mSocketRecord);
    AudioSocket* const pSocket = loan.record();
    if (pSocket == nullptr) return;
    pSocket->mIsStall = 1;
    ::shutdown(pSocket->mSocket, SHUT_RDWR);
    pSocket->wakeRequester();
}
