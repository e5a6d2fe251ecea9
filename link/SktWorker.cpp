// SPDX-License-Identifier: Apache-2.0
#include "link/SktWorker.h"

#include <cabinaudio/foundation/AudioAlert.h>
#include <cabinaudio/foundation/AudioCondition.h>
#include <cabinaudio/foundation/AudioMutex.h>
#include <cabinaudio/foundation/AudioTime.h>

#include "link/AudioSocket.h"
#include "link/SocketAttempt.h"

#include <cerrno>
#include <cstring>

using cabinaudio::LogSite;

namespace {

constexpr std::uint32_t SLOW_FRAME_US = 3000;

// Kept as is: in the log, the lines of the receive thread name the source file of the connection.
constexpr const char* LOG_FILE =
    cabinaudio::STEM<cabinaudio::SourceStem("AudioConnection.cpp")>.text;

}  // namespace

SktWorker::SktWorker(AudioSocket* record, AudioConnection::Callback callback, void* opaque)
    : AudioThread("SktWorker", -1, POLICY_RR),
      mRecord(record),
      mCallback(callback),
      mOpaque(opaque) {}

void SktWorker::run() {
    const LogSite site{LOG_FILE, __func__};
    if (mRecord == nullptr) {
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "als is null\n");
        return;
    }
    _readFrames(site);
    const AudioMutex::AutoLock lock(*mRecord->mReplyLock);
    mRecord->mState.endWorker(*mRecord->mReplyLock);
    mRecord->mReplyCond->broadcast();
}

void SktWorker::_readFrames(const LogSite& site) {
    while (running()) {
        SocketFrameHeader header = {};
        std::int32_t result = _readHeader(header, site);
        if (mRecord->mState.isBroken()) {
            _reportLoss();
            return;
        }
        if (result == 0 && mRecord->mIsStall != 0) result = -1;
        const bool framed = result > 0 && header.magic == FRAME_MAGIC;
        const bool goesOn =
            framed ? _takeFrame(header, site) : _reportNoFrame(result, header.magic, site);
        if (!goesOn) return;
    }
}

/// Receives once; a short header is not completed. errno is that of the last failing call.
std::int32_t SktWorker::_readHeader(SocketFrameHeader& header, const LogSite& site) {
    std::int32_t result = -1;
    for (int attempt = 0; attempt < cabinaudio::MAX_ATTEMPTS; ++attempt) {
        result = cabinaudio::receiveOnce(mRecord->mSocket, &header, sizeof header);
        if (result >= 0) break;
        const int error = errno;
        AUDIO_LOG_AT(ANDROID_LOG_WARN, site, "recv socket:%d ret:%d errno:%s %d, reTry=%d\n",
                     mRecord->mSocket, result, std::strerror(error), error, attempt);
        AudioTime::sleep(cabinaudio::RETRY_PAUSE_US);
        errno = error;
        if (!cabinaudio::worthRetrying(result, error)) break;
    }
    return result;
}

/// @return false for a frame of unknown kind
bool SktWorker::_takeFrame(const SocketFrameHeader& header, const LogSite& site) {
    AudioAlert::alert("S->C", static_cast<std::uint32_t>(AudioTime::now() - header.sendTimeUs),
                      SLOW_FRAME_US, site.file, site.function, __LINE__);
    switch (header.headerId) {
        case HEADER_NOTIFY:
            if (mCallback == nullptr)
                AUDIO_LOG_AT(ANDROID_LOG_WARN, site, "connection cbk is null\n");
            else
                mCallback(mOpaque, header.event, header.param);
            return true;
        case HEADER_REPLY:
            _handOverReply();
            return true;
        default:
            AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "unknown header id(%d)\n",
                         static_cast<int>(header.headerId));
            return false;
    }
}

/// Blocks until the requester has read the body, or until a disconnect.
void SktWorker::_handOverReply() {
    {
        const AudioMutex::AutoLock lock(*mRecord->mReplyLock);
        if (mRecord->mState.isBroken()) return;  // no requester will read the body
        mRecord->mState.offerBody(*mRecord->mReplyLock);
        mRecord->mReplyReady = 1;
        mRecord->mReplyCond->signal();
    }
    mRecord->waitForReader();
}

/// A requester has given the connection up: reported to the client as a server that is gone.
void SktWorker::_reportLoss() {
    if (mRecord->mIsStall == 0 && mCallback != nullptr)
        mCallback(mOpaque, cabinaudio::wire::EVENT_SERVER_GONE, 0);
}

/// Reports a receive without a frame. errno is left from the last failing call of this thread, even
/// after a result of 0; the order of the tests decides the report.
/// @return whether the thread reads again
bool SktWorker::_reportNoFrame(std::int32_t result, std::uint32_t magic, const LogSite& site) {
    const int error = errno;
    const int stall = mRecord->mIsStall;
    const bool serverGone = stall == 0 && error != EAGAIN;
    if (serverGone && mCallback != nullptr) {
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "service may be crash!!! mIsStall:%d, errno:%s %d\n",
                     stall, std::strerror(error), error);
        mCallback(mOpaque, cabinaudio::wire::EVENT_SERVER_GONE, 0);
    }
    // Bytes that are not a frame are also logged below.
    if (serverGone && result <= 0) return false;
    if (stall != 0 || magic != FRAME_MAGIC) {
        AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site,
                     "disconnect return from recv,recv failed(%d) magic=0x%x\n", result, magic);
        return false;
    }
    AUDIO_LOG_AT(ANDROID_LOG_WARN, site, "recv again\n");
    return true;
}
