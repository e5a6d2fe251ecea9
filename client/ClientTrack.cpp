// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/client/ClientTrack.h>
#include <cabinaudio/diag/AudioDump.h>
#include <cabinaudio/foundation/AudioTime.h>
#include <cabinaudio/link/RemoteCall.h>

#include "client/RequestFrame.h"
#include "foundation/Log.h"
#include "foundation/Make.h"
#include "foundation/UseGate.h"
#include "wire/Stream.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace wire = cabinaudio::wire;
using cabinaudio::make;
using cabinaudio::UseGate;
using wire::StreamFunction;
using wire::TrackEvent;

namespace {

constexpr std::uint64_t RING_WAIT_MS = 1000;
constexpr std::uint64_t SPACE_WAIT_MS = 600;
constexpr std::uint64_t WRITER_EXIT_WAIT_MS = 2000;
constexpr std::uint64_t LAG_WARNING_MS = 2;

constexpr float KEY_SHIFT_MIN = 0.8F;
constexpr float KEY_SHIFT_MAX = 1.2F;

std::uint64_t nowMs() {
    return AudioTime::now() / 1000;
}

/// For the log's %llu, whatever 64 bits are called on this build.
unsigned long long llu(std::uint64_t value) {
    return value;
}

constexpr std::uint32_t id(StreamFunction function) {
    return static_cast<std::uint32_t>(function);
}

const unsigned char* physicalAddress(std::uint32_t address) {
    return reinterpret_cast<const unsigned char*>(static_cast<std::uintptr_t>(address));
}

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
      mLock(false),
      mIsBeingDestroyed(false),
      mRingVisitors(make<UseGate>()) {
    std::snprintf(mName, sizeof mName, "%s", name != nullptr ? name : "");
    {
        // Notifications can arrive before `new` has returned; they find mRc once the lock is free.
        const AudioMutex::AutoLock lock(mLock);
        mRc = make<RemoteCall>(AudioTypes::getConnectType(tag), notifierCallbackFunc, this, name);
    }
    init(streamParam);
}

void ClientTrack::init(int streamParam) {
    if (mRc->initCheck() != AUDIO_NO_ERROR) {
        AUDIO_LOGE("[%s] Fail to check RemoteCall.\n", mName);
        return;
    }
    const AudioMutex::AutoLock lock(mLock);
    std::uint8_t* param = nullptr;
    std::uint8_t* ret = nullptr;
    const std::int32_t allocated =
        mRc->rcalloc(&param, sizeof(wire::CreateRequest), &ret, sizeof(wire::CreateReply));
    if (allocated != AUDIO_NO_ERROR) {
        AUDIO_LOGE("[%s]mRc->rcalloc return failed, ret:%d\n", mName, allocated);
        return;
    }
    const wire::CreateRequest request{id(StreamFunction::Create), mTag, mFormat, streamParam,
                                      static_cast<std::int32_t>(syscall(SYS_getpid))};
    wire::CreateReply reply{};
    std::memcpy(param, &request, sizeof request);
    std::memset(ret, 0, sizeof reply);
    const std::int32_t status = mRc->call(param, sizeof request, ret, sizeof reply, true);
    std::memcpy(&reply, ret, sizeof reply);
    if (status != AUDIO_NO_ERROR || reply.status != AUDIO_NO_ERROR) {
        AUDIO_LOGE("[%s] mRc->call failure, status:%d  ret_status:%d\n", mName, status,
                   reply.status);
        AUDIO_IGNORE(AUDIO_NO_ERROR == mRc->rcfree(param, ret));
        return;
    }
    mPerLoopSize = reply.perLoopSize;
    if (!mIsAuxiliary)
        mShareMemory = make<ShareMemoryEx>(SHM_TYPE_POSIX_SHM, mName, nullptr, reply.ringSize,
                                           SHM_MODE_WRITER, this);
    // clang-format off
    AUDIO_IGNORE(AUDIO_NO_ERROR==mRc->rcfree(param, ret));  // the log line is spelled without blanks
    // clang-format on
    mState = IDLE;
    AUDIO_LOGI("[%s] mPerLoopSize[%d] mState=[IDEL] [cast:%llu ms]\n", mName, reply.perLoopSize,
               llu(sinceCreation()));
}

/// Asks where the announced ring lies and maps it. Called with mLock held.
void ClientTrack::initShareMemory() {
    std::uint8_t* param = nullptr;
    std::uint8_t* ret = nullptr;
    const std::int32_t allocated =
        mRc->rcalloc(&param, sizeof(wire::FunctionRequest), &ret, sizeof(wire::ShareMemoryReply));
    if (allocated != AUDIO_NO_ERROR) {
        AUDIO_LOGE("[%s]mRc->rcalloc return failed, ret:%d\n", mName, allocated);
        return;
    }
    const wire::FunctionRequest request{id(StreamFunction::GetShareMemory)};
    wire::ShareMemoryReply reply{};
    std::memcpy(param, &request, sizeof request);
    std::memset(ret, 0, sizeof reply);
    const std::int32_t status = mRc->call(param, sizeof request, ret, sizeof reply, true);
    std::memcpy(&reply, ret, sizeof reply);
    if (status != AUDIO_NO_ERROR || reply.status != AUDIO_NO_ERROR) {
        AUDIO_LOGE("[%s] mRc->call return error(%d), ret->status:%d.\n", mName, status,
                   reply.status);
        AUDIO_IGNORE(AUDIO_NO_ERROR == mRc->rcfree(param, ret));
        return;
    }
    auto* const ring = make<ShareMemoryEx>(SHM_TYPE_PHYS_MEM, mName, physicalAddress(reply.address),
                                           reply.size, SHM_MODE_WRITER, this);
    mShareMemory = ring;
    AUDIO_LOGI("[%s]share memory ready size[%d] [cast:%llu ms]\n", mName,
               static_cast<int>(ring->getTotalSize()), llu(sinceCreation()));
    AUDIO_IGNORE(AUDIO_NO_ERROR == mRc->rcfree(param, ret));
}

int ClientTrack::initCheck() {
    const AudioMutex::AutoLock lock(mLock);
    if (mState != IDLE) {
        AUDIO_LOGE("[%s]initCheck failed state[%d] not IDLE, Out\n", mName, mState);
        return AUDIO_INVALID_STATE;
    }
    const std::int32_t status = mRc->callFuncId(id(StreamFunction::InitCheck), false);
    if (status != AUDIO_NO_ERROR) {
        AUDIO_LOGE("[%s]initCheck RPC failed status[%d], Out\n", mName, status);
        return status;
    }
    delete mDump;  // of an earlier initCheck
    mDump = make<AudioDump>(mTag, mName, "client", false);
    AUDIO_LOGI("Create %s track[%s] Done cast:%llu ms\n",
               mIsAuxiliary ? "auxiliary" : "alternative", mName, llu(sinceCreation()));
    return AUDIO_NO_ERROR;
}

int ClientTrack::start() {
    AUDIO_LOGD("[%s]start In\n", mName);
    const AudioMutex::AutoLock lock(mLock);
    if (mState == ACTIVE) {
        AUDIO_LOGW("[%s]Current start state [is ACTIVE], Out\n", mName);
        return AUDIO_NO_ERROR;
    }
    if (mState != IDLE) {
        AUDIO_LOGE("[%s]start failed, state[%d] [not IDLE], Out\n", mName, mState);
        return AUDIO_INVALID_STATE;
    }
    const std::int32_t status = mRc->callFuncId(id(StreamFunction::Start), true);
    if (status != AUDIO_NO_ERROR) {
        AUDIO_LOGE("[%s]start RPC failed status[%d], Out\n", mName, status);
        return status;
    }
    mIsWriteDone = false;
    mState = ACTIVE;
    AUDIO_LOGD("[%s]start Success, Out\n", mName);
    return AUDIO_NO_ERROR;
}

int ClientTrack::stop() {
    AUDIO_LOGD("[%s]stop In\n", mName);
    const AudioMutex::AutoLock lock(mLock);
    if (mState == IDLE) {
        AUDIO_LOGW("[%s]Current stop state [is IDLE], Out\n", mName);
        return AUDIO_NO_ERROR;
    }
    if (mState != ACTIVE) {
        AUDIO_LOGE("[%s]stop failed,state[%d] [not ACTIVE], Out\n", mName, mState);
        return AUDIO_INVALID_STATE;
    }
    const std::int32_t status = mRc->callFuncId(id(StreamFunction::Stop), true);
    if (status != AUDIO_NO_ERROR) {
        AUDIO_LOGE("[%s]stop RPC failed status[%d], Out\n", mName, status);
        return status;
    }
    mIsWriteDone = false;
    mState = IDLE;
    if (mIsBlocked) mCond.signal();
    AUDIO_LOGD("[%s]stop Success, Out\n", mName);
    return AUDIO_NO_ERROR;
}

int ClientTrack::clear() {
    AUDIO_LOGD("[%s]clear In\n", mName);
    const AudioMutex::AutoLock lock(mLock);
    if (mState != IDLE) {
        AUDIO_LOGE("[%s]clear failed, state[%d] not IDLE, Out\n", mName, mState);
        return AUDIO_INVALID_STATE;
    }
    if (ShareMemoryEx* const ring = mShareMemory) {
        ring->clear();
        ring->clear();  // twice by tradition; the second finds an empty ring
    }
    AUDIO_LOGD("[%s]clear Success, Out\n", mName);
    return AUDIO_NO_ERROR;
}

int ClientTrack::writeDone() {
    AUDIO_LOGD("[%s]writeDone In\n", mName);
    const AudioMutex::AutoLock lock(mLock);
    if (!mIsAuxiliary) {
        AUDIO_LOGE("[%s]Not support,ignore op!\n", mName);
        return AUDIO_INVALID_STATE;
    }
    if (mIsWriteDone) {
        AUDIO_LOGE("[%s]Currently in writDone[%d], Out\n", mName, mIsWriteDone);
        return AUDIO_INVALID_STATE;
    }
    if (mState != ACTIVE) {
        AUDIO_LOGE("[%s]writeDone failed, state[%d] Out\n", mName, mState);
        return AUDIO_INVALID_STATE;
    }
    mWriteDoneTime = nowMs();
    const std::int32_t status = mRc->callFuncId(id(StreamFunction::WriteDone), true);
    if (status != AUDIO_NO_ERROR) {
        AUDIO_LOGE("[%s]writeDone RPC failed status[%d], Out\n", mName, status);
        return status;
    }
    mIsWriteDone = true;
    AUDIO_LOGD("[%s]writeDone Success, Out.\n", mName);
    return AUDIO_NO_ERROR;
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
    wire::StatusReply reply{};
    return cabinaudio::exchange(*mRc, AUDIO_LOG_SITE,
                                wire::KeyShiftRequest{id(StreamFunction::SetKeyShift), key}, reply,
                                true)
        .status;
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
    const UseGate::Visit visit(*mRingVisitors);
    const ShareMemoryEx* const ring = mShareMemory;
    return ring != nullptr ? static_cast<int>(ring->getTotalSize()) : 0;
}

int ClientTrack::bytesFree() {
    const UseGate::Visit visit(*mRingVisitors);
    return ringFreeSize();
}

int ClientTrack::setVolume(int /*volume*/) {
    AUDIO_LOGW(
        "Deprecated API(ClientTrack::%s) is called. please try "
        "QVAudioSetting::Volume::setTrackVolume/setVolumeByStreamType.\n",
        __func__);
    return AUDIO_NO_ERROR;
}

int ClientTrack::getVolume() {
    AUDIO_LOGW(
        "Deprecated API(ClientTrack::%s) is called. please try "
        "QVAudioSetting::Volume::getTrackVolume/getVolumeByStreamType.\n",
        __func__);
    return AUDIO_NO_ERROR;
}

int ClientTrack::duck(int /*percent*/) {
    AUDIO_LOGW(
        "Deprecated API(ClientTrack::%s) is called. please try "
        "QVAudioSetting::Volume::duck.\n",
        __func__);
    return AUDIO_NO_ERROR;
}

int ClientTrack::unduck() {
    AUDIO_LOGW(
        "Deprecated API(ClientTrack::%s) is called. please try "
        "QVAudioSetting::Volume::unduck.\n",
        __func__);
    return AUDIO_NO_ERROR;
}

int ClientTrack::getOutPutSamples(unsigned long long* /*samples*/, long long* /*timeUs*/) {
    AUDIO_LOGW("Deprecated API(ClientTrack::%s) is called.\n", __func__);
    return AUDIO_NO_ERROR;
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
    if (mIsBlocked) {
        AUDIO_LOGE("[%s]Can not write,the last write did not exit [mIsBlocked=%d]\n", mName,
                   mIsBlocked);
        return AUDIO_INVALID_OPERATION;
    }
    if (mIsWriteDone) {
        AUDIO_LOGE("[%s]Can not write,writeDone has been called [mIsWriteDone=%d]\n", mName,
                   mIsWriteDone);
        return AUDIO_INVALID_OPERATION;
    }
    if (mState != ACTIVE) {
        AUDIO_LOGE("[%s]Current mState[%d] [not ACTIVE]\n", mName, mState);
        return AUDIO_INVALID_STATE;
    }
    if (!checkAndWaitShareBufferReady()) return AUDIO_TIMED_OUT;
    return isBlock ? blockWrite(buffer, bytes) : nonblockWrite(buffer, bytes);
}

bool ClientTrack::checkAndWaitShareBufferReady() {
    if (mShareMemory != nullptr) return true;
    mIsBlocked = true;
    const std::uint64_t begin = nowMs();
    const bool signalled = mCond.waitRelative(mLock, RING_WAIT_MS) == 0;
    if (!signalled)
        AUDIO_LOGE("[%s]share buffer not ready timeout[%llu] Out \n", mName, llu(nowMs() - begin));
    if (mState == NO_INIT) {
        mCond.signal();  // the destructor waits for this
        AUDIO_LOGE("[%s]state[NO_INIT] invalid, expect[ACTIVE]\n", mName);
    } else if (mState != ACTIVE) {
        AUDIO_LOGE("[%s]state[%s] invalid, expect[ACTIVE]\n", mName,
                   mState == STOPPING ? "STOPPING" : "IDEL");
    }
    mIsBlocked = false;
    // The signal may have told of a ring that could not be had.
    return signalled && mState == ACTIVE && mShareMemory != nullptr;
}

int ClientTrack::blockWrite(unsigned char* buffer, int bytes) {
    int remaining = bytes;
    while (remaining > 0) {
        const int free = ringFreeSize();
        // A server that names no step size must not make this spin on a full ring.
        const int step = free > 0 ? free : std::max(mPerLoopSize.load(), 1);
        const int chunk = std::min(step, remaining);
        const int status = checkAndWaitShareBufferFree(chunk);
        if (status < 0) return status;
        writeOnce(buffer, chunk);
        buffer += chunk;
        remaining -= chunk;
    }
    return bytes;
}

/// Waits until `need` bytes are free. 0, or why they are not.
int ClientTrack::checkAndWaitShareBufferFree(int need) {
    while (ringFreeSize() < need) {
        mIsBlocked = true;
        setRingWait(true);
        // The server frees first and looks at the flag then, so look once more after setting it.
        if (ringFreeSize() >= need) {
            setRingWait(false);
            break;
        }
        const std::uint64_t begin = nowMs();
        if (mCond.waitRelative(mLock, SPACE_WAIT_MS) != 0) {
            AUDIO_LOGW("[%s]wait free space timeout %llu\n", mName, llu(nowMs() - begin));
            if (mState == NO_INIT) mCond.signal();  // the destructor came at the last moment
            mIsBlocked = false;
            return AUDIO_TIMED_OUT;
        }
        if (mState != ACTIVE) {
            logInterruptedWait();
            mIsBlocked = false;
            return AUDIO_INVALID_STATE;
        }
        setRingWait(false);
    }
    mIsBlocked = false;
    return AUDIO_NO_ERROR;
}

void ClientTrack::logInterruptedWait() {
    switch (mState) {
        case NO_INIT:
            mCond.signal();  // the destructor waits for this
            AUDIO_LOGE("[%s]waiting free space, exit has requested mState[%d]\n", mName, mState);
            break;
        case STOPPING:
            AUDIO_LOGE("[%s]after waiting ,status:%s\n", mName, "STOPPING,server may have crash");
            break;
        default:
            AUDIO_LOGE("[%s]after waiting ,status:%s\n", mName, "IDLE, may have stop");
            break;
    }
}

int ClientTrack::nonblockWrite(unsigned char* buffer, int bytes) {
    const int count = std::min(ringFreeSize(), bytes);
    if (count < bytes)
        AUDIO_LOGW("[%s] no enough space to write len[%d], actually write[%d] [unblock]\n", mName,
                   bytes, count);
    return count < 1 ? 0 : writeOnce(buffer, count);
}

int ClientTrack::writeOnce(unsigned char* buffer, int len) {
    ShareMemoryEx* const ring = mShareMemory;
    if (ring->write(buffer, static_cast<unsigned>(len)) == 0)
        AUDIO_LOGD("AUDIO IGNORE(mShareMemory->write(buffer, len))!\n");
    if (mDump != nullptr) mDump->write(buffer, static_cast<unsigned>(len));
    return len;
}

int ClientTrack::ringFreeSize() const {
    const ShareMemoryEx* const ring = mShareMemory;
    return ring != nullptr ? static_cast<int>(ring->getFreeSize()) : 0;
}

/// A ring that could not be mapped has no flag.
void ClientTrack::setRingWait(bool wait) {
    ShareMemoryEx* const ring = mShareMemory;
    if (ring != nullptr && ring->isUsable()) ring->setWait(wait);
}

void ClientTrack::notify() {
    std::uint64_t updated = 0;
    {
        const AudioMutex::AutoLock lock(mLock);
        if (!mIsBlocked) return;
        const ShareMemoryEx* const ring = mShareMemory;
        updated = ring != nullptr && ring->isUsable() ? ring->getUpdateTime() : nowMs();
    }
    mCond.signal();  // unlocked, so that the writer does not wake up only to wait for the lock
    const std::uint64_t lag = nowMs() - updated;
    if (lag >= LAG_WARNING_MS)
        AUDIO_LOGW("[%s] update share memory IPC interVal:%llu ms > 1 ms\n", mName, llu(lag));
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
            self->onRemoved();
            break;
        default:
            AUDIO_LOGE("unknown msg(%d), value=%d\n", static_cast<int>(msg),
                       static_cast<int>(value));
            break;
    }
}

