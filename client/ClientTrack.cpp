// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/client/ClientTrack.h>

#include "client/Playback.h"
#include "client/Stream.h"
#include "client/StreamDump.h"
#include "client/StreamLink.h"
#include "client/StreamParts.h"
#include "foundation/Log.h"
#include "foundation/Make.h"
#include "foundation/UseGate.h"
#include "link/RemoteCallAccess.h"
#include "wire/Stream.h"

#include <algorithm>
#include <cstdio>

namespace wire = cabinaudio::wire;
using cabinaudio::id;
using cabinaudio::llu;
using cabinaudio::LogSite;
using cabinaudio::make;
using cabinaudio::nowMs;
using cabinaudio::Playback;
using cabinaudio::PlaybackParts;
using cabinaudio::RemoteCallAccess;
using cabinaudio::ReplacedRing;
using cabinaudio::StateChange;
using cabinaudio::StreamDump;
using cabinaudio::StreamLink;
using cabinaudio::UseGate;
using wire::StreamFunction;
using wire::TrackEvent;

namespace {

constexpr std::uint64_t RING_WAIT_MS = 1000;

constexpr float KEY_SHIFT_MIN = 0.8F;
constexpr float KEY_SHIFT_MAX = 1.2F;

}  // namespace

ClientTrack::ClientTrack(const char* name, AudioTagType tag, AudioFormatDesc& format,
                         int streamParam) noexcept
    : mFormat(format),
      mRc(nullptr),
      mCallback(nullptr),
      mState(NO_INIT),
      mTag(tag),
      mFirstWriteLogged(false),
      mIsWriteDone(false),
      mWriteDoneTime(0),
      mDump(nullptr),
      mCreateTime(nowMs()),
      mIsAuxiliary(tag != AUDIO_TAG_ALTERNATIVE),
      mShareMemory(nullptr),
      mPerLoopSize(0),
      mIsBlocked(false),
      mCond(false),
      mLock(false) {
    std::snprintf(mName, sizeof mName, "%s", name != nullptr ? name : "");
    {
        // Notifications can arrive before the link is complete; the lock delays them.
        const AudioMutex::AutoLock lock(mLock);
        StreamLink::open(mRc, AudioTypes::getConnectType(tag), notifierCallbackFunc, this, name);
    }
    init(streamParam);
}

void ClientTrack::init(int streamParam) {
    if (mRc->initCheck() != AUDIO_NO_ERROR) {
        AUDIO_LOGE("[%s] Fail to check RemoteCall.\n", mName);
        return;
    }
    ReplacedRing early(StreamLink::of(mRc));
    const AudioMutex::AutoLock lock(mLock);
    const auto accepted = [&](const wire::CreateReply& reply) {
        mPerLoopSize = reply.perLoopSize;
        if (mIsAuxiliary) return;
        early.ring = mShareMemory.exchange(make<ShareMemoryEx>(
            SHM_TYPE_POSIX_SHM, mName, nullptr, reply.ringSize, SHM_MODE_WRITER, this));
    };
    const wire::CreateRequest request =
        cabinaudio::createRequest(id(StreamFunction::Create), mTag, mFormat, streamParam);
    if (!Playback::create(parts(), request, AUDIO_LOG_SITE, accepted)) return;
    if (mState == NO_INIT) mState = IDLE;  // the server may have removed the track already
    AUDIO_LOGI("[%s] mPerLoopSize[%d] mState=[IDEL] [cast:%llu ms]\n", mName, mPerLoopSize.load(),
               llu(sinceCreation()));
}

