// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/client/ClientRecord.h>
#include <cabinaudio/link/RemoteCall.h>

#include "client/Stream.h"
#include "client/StreamDump.h"
#include "client/StreamParts.h"
#include "foundation/Log.h"
#include "foundation/Make.h"
#include "wire/Stream.h"

#include <algorithm>
#include <cstdio>

using cabinaudio::id;
using cabinaudio::llu;
using cabinaudio::LogSite;
using cabinaudio::make;
using cabinaudio::nowMs;
using cabinaudio::StateChange;
using cabinaudio::StreamDump;
using cabinaudio::StreamParts;
using cabinaudio::wire::CaptureEvent;
using cabinaudio::wire::CaptureFunction;
using cabinaudio::wire::CreateReply;

namespace {

constexpr std::uint64_t DATA_WAIT_MS = 1000;
constexpr unsigned VOLUME_MAX = 100;

/// Log site of the helpers of read(). A read that finds data does not come to the cold ones.
constexpr LogSite READ{"ClientRecord", "read"};

int totalSize(ShareMemoryEx* ring) {
    return ring != nullptr ? static_cast<int>(ring->getTotalSize()) : 0;
}

/// The status with which a read is refused.
[[gnu::cold]] int refusal(const StreamParts& stream) {
    if (!stream.isIn(ACTIVE))
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, READ, "[%s]state is not ACTIVE mState:%d \n", stream.name,
                     stream.state.load());
    else
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, READ,
                     "[%s]Can not read,the last write did not exit [mIsBlocked=%d]\n", stream.name,
                     stream.isBlocked);
    return AUDIO_INVALID_STATE;
}

}  // namespace

ClientRecord::ClientRecord(const char* name, AudioTagType tag, AudioFormatDesc& format,
                           int streamParam) noexcept
    : mRc(nullptr),
      mState(NO_INIT),
      mFormat(format),
      mTag(tag),
      mCreateTime(nowMs()),
      mFrameBytes(AudioTypes::getChannelNumber(format.channelMap) *
                  AudioTypes::getBytesPerSample(format.bitDepth)),
      mPerLoopSize(0),
      mPerLoopTime(0),
      mPerLoopSamples(0),
      mShareMemory(nullptr),
      mLock(false),
      mIsBlocked(false),
      mCond(false),
      mVolume(-1),
      mDump(nullptr) {
    std::snprintf(mName, sizeof mName, "%s", name != nullptr ? name : "");
    // Notifications can arrive before the constructor of RemoteCall has returned; they do not use
    // mRc.
    mRc = make<RemoteCall>(AudioTypes::getConnectType(tag), notifierCallbackFunc, this, name);
    init(tag, streamParam);
}

void ClientRecord::init(AudioTagType tag, int streamParam) {
    if (mRc->initCheck() != AUDIO_NO_ERROR) {
        AUDIO_LOGE("Fail to check RemoteCall.\n");
        return;
    }
    const LogSite site = AUDIO_LOG_SITE;
    const auto answer = cabinaudio::requestRecord<CreateReply>(
        *mRc, cabinaudio::createRequest(id(CaptureFunction::Create), tag, mFormat, streamParam),
        true, [&](const cabinaudio::Received<CreateReply>& received) {
            if (received.isGranted())
                accept(received.reply, site);
            else
                AUDIO_LOG_AT(ANDROID_LOG_ERROR, site,
                             "[%s] RPC data transfer failure, status:%d  ret_status:%d\n", mName,
                             received.called, received.reply.status);
        });
    if (!answer.isFreed) AUDIO_LOGD("AUDIO IGNORE(mRc->rcfree(param, ret) == AUDIO_NO_ERROR)!\n");
}

/// Stores the parameters granted by the server, and maps the ring.
void ClientRecord::accept(const CreateReply& reply, const LogSite& site) {
    mPerLoopSamples = reply.perLoopSamples;
    mPerLoopSize = reply.perLoopSize;
    mPerLoopTime = reply.perLoopTime;
    auto* const ring = make<ShareMemoryEx>(SHM_TYPE_POSIX_SHM, mName, nullptr, reply.ringSize,
                                           SHM_MODE_READER, this);
    const AudioMutex::AutoLock lock(mLock);
    mShareMemory = ring;
    if (mState == NO_INIT) mState = IDLE;  // the server may have removed the record already
    AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site,
                 "[%s] ShareMemoryEx create ok: mShareMemorySize:%u [cast:%llu ms]\n", mName,
                 reply.ringSize, llu(sinceCreation()));
}