void ClientTrack::onRingReady() {
    // An earlier ring goes first, and without the lock: its receiver thread may be in notify().
    ShareMemoryEx* old = nullptr;
    {
        const AudioMutex::AutoLock lock(mLock);
        if (mIsBeingDestroyed) return;
        old = mShareMemory.exchange(nullptr);
    }
    deleteRing(old);

    const AudioMutex::AutoLock lock(mLock);
    if (mIsBeingDestroyed) return;
    initShareMemory();
    if (mIsBlocked) mCond.signal();
}

void ClientTrack::onFinished() {
    if (audio::QVAudioTrackCallback* const callback = mCallback) callback->finish(false);
    AUDIO_LOGI("[%s]play finish, elapsedTime[%llu] \n", mName, llu(nowMs() - mWriteDoneTime));
}

void ClientTrack::onRemoved() {
    AUDIO_LOGD("[%s]server track has be deleted, disconnect.\n", mName);
    const AudioMutex::AutoLock lock(mLock);
    if (mIsBeingDestroyed) return;  // NO_INIT is what a writer on its way out has to see
    mState = STOPPING;
    if (mIsBlocked) mCond.signal();
}

/// Deletes a ring that was taken out of mShareMemory, once nobody looks at it any more. Without
/// mLock: joins the ring's receiver thread.
void ClientTrack::deleteRing(ShareMemoryEx* ring) {
    if (ring == nullptr) return;
    mRingVisitors->drain();
    delete ring;
}