/// Asks the server for the location of the announced ring and maps it.
/// @return the ring no longer in use, or null; must be deleted without the lock
ShareMemoryEx* ClientTrack::initShareMemory() {
    const LogSite site = AUDIO_LOG_SITE;
    ShareMemoryEx* replaced = nullptr;
    const std::int32_t allocated =
        Playback::mapRing(parts(), *this, replaced, site, [&](unsigned size) {
            AUDIO_LOG_AT(ANDROID_LOG_INFO, site, "[%s]share memory ready size[%d] [cast:%llu ms]\n",
                         mName, static_cast<int>(size), llu(sinceCreation()));
        });
    if (allocated != AUDIO_NO_ERROR)
        AUDIO_LOGE("[%s]mRc->rcalloc return failed, ret:%d\n", mName, allocated);
    return replaced;
}

int ClientTrack::initCheck() {
    const AudioMutex::AutoLock lock(mLock);
    if (mState != IDLE) {
        AUDIO_LOGE("[%s]initCheck failed state[%d] not IDLE, Out\n", mName, mState.load());
        return AUDIO_INVALID_STATE;
    }
    const std::int32_t status = mRc->callFuncId(id(StreamFunction::InitCheck), false);
    if (status != AUDIO_NO_ERROR) {
        AUDIO_LOGE("[%s]initCheck RPC failed status[%d], Out\n", mName, status);
        return status;
    }
    StreamDump::begin(mDump, mTag, mName);
    AUDIO_LOGI("Create %s track[%s] Done cast:%llu ms\n",
               mIsAuxiliary ? "auxiliary" : "alternative", mName, llu(sinceCreation()));
    return AUDIO_NO_ERROR;
}

int ClientTrack::start() {
    AUDIO_LOGD("[%s]start In\n", mName);
    const AudioMutex::AutoLock lock(mLock);
    return Playback::start(parts(), AUDIO_LOG_SITE);
}

int ClientTrack::stop() {
    AUDIO_LOGD("[%s]stop In\n", mName);
    const AudioMutex::AutoLock lock(mLock);
    const StateChange change = Playback::stop(parts(), AUDIO_LOG_SITE);
    if (change.outcome == StateChange::Outcome::Done) AUDIO_LOGD("[%s]stop Success, Out\n", mName);
    return change.status;
}

int ClientTrack::clear() {
    AUDIO_LOGD("[%s]clear In\n", mName);
    const AudioMutex::AutoLock lock(mLock);
    return Playback::clear(parts(), 2, AUDIO_LOG_SITE);  // kept as is: the second has no effect
}

int ClientTrack::writeDone() {
    AUDIO_LOGD("[%s]writeDone In\n", mName);
    const AudioMutex::AutoLock lock(mLock);
    if (!mIsAuxiliary) {
        AUDIO_LOGE("[%s]Not support,ignore op!\n", mName);
        return AUDIO_INVALID_STATE;
    }
    if (!Playback::mayEnd(parts(), AUDIO_LOG_SITE)) return AUDIO_INVALID_STATE;
    return Playback::writeDone(parts(), AUDIO_LOG_SITE);
}

int ClientTrack::setKeyShift(float key) {
    if (!mIsAuxiliary) {
        AUDIO_LOGW("[%s]Not support,ignore op!\n", mName);
        return AUDIO_NO_ERROR;
    }
    if (key < KEY_SHIFT_MIN || key > KEY_SHIFT_MAX) {
        AUDIO_LOGE("[%s] input key:%f rang[0.8, 1.2] error\n", mName, static_cast<double>(key));
        return AUDIO_BAD_VALUE;
    }
    const auto answer = cabinaudio::requestRecord<wire::StatusReply>(
        *mRc, wire::KeyShiftRequest{id(StreamFunction::SetKeyShift), key}, true,
        [](const auto&) {});
    cabinaudio::logUnfreed(answer, AUDIO_LOG_SITE);
    return answer.status;
}

int ClientTrack::setCallback(audio::QVAudioTrackCallback* callback) {
    const AudioMutex::AutoLock lock(mLock);
    mCallback = callback;
    return AUDIO_NO_ERROR;
}

int ClientTrack::getPerLoopSize() {
    return mPerLoopSize;
}