int ClientRecord::initCheck() {
    const AudioMutex::AutoLock lock(mLock);
    if (mState != IDLE) {
        AUDIO_LOGE("[%s]state is not IDLE, init failed\n", mName);
        return AUDIO_INVALID_STATE;
    }
    const std::int32_t status = mRc->callFuncId(id(CaptureFunction::InitCheck), false);
    // Even when the server does not confirm the stream: a dump helps to diagnose that.
    StreamDump::begin(mDump, mTag, mName);
    AUDIO_LOGI("Create rawMic record[%s] Done [cast:%llu ms]\n", mName, llu(sinceCreation()));
    return status;
}

int ClientRecord::start() {
    const AudioMutex::AutoLock lock(mLock);
    const auto [outcome, status] =
        cabinaudio::changeState(parts(), IDLE, ACTIVE, id(CaptureFunction::Start), true);
    switch (outcome) {
        case StateChange::Outcome::NotNeeded:
            AUDIO_LOGW("[%s]current is start state, not need to repeat start\n", mName);
            break;
        case StateChange::Outcome::Refused:
            AUDIO_LOGE("[%s]state is not IDLE, start failed\n", mName);
            break;
        case StateChange::Outcome::Failed:
            AUDIO_LOGE("[%s]start failed\n", mName);
            break;
        case StateChange::Outcome::Done:
            AUDIO_LOGD("[%s]start done\n", mName);
            break;
    }
    return status;
}

/// Deliberate: does not wake a blocked read, which notices the stop at its next wake-up or timeout.
int ClientRecord::stop() {
    const AudioMutex::AutoLock lock(mLock);
    const auto [outcome, status] =
        cabinaudio::changeState(parts(), ACTIVE, IDLE, id(CaptureFunction::Stop), true);
    switch (outcome) {
        case StateChange::Outcome::NotNeeded:
            AUDIO_LOGW("[%s]current is stop state, not need to repeat stop\n", mName);
            break;
        case StateChange::Outcome::Refused:
            AUDIO_LOGE("[%s]state is not ACTIVE, stop failed\n", mName);
            break;
        case StateChange::Outcome::Failed:
            AUDIO_LOGE("[%s]stop failed\n", mName);
            break;
        case StateChange::Outcome::Done:
            AUDIO_LOGD("[%s]stop done\n", mName);
            break;
    }
    return status;
}

int ClientRecord::clear() {
    const AudioMutex::AutoLock lock(mLock);
    return cabinaudio::clearCapture(parts(), AUDIO_LOG_SITE);
}

int ClientRecord::setVolume(int volume) {
    const AudioMutex::AutoLock lock(mLock);
    if (static_cast<unsigned>(volume) > VOLUME_MAX) {
        AUDIO_LOGE("[%s]invalid input param\n", mName);
        return AUDIO_BAD_VALUE;
    }
    if (!isIdleOrActive()) {
        AUDIO_LOGE("[%s]state is not ACTIVE or IDLE\n", mName);
        return AUDIO_INVALID_STATE;
    }
    if (volume == mVolume) {
        AUDIO_LOGD("[%s]setVolume done(dont update)\n", mName);
        return AUDIO_NO_ERROR;
    }
    const std::int32_t status = mRc->callFuncId(id(CaptureFunction::SetVolume), volume, true);
    if (status != AUDIO_NO_ERROR) {
        AUDIO_LOGE("[%s]set volume(%d->%d) failed\n", mName, mVolume, volume);
        return status;
    }
    mVolume = volume;
    AUDIO_LOGD("[%s]setVolume done\n", mName);
    return AUDIO_NO_ERROR;
}

int ClientRecord::getVolume() {
    const AudioMutex::AutoLock lock(mLock);
    if (!isIdleOrActive()) {
        AUDIO_LOGE("[%s]state is not ACTIVE or IDLE\n", mName);
        return mVolume;
    }
    if (mVolume >= 0) {
        AUDIO_LOGD("[%s]use local volume(%d).\n", mName, mVolume);
        return mVolume;
    }
    std::int32_t value = 0;
    if (mRc->callFuncId(id(CaptureFunction::GetVolume), &value, false) != AUDIO_NO_ERROR) {
        AUDIO_LOGE("[%s]get volume form server failed.\n", mName);
        return mVolume;
    }
    mVolume = value;
    AUDIO_LOGD("[%s]getVolume done\n", mName);
    return mVolume;
}

bool ClientRecord::isIdleOrActive() const {
    return mState == IDLE || mState == ACTIVE;
}

int ClientRecord::getPerLoopSize() {
    return mPerLoopSize;
}