std::uint64_t ClientTrack::sinceCreation() const {
    return nowMs() - mCreateTime;
}

ClientTrack::~ClientTrack() {
    // A request that waits for a dead server holds mLock; it would never give it up.
    mRc->_abandon();
    ShareMemoryEx* ring = nullptr;
    {
        const AudioMutex::AutoLock lock(mLock);
        mIsBeingDestroyed = true;
        mState = NO_INIT;
        if (mIsBlocked) {
            AUDIO_LOGW("[%s] destroy with out stop finish\n", mName);
            mCond.signal();
            const std::uint64_t begin = nowMs();
            std::uint64_t waited = 0;
            // notify() may wake this instead of the writer: wait for what the writer does.
            while (mIsBlocked && waited < WRITER_EXIT_WAIT_MS) {
                (void)mCond.waitRelative(mLock, WRITER_EXIT_WAIT_MS - waited);
                waited = nowMs() - begin;
            }
            if (mIsBlocked) AUDIO_LOGE("[%s] waitting exit timeout[%llu ms]\n", mName, llu(waited));
        }
        ring = mShareMemory.exchange(nullptr);
    }
    deleteRing(ring);
    delete mDump;
    delete mRc;
    delete mRingVisitors;
    AUDIO_LOGD("[%s]destroy client\n", mName);
}