int ClientTrack::getTotalBufferSize() {
    const UseGate::Visit visit(StreamLink::of(mRc).ringVisitors);
    ShareMemoryEx* const ring = mShareMemory;
    return ring != nullptr ? static_cast<int>(ring->getTotalSize()) : 0;
}

int ClientTrack::bytesFree() {
    const UseGate::Visit visit(StreamLink::of(mRc).ringVisitors);
    return Playback::freeSize(mShareMemory);
}

int ClientTrack::setVolume(int /*volume*/) {
    return Playback::deprecated(AUDIO_LOG_SITE, "setTrackVolume/setVolumeByStreamType");
}

int ClientTrack::getVolume() {
    return Playback::deprecated(AUDIO_LOG_SITE, "getTrackVolume/getVolumeByStreamType");
}

int ClientTrack::duck(int /*percent*/) {
    return Playback::deprecated(AUDIO_LOG_SITE, "duck");
}

int ClientTrack::unduck() {
    return Playback::deprecated(AUDIO_LOG_SITE, "unduck");
}

int ClientTrack::getOutPutSamples(unsigned long long* /*samples*/, long long* /*timeUs*/) {
    return Playback::deprecated(AUDIO_LOG_SITE, nullptr);
}

int ClientTrack::write(unsigned char* buffer, int bytes, bool isBlock) {
    if (!mFirstWriteLogged.load(std::memory_order_relaxed) && !mFirstWriteLogged.exchange(true))
        AUDIO_LOGI("[%s] first write construct->nowTime:%llu ms  want write bytes:%d isBlock:%d\n",
                   mName, llu(sinceCreation()), bytes, isBlock);
    if (buffer == nullptr) {
        AUDIO_LOGE("[%s]buffer is NULL", mName);
        return AUDIO_BAD_VALUE;
    }
    if (bytes < 1) {
        AUDIO_LOGE("[%s]bytes[%d]<=0", mName, bytes);
        return AUDIO_BAD_VALUE;
    }
    const AudioMutex::AutoLock lock(mLock);
    if (mIsBlocked || mIsWriteDone || mState.load(std::memory_order_relaxed) != ACTIVE)
        return Playback::refusal(parts(), AUDIO_LOG_SITE);
    if (mShareMemory == nullptr && !checkAndWaitShareBufferReady()) return AUDIO_TIMED_OUT;
    // The normal case, the same in both modes: all bytes fit, and one step queues them.
    if (Playback::freeSize(mShareMemory) >= bytes) return writeOnce(buffer, bytes);
    return isBlock ? blockWrite(buffer, bytes) : nonblockWrite(buffer, bytes);
}

/// Waits for the ring. Cold: a write that finds the ring does not come here. @return whether it is
/// mapped and the track is still ACTIVE
[[gnu::cold]] bool ClientTrack::checkAndWaitShareBufferReady() {
    const cabinaudio::BlockedWait blocked(parts());
    const std::uint64_t begin = nowMs();
    bool isTimedOut = false;
    // A signal alone proves nothing: it may be meant for an earlier wait, or for a ring that could
    // not be mapped.
    for (std::uint64_t waited = 0; mShareMemory == nullptr && mState == ACTIVE && !isTimedOut;
         waited = nowMs() - begin)
        isTimedOut =
            waited >= RING_WAIT_MS || mCond.waitRelative(mLock, RING_WAIT_MS - waited) != 0;
    if (isTimedOut)
        AUDIO_LOGE("[%s]share buffer not ready timeout[%llu] Out \n", mName, llu(nowMs() - begin));
    else if (mState != ACTIVE)
        Playback::logInvalidState(parts(), AUDIO_LOG_SITE);
    return !isTimedOut && mState == ACTIVE;
}