int ClientRecord::getTotalBufferSize() {
    return totalSize(mShareMemory);
}

int ClientRecord::bytesUsed() {
    const AudioMutex::AutoLock lock(mLock);
    if (mState != ACTIVE) {
        AUDIO_LOGE("[%s]Abnormal state:%d.\n", mName, mState.load());
        return 0;
    }
    ShareMemoryEx* const ring = mShareMemory;
    return ring != nullptr ? static_cast<int>(ring->getUsedSize()) : 0;
}

int ClientRecord::read(unsigned char* buffer, int bytes, bool isBlock) {
    ShareMemoryEx* const ring = mShareMemory;
    const int bufferSize = totalSize(ring);
    if (buffer == nullptr || bytes <= 0 || bytes > bufferSize) {
        AUDIO_LOGE("[%s]invalid input param, bufferSize:%d bytes:%d\n", mName, bufferSize, bytes);
        return AUDIO_BAD_VALUE;
    }
    const AudioMutex::AutoLock lock(mLock);
    if (mIsBlocked || mState.load(std::memory_order_relaxed) != ACTIVE) return refusal(parts());
    auto remaining = static_cast<unsigned>(bytes);
    while (remaining != 0) {
        unsigned used = ring->getUsedSize();
        if (used == 0 && isBlock) used = waitForData();
        if (used == 0) break;
        const unsigned count = std::min(remaining, used);
        const auto got = static_cast<unsigned>(ring->read(buffer, count));
        if (got == 0) [[unlikely]] {
            AUDIO_LOGE("[%s] read from shm return:%u\n", mName, got);
            break;
        }
        StreamDump::write(mDump, buffer, count);
        buffer += got;
        remaining -= got;
    }
    return bytes - static_cast<int>(remaining);
}

/// Waits for data. @return bytes in the ring; 0 when none arrived, or the stream is no longer
/// active
[[gnu::cold]] unsigned ClientRecord::waitForData() {
    ShareMemoryEx* const ring = mShareMemory;
    const cabinaudio::RingPatience patience(DATA_WAIT_MS);
    const cabinaudio::BlockedWait blocked(parts());
    unsigned used = 0;
    while ((used = ring->getUsedSize()) == 0) {
        bool isWoken = mCond.waitRelative(mLock, DATA_WAIT_MS) == 0;
        if (patience.isOver() && ring->getUsedSize() == 0) isWoken = false;  // counts as a timeout
        if (!isWoken)
            AUDIO_LOG_AT(ANDROID_LOG_WARN, READ,
                         "[%s] waitting share memory data update timeout[%d ms]\n", mName,
                         static_cast<int>(DATA_WAIT_MS));
        if (!isWoken || mState != ACTIVE) return 0;
    }
    return used;
}

void ClientRecord::notify() {
    const AudioMutex::AutoLock lock(mLock);
    const std::uint64_t lag = cabinaudio::wakeAfterUpdate(parts());
    if (lag >= cabinaudio::LAG_WARNING_MS)
        AUDIO_LOGW("update share memory IPC interVal:%llu ms > 1 ms\n", llu(lag));
}

void ClientRecord::notifierCallbackFunc(void* record, unsigned msg, unsigned value) {
    AUDIO_ASSERT(NULL != record);
    auto* const self = static_cast<ClientRecord*>(record);
    if (static_cast<CaptureEvent>(msg) == CaptureEvent::Removed)
        self->onRemoved();
    else
        AUDIO_LOGD("[%s]unknown msg(%d), value=%d\n", self->mName, static_cast<int>(msg),
                   static_cast<int>(value));
}

void ClientRecord::onRemoved() {
    AUDIO_LOGD("[%s]server record has be deleted, disconnect.\n", mName);
    const AudioMutex::AutoLock lock(mLock);
    cabinaudio::setRemoved(parts());
}

/// Not inlined, to save code size: its callers block or run rarely.
[[gnu::noinline]] StreamParts ClientRecord::parts() {
    return {mName, mRc, cabinaudio::sendUnderLock, mState, mLock, mCond, mIsBlocked, mShareMemory};
}

std::uint64_t ClientRecord::sinceCreation() const {
    return nowMs() - mCreateTime;
}

ClientRecord::~ClientRecord() {
    delete mRc;  // first, to end the notifications
    {
        const AudioMutex::AutoLock lock(mLock);
        endReader();
    }
    delete mShareMemory;
    StreamDump::endAll(mDump);
}

void ClientRecord::endReader() {
    (void)cabinaudio::endReader(parts(), AUDIO_LOG_SITE);
}