int ClientTrack::blockWrite(unsigned char* buffer, int bytes) {
    int remaining = bytes;
    while (remaining > 0) {
        const int free = Playback::freeSize(mShareMemory);
        const int chunk = Playback::step(mPerLoopSize, free, remaining);
        if (chunk > free) {
            const int status = checkAndWaitShareBufferFree(chunk);
            if (status < 0) return status;
        }
        writeOnce(buffer, chunk);
        buffer += chunk;
        remaining -= chunk;
    }
    return bytes;
}

/// Waits until `need` bytes are free. @return 0, or the status of the failure
int ClientTrack::checkAndWaitShareBufferFree(int need) {
    return std::min(Playback::waitForSpace(parts(), need, nullptr, AUDIO_LOG_SITE), 0);
}

int ClientTrack::nonblockWrite(unsigned char* buffer, int bytes) {
    const int count = Playback::writableNow(mShareMemory, bytes, mName, AUDIO_LOG_SITE);
    return count < 1 ? 0 : writeOnce(buffer, count);
}

int ClientTrack::writeOnce(unsigned char* buffer, int len) {
    Playback::writeOnce(*mShareMemory, mDump, buffer, len, AUDIO_LOG_SITE);
    return len;
}

void ClientTrack::notify() {
    const AudioMutex::AutoLock lock(mLock);
    cabinaudio::logUpdate(parts(), AUDIO_LOG_SITE);
}

void ClientTrack::notifierCallbackFunc(void* track, unsigned msg, unsigned value) {
    auto* const self = static_cast<ClientTrack*>(track);
    if (self == nullptr) {
        AUDIO_LOGE("current track is NULL\n");
        return;
    }
    switch (static_cast<TrackEvent>(msg)) {
        case TrackEvent::RingReady:
            self->onRingReady();
            break;
        case TrackEvent::Finished:
            self->onFinished();
            break;
        case TrackEvent::Removed:
            self->onRemoved(AUDIO_LOG_SITE);
            break;
        default:
            AUDIO_LOGE("unknown msg(%d), value=%d\n", static_cast<int>(msg),
                       static_cast<int>(value));
            break;
    }
}

void ClientTrack::onRingReady() {
    ReplacedRing replaced(StreamLink::of(mRc));
    const AudioMutex::AutoLock lock(mLock);
    replaced.ring = initShareMemory();
    if (mIsBlocked) mCond.signal();
}

void ClientTrack::onFinished() {
    if (audio::QVAudioTrackCallback* const callback = mCallback) callback->finish(false);
    AUDIO_LOGI("[%s]play finish, elapsedTime[%llu] \n", mName, llu(nowMs() - mWriteDoneTime));
}

void ClientTrack::onRemoved(LogSite site) {
    AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, "[%s]server track has be deleted, disconnect.\n", mName);
    const AudioMutex::AutoLock lock(mLock);
    cabinaudio::setRemoved(parts());
}

/// Not inlined, to save code size: its callers block or run rarely.
[[gnu::noinline]] PlaybackParts ClientTrack::parts() {
    return {{mName, mRc, cabinaudio::sendUnderLock, mState, mLock, mCond, mIsBlocked, mShareMemory},
            mIsWriteDone,
            mWriteDoneTime};
}

std::uint64_t ClientTrack::sinceCreation() const {
    return nowMs() - mCreateTime;
}

ClientTrack::~ClientTrack() {
    // A request that waits for a dead server holds mLock, and would never release it.
    RemoteCallAccess::abandon(*mRc);
    ShareMemoryEx* ring = nullptr;
    {
        const AudioMutex::AutoLock lock(mLock);
        ring = Playback::endWriter(parts(), AUDIO_LOG_SITE);
    }
    cabinaudio::deleteRing(StreamLink::of(mRc), ring);
    StreamDump::endAll(mDump);
    StreamLink::close(mRc);
    delete mShareMemory;  // mapped by a notification during destruction
    AUDIO_LOGD("[%s]destroy client\n", mName);
}
