// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/client/ClientRecordRt.h>

#include "client/FramedRing.h"
#include "client/Stream.h"
#include "client/StreamDump.h"
#include "client/StreamLink.h"
#include "client/StreamParts.h"
#include "client/UplinkCodec.h"
#include "client/UplinkPacing.h"
#include "client/UplinkSilence.h"
#include "foundation/Log.h"
#include "foundation/UseGate.h"
#include "link/RemoteCallAccess.h"
#include "wire/Stream.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace wire = cabinaudio::wire;
using cabinaudio::FramedRing;
using cabinaudio::id;
using cabinaudio::llu;
using cabinaudio::LogSite;
using cabinaudio::nowMs;
using cabinaudio::Received;
using cabinaudio::RemoteCallAccess;
using cabinaudio::ReplacedRing;
using cabinaudio::RingPatience;
using cabinaudio::StateChange;
using cabinaudio::StreamDump;
using cabinaudio::StreamLink;
using cabinaudio::StreamParts;
using cabinaudio::UplinkPacing;
using cabinaudio::UplinkSilence;
using cabinaudio::UseGate;
using wire::CaptureEvent;
using wire::CaptureFunction;

namespace {

constexpr std::uint32_t MSBC_BLOCK_BYTES = 456;  // eight frames

constexpr std::uint32_t PERIOD_SHIFT = 4;  // the server's period always counts as 16 ms
constexpr std::uint64_t RING_WAIT_MS = 1000;
constexpr std::uint64_t LATE_MS = 2;

}  // namespace

/// Unit of a read.
enum class ClientRecordRt::Unit : std::uint8_t {
    Bytes,
    Frame,
};

/// A read's request.
struct ClientRecordRt::Wanted {
    Unit unit;
    unsigned bytes;  // Bytes: required; Frame: capacity of the buffer
};

/// Bytes that a read can take now.
struct ClientRecordRt::Supply {
    unsigned bytes;
    unsigned needed;       // by the read
    bool isLive;           // from the ring, not from the clock
    std::uint64_t waitMs;  // for the rest of what is needed

    [[nodiscard]] bool isEnough() const { return bytes >= needed; }
};

/// Outcome of a read.
struct ClientRecordRt::Taken {
    int result;        // bytes stored, or a status
    unsigned counted;  // bytes, for the pacing
    unsigned dumped;   // bytes
};

ClientRecordRt::ClientRecordRt(const char* name, AudioTagType tag, AudioFormatDesc& format) noexcept
    : mDump(nullptr),
      mCreateTime(nowMs()),
      mUnInitShmTime(0),
      mRc(nullptr),
      mState(NO_INIT),
      mFirstReadLogged(false),
      mLock(false),
      mFormat(format),
      mShareMemory(nullptr),
      mSourceReady(false),
      mCond(false),
      mIsBlocked(false),
      mBytesPerMSec(0),
      mTotalReadBytes(0),
      mStartTime(0),
      mCacheSizeMax(0),
      mFrameSize(0),
      mPerLoopSamples(0),
      mPerLoopBytes(0),
      mPerLoopTime(0),
      mHeaderSize(0),
      mCodecExtra1(0),
      mCodecExtra2(0) {
    std::snprintf(mName, sizeof mName, "%s", name != nullptr ? name : "");
    {
        // Notifications can arrive before the link is complete; the lock delays them.
        const AudioMutex::AutoLock lock(mLock);
        StreamLink::open(mRc, AudioTypes::getConnectType(tag), notifierCallbackFunc, this, name);
    }
    init(tag);
}

// ---- Creation -----------------------------------------------------------------------------------

void ClientRecordRt::init(AudioTagType tag) {
    if (mRc->initCheck() != AUDIO_NO_ERROR) {
        AUDIO_LOGE("[%s] Fail to check RemoteCall.\n", mName);
        return;
    }
    AUDIO_LOGI("[%s] record init.\n", mName);
    const LogSite site = AUDIO_LOG_SITE;
    const AudioMutex::AutoLock lock(mLock);
    // The notifier thread acknowledges the end of a ring without mLock, even while this runs.
    const AudioMutex::AutoLock requestLock(StreamLink::of(mRc).requestLock);
    bool isGranted = false;
    const auto answer = cabinaudio::requestRecord<wire::CreateReply>(
        *mRc, cabinaudio::createRequest(id(CaptureFunction::Create), tag, mFormat, 0), true,
        // Runs during the call; clang cannot see that mLock is held.
        [&](const Received<wire::CreateReply>& received) CABINAUDIO_UNCHECKED_LOCKING {
            isGranted = received.isGranted();
            if (isGranted)
                accept(received.reply);
            else
                AUDIO_LOG_AT(ANDROID_LOG_ERROR, site,
                             "[%s] RPC data transfer failure, status:%d  ret_status:%d\n", mName,
                             received.called, received.reply.status);
        });
    if (!answer.isFreed) AUDIO_LOGD("AUDIO IGNORE(mRc->rcfree(initPrm, ret) == AUDIO_NO_ERROR)!\n");
    if (!isGranted) return;
    if (!setUpCodec()) {
        AUDIO_LOGE("[%s] unsupport CODEC type:%d.\n", mName, static_cast<int>(mFormat.codecType));
        return;
    }
    AUDIO_LOGI(
        "[%s] init done[cast:%llu ms] mPerLoopSamples = %u, mPerLoopBytes = %u, mPerLoopTime = %u "
        "mBytesPerMSec = %u mCacheSizeMax = %u\n",
        mName, llu(sinceCreation()), mPerLoopSamples, mPerLoopBytes.load(), mPerLoopTime,
        mBytesPerMSec, mCacheSizeMax);
}

/// Stores the parameters granted by the server.
void ClientRecordRt::accept(const wire::CreateReply& reply) {
    const auto perLoopBytes = static_cast<std::uint32_t>(reply.perLoopSize);
    if (mState == NO_INIT) mState = IDLE;  // the server may have removed the record already
    mPerLoopSamples = static_cast<std::uint32_t>(reply.perLoopSamples);
    mPerLoopBytes = perLoopBytes;
    mBytesPerMSec = perLoopBytes >> PERIOD_SHIFT;
    mCacheSizeMax = perLoopBytes << 1;
    mPerLoopTime = static_cast<std::uint32_t>(reply.perLoopTime);
}

/// Replaces the server's parameters with those of the codec. @return whether the codec is known
bool ClientRecordRt::setUpCodec() {
    const std::uint32_t rate = mFormat.sampleRate;
    switch (mFormat.codecType) {
        case cabinaudio::CODEC_PCM:
            return true;
        case cabinaudio::CODEC_LOAS:
            mHeaderSize = cabinaudio::LOAS_HEADER_BYTES;
            mPerLoopSamples = 480;
            return true;
        case cabinaudio::CODEC_OPUS:
            mHeaderSize = cabinaudio::OPUS_HEADER_BYTES;
            mPerLoopSamples = rate / 1000 * 20;
            mPerLoopBytes = rate / 1000 * 40;
            if (rate == 8000 || rate == 16000 || rate == 24000) {
                mCodecExtra1 = rate == 24000 ? 2 : 1;
                mCodecExtra2 = 4;
            }
            return true;
        case cabinaudio::CODEC_MSBC:
            mFrameSize = MSBC_BLOCK_BYTES;
            mPerLoopSamples = 120;
            mPerLoopBytes = MSBC_BLOCK_BYTES;
            return true;
        default:
            return false;
    }
}

int ClientRecordRt::initCheck() {
    const AudioMutex::AutoLock lock(mLock);
    if (mState != IDLE) {
        AUDIO_LOGE("[%s] state is not IDLE init failed\n", mName);
        return AUDIO_INVALID_STATE;
    }
    const std::int32_t status = parts().request(id(CaptureFunction::InitCheck), false);
    // Even when the server does not confirm the stream: a dump helps to diagnose that.
    StreamDump::begin(mDump, AUDIO_TAG_UPLINK, mName);
    AUDIO_LOGI("Create uplink record[%s] Done cast:%llu ms\n", mName, llu(sinceCreation()));
    return status;
}

// ---- State --------------------------------------------------------------------------------------

int ClientRecordRt::start() {
    const AudioMutex::AutoLock lock(mLock);
    if (mState == IDLE) mStartTime = nowMs();  // also when the request fails
    const auto [outcome, status] =
        cabinaudio::changeState(parts(), IDLE, ACTIVE, id(CaptureFunction::Start), true);
    switch (outcome) {
        case StateChange::Outcome::NotNeeded:
            AUDIO_LOGW("[%s]current is start state, not need to repeat start\n", mName);
            break;
        case StateChange::Outcome::Refused:
            AUDIO_LOGE("[%s] state is not IDLE\n", mName);
            break;
        case StateChange::Outcome::Failed:
            AUDIO_LOGE("[%s] start failed\n", mName);
            break;
        case StateChange::Outcome::Done:
            AUDIO_LOGD("[%s] start done [cast:%llu]\n", mName, llu(sinceCreation()));
            break;
    }
    return status;
}

int ClientRecordRt::stop() {
    const AudioMutex::AutoLock lock(mLock);
    const auto [outcome, status] =
        cabinaudio::changeState(parts(), ACTIVE, IDLE, id(CaptureFunction::Stop), false);
    switch (outcome) {
        case StateChange::Outcome::NotNeeded:
            AUDIO_LOGW("[%s]current is stop state, not need to repeat stop\n", mName);
            break;
        case StateChange::Outcome::Refused:
            AUDIO_LOGE("[%s] state is not ACTIVE\n", mName);
            break;
        case StateChange::Outcome::Failed:
            AUDIO_LOGE("[%s] stop failed status:%d\n", mName, status);
            break;
        case StateChange::Outcome::Done:
            if (mIsBlocked) mCond.signal();
            AUDIO_LOGD("[%s] stop done\n", mName);
            break;
    }
    return status;
}

int ClientRecordRt::clear() {
    const AudioMutex::AutoLock lock(mLock);
    return cabinaudio::clearCapture(parts(), AUDIO_LOG_SITE);
}

int ClientRecordRt::setVolume(int volume) {
    AUDIO_LOGW("[%s]not surpport, ignore op set volume:%d\n", mName, volume);
    return AUDIO_NO_ERROR;
}

int ClientRecordRt::getVolume() {
    AUDIO_LOGW("[%s]not surpport, ignore op\n", mName);
    return 0;
}

int ClientRecordRt::getPerLoopSize() {
    return static_cast<int>(mPerLoopBytes.load());
}

int ClientRecordRt::getTotalBufferSize() {
    const UseGate::Visit visit(StreamLink::of(mRc).ringVisitors);
    ShareMemoryEx* const ring = mShareMemory;
    return ring != nullptr ? static_cast<int>(ring->getTotalSize()) : 0;
}

int ClientRecordRt::bytesUsed() {
    const AudioMutex::AutoLock lock(mLock);
    if (mState != ACTIVE) {
        AUDIO_LOGE("[%s] client record state is not active:%d.\n", mName, mState.load());
        return 0;
    }
    return static_cast<int>(mSourceReady ? mShareMemory.load()->getUsedSize()
                                         : pacing().due(nowMs()));
}

// ---- Reading ------------------------------------------------------------------------------------

int ClientRecordRt::read(unsigned char* buffer, int bytes, bool isBlock) {
    static constexpr LogSite SITE = AUDIO_LOG_SITE;
    return readAs(Unit::Bytes, buffer, bytes, isBlock, SITE);
}

int ClientRecordRt::readFrame(unsigned char* buffer, int capacity, bool isBlock) {
    static constexpr LogSite SITE = AUDIO_LOG_SITE;
    const Unit unit = mFormat.codecType == cabinaudio::CODEC_PCM ? Unit::Bytes : Unit::Frame;
    return readAs(unit, buffer, capacity, isBlock, SITE);
}

int ClientRecordRt::readAs(Unit unit, unsigned char* buffer, int bytes, bool isBlock,
                           const LogSite& site) {
    const UseGate::Visit visit(StreamLink::of(mRc).readers);
    if (!mFirstReadLogged.load(std::memory_order_relaxed) && !mFirstReadLogged.exchange(true))
        logFirstRead(bytes, isBlock, site);
    if (buffer == nullptr || bytes <= 0) {
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s]invalid input param bytes:%d\n", mName, bytes);
        return AUDIO_BAD_VALUE;
    }
    Taken taken{};
    {
        const AudioMutex::AutoLock lock(mLock);
        taken = readLocked({unit, static_cast<unsigned>(bytes)}, buffer, isBlock, site);
    }
    if (taken.result < 0) return taken.result;
    mTotalReadBytes += taken.counted;
    if (taken.dumped != 0) StreamDump::write(mDump, buffer, taken.dumped);
    return taken.result;
}

void ClientRecordRt::logFirstRead(int bytes, bool isBlock, const LogSite& site) {
    const auto wanted = static_cast<unsigned>(bytes);
    AUDIO_LOG_AT(ANDROID_LOG_INFO, site,
                 "[%s] first read start->nowTime:%llu ms  want read bytes:%u(%u) ms isBlock:%d\n",
                 mName, llu(nowMs() - mStartTime), wanted,
                 mBytesPerMSec != 0 ? wanted / mBytesPerMSec : 0, isBlock);
}

/// The part of a read under mLock.
ClientRecordRt::Taken ClientRecordRt::readLocked(const Wanted& wanted, unsigned char* buffer,
                                                 bool isBlock, const LogSite& site) {
    if (mState != ACTIVE) {
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s] state[%d] is not ACTIVE\n", mName,
                     mState.load());
        return {AUDIO_INVALID_STATE, 0, 0};
    }
    if (mIsBlocked) {
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site,
                     "[%s]Can not read,the last write did not exit [mIsBlocked=%d]\n", mName,
                     mIsBlocked);
        return {AUDIO_INVALID_STATE, 0, 0};
    }
    unsigned ready = 0;
    if (_prepareData(wanted, isBlock, ready, site) != AUDIO_NO_ERROR) {
        // Deliberate: missing live data is also reported as a wrong state.
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s] client read data error state:%d\n", mName,
                     mState.load());
        return {AUDIO_INVALID_STATE, 0, 0};
    }
    if (ready == 0) return {};
    return wanted.unit == Unit::Frame ? takeFrame(buffer, wanted.bytes, ready, site)
                                      : take(buffer, ready, site);
}

/// Waits until all wanted bytes are due; without blocking, takes the bytes that are due, but never
/// part of a frame.
/// @param ready  bytes that may be taken
/// @retval AUDIO_TIMED_OUT      no live data arrived in time
/// @retval AUDIO_INVALID_STATE  the stream was stopped, removed or destroyed during the wait
std::int32_t ClientRecordRt::_prepareData(const Wanted& wanted, bool isBlock, unsigned& ready,
                                          const LogSite& site) {
    const Supply supply = chooseSource(wanted, site);
    ready = std::min(supply.bytes, supply.needed);
    if (supply.isEnough()) return AUDIO_NO_ERROR;
    if (isBlock) return waitForRest(supply, wanted, ready, site);
    if (wanted.unit == Unit::Frame) ready = 0;
    return AUDIO_NO_ERROR;
}

/// Waits until all wanted bytes are due. Cold: a read that finds them does not come here.
/// Parameters and statuses as for _prepareData().
/// @param supply  less than wanted
[[gnu::cold]] std::int32_t ClientRecordRt::waitForRest(Supply supply, const Wanted& wanted,
                                                       unsigned& ready, const LogSite& site) {
    const RingPatience patience(RING_WAIT_MS);
    while (!supply.isEnough()) {
        const std::int32_t status = waitForMore(supply, wanted, patience, site);
        if (status != AUDIO_NO_ERROR) return status;
        // Silence is due even after an early wake-up: a ring may be mapped now, and silence must
        // not delay its data.
        if (!supply.isLive) break;
        supply = chooseSource(wanted, site);
    }
    ready = supply.needed;
    return AUDIO_NO_ERROR;
}

/// Waits once. Statuses as for _prepareData().
std::int32_t ClientRecordRt::waitForMore(const Supply& supply, const Wanted& wanted,
                                         const RingPatience& patience, const LogSite& site) {
    const std::uint64_t begin = nowMs();
    const bool isWoken = waitFor(supply.waitMs);
    const std::uint64_t waited = nowMs() - begin;
    const bool isInVain =
        mState == ACTIVE && patience.isOver() && !chooseSource(wanted, site).isEnough();
    if (supply.isLive && (!isWoken || isInVain)) {
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s]wait shm data timeOut:%llu expect:%llu\n", mName,
                     llu(waited), llu(supply.waitMs));
        return AUDIO_TIMED_OUT;
    }
    if (!isWoken && waited > supply.waitMs + LATE_MS)
        AUDIO_LOG_AT(ANDROID_LOG_WARN, site, "[%s]wait silence data timeOut:%llu expect:%llu\n",
                     mName, llu(waited), llu(supply.waitMs));
    if (mState == ACTIVE) return AUDIO_NO_ERROR;
    logInterruptedWait(site);
    return AUDIO_INVALID_STATE;
}

/// Waits once. @return whether a wake-up ended it
bool ClientRecordRt::waitFor(std::uint64_t ms) {
    const cabinaudio::BlockedWait blocked(parts());
    return mCond.waitRelative(mLock, ms) == 0;
}

void ClientRecordRt::logInterruptedWait(const LogSite& site) {
    if (mState == NO_INIT)
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site,
                     "[%s]after waiting ,status:NO_INIT, may have destroy\n", mName);
    else
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s]after waiting ,status:%s\n", mName,
                     cabinaudio::endOfWait(mState));
}

// ---- Source -------------------------------------------------------------------------------------

/// Switches to live data once the ring can meet a whole request. @return the supply for the read
/// now
ClientRecordRt::Supply ClientRecordRt::chooseSource(const Wanted& wanted, const LogSite& site) {
    ShareMemoryEx* const ring = mShareMemory;
    if (ring == nullptr) return silentSupply(wanted);
    const Supply live = liveSupply(wanted, *ring);
    if (live.isEnough() && !mSourceReady) switchToLive(live.needed, site);
    return mSourceReady ? live : silentSupply(wanted);
}

void ClientRecordRt::switchToLive(unsigned bytes, const LogSite& site) {
    mSourceReady = true;
    AUDIO_LOG_AT(ANDROID_LOG_INFO, site, "[%s]start read from shm(dsp) at %llu ms readBytes:%u\n",
                 mName, llu(sinceCreation()), bytes);
}

ClientRecordRt::Supply ClientRecordRt::liveSupply(const Wanted& wanted, ShareMemoryEx& ring) const {
    const unsigned used = ring.getUsedSize();
    return {used, wanted.unit == Unit::Frame ? neededForFrame(ring) : wanted.bytes, true,
            RING_WAIT_MS};
}

ClientRecordRt::Supply ClientRecordRt::silentSupply(const Wanted& wanted) {
    UplinkPacing pace = pacing();
    const unsigned needed = wanted.unit == Unit::Frame ? frameStep() : wanted.bytes;
    const unsigned due = pace.due(nowMs());
    return {due, needed, false, due < needed ? pace.msUntil(needed - due) : 0};
}

/// Minimum fill level before a frame, or silence in its place, can be taken.
unsigned ClientRecordRt::neededForFrame(ShareMemoryEx& ring) const {
    return isFramed() ? frames(ring).needed() : frameStep();
}

/// Bytes of silence that count as one frame.
unsigned ClientRecordRt::frameStep() const {
    return std::max(mPerLoopBytes.load(), 1U);
}

/// Whether the header of a frame in the ring contains its length.
bool ClientRecordRt::isFramed() const {
    return cabinaudio::isFramed(mFormat.codecType);
}

FramedRing ClientRecordRt::frames(ShareMemoryEx& ring) const {
    return {ring, mFormat.codecType, mHeaderSize};
}

UplinkPacing ClientRecordRt::pacing() {
    return {mBytesPerMSec, mCacheSizeMax, mTotalReadBytes, mStartTime};
}

UplinkSilence ClientRecordRt::silence() const {
    return {mFormat, mBytesPerMSec, mName};
}

// ---- Taking -------------------------------------------------------------------------------------

/// Takes the data that read() returns for `ready` bytes.
ClientRecordRt::Taken ClientRecordRt::take(unsigned char* buffer, unsigned ready,
                                           const LogSite& site) {
    unsigned stored = 0;
    if (!mSourceReady) {
        stored = silence().fill(buffer, ready, site);
    } else if (mFormat.codecType == cabinaudio::CODEC_PCM) {
        stored = static_cast<unsigned>(mShareMemory.load()->read(buffer, ready));
    } else if (isFramed()) {
        stored = frames(*mShareMemory).takeWhole(buffer, site);
        if (stored == 0) stored = silence().fill(buffer, ready, site);
    } else {
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site,
                     "[%s] please input right mCodecTag,current mCodecTag(%d)\n", mName,
                     static_cast<int>(mFormat.codecType));
        return {AUDIO_BAD_VALUE, 0, 0};
    }
    return {static_cast<int>(stored), stored, ready};
}

/// Takes the frame that readFrame() returns once `ready` bytes are available.
ClientRecordRt::Taken ClientRecordRt::takeFrame(unsigned char* buffer, unsigned capacity,
                                                unsigned ready, const LogSite& site) {
    if (!mSourceReady) return takeSilentFrame(buffer, capacity, ready, site);
    return isFramed() ? takeLiveFrame(buffer, capacity, site) : take(buffer, ready, site);
}

/// A silent frame counts as `ready` bytes, so that silence keeps the pace of frames.
ClientRecordRt::Taken ClientRecordRt::takeSilentFrame(unsigned char* buffer, unsigned capacity,
                                                      unsigned ready, const LogSite& site) {
    unsigned char frame[UplinkSilence::LONGEST_FRAME_BYTES];
    const unsigned length = silence().fill(frame, sizeof frame, site);
    if (length > capacity) return refuseFrame(length, capacity, site);
    std::memcpy(buffer, frame, length);
    return {static_cast<int>(length), ready, length};
}

ClientRecordRt::Taken ClientRecordRt::takeLiveFrame(unsigned char* buffer, unsigned capacity,
                                                    const LogSite& site) {
    const FramedRing::Frame frame = frames(*mShareMemory).takeWithin(buffer, capacity);
    switch (frame.outcome) {
        case FramedRing::Outcome::Taken:
            return {static_cast<int>(frame.bytes), frame.bytes, frame.bytes};
        case FramedRing::Outcome::TooLong:
            return refuseFrame(frame.bytes, capacity, site);
        case FramedRing::Outcome::Impossible:
            AUDIO_LOG_AT(ANDROID_LOG_ERROR, site,
                         "[%s]frame of %u bytes is longer than the ring, its header is dropped\n",
                         mName, frame.bytes);
            return {AUDIO_BAD_VALUE, 0, 0};
        case FramedRing::Outcome::Missing:
            break;  // the server has taken bytes back since the fill level was read
    }
    return {};  // no frame
}

ClientRecordRt::Taken ClientRecordRt::refuseFrame(unsigned length, unsigned capacity,
                                                  const LogSite& site) const {
    AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s]frame of %u bytes does not fit into %u\n", mName,
                 length, capacity);
    return {AUDIO_NO_MEMORY, 0, 0};
}

// ---- The ring -----------------------------------------------------------------------------------

/// Asks the server for the location of the announced ring and maps it.
/// @return the ring no longer in use, or null; must be deleted without the lock
ShareMemoryEx* ClientRecordRt::initShareMem() {
    if (mState == NO_INIT) {
        AUDIO_LOGW("[%s] can not init share memory.\n", mName);
        return nullptr;
    }
    const LogSite site = AUDIO_LOG_SITE;
    const AudioMutex::AutoLock lock(StreamLink::of(mRc).requestLock);
    ShareMemoryEx* replaced = nullptr;
    bool isGranted = false;
    const auto answer = cabinaudio::requestRecord<wire::ShareMemoryReply>(
        *mRc, wire::FunctionRequest{id(CaptureFunction::GetShareMemory)}, false,
        // As in init(): mLock is held, but clang cannot see it.
        [&](const Received<wire::ShareMemoryReply>& received) CABINAUDIO_UNCHECKED_LOCKING {
            isGranted = received.isGranted();
            if (isGranted)
                replaced = adopt(received.reply, site);
            else
                logNoRing(received.called, received.reply.status, site);
        });
    if (answer.allocated != AUDIO_NO_ERROR) logNoRing(answer.allocated, AUDIO_NO_ERROR, site);
    if (!answer.isFreed && isGranted)
        AUDIO_LOGD("AUDIO IGNORE(0 == mRc->rcfree(param, ret))!\n");
    else if (!answer.isFreed)
        AUDIO_LOGD("AUDIO IGNORE(AUDIO_NO_ERROR == mRc->rcfree(param, ret))!\n");
    return replaced;
}

/// Maps the ring that the server has announced. @return as initShareMem()
ShareMemoryEx* ClientRecordRt::adopt(const wire::ShareMemoryReply& place, const LogSite& site) {
    ShareMemoryEx* const earlier = mShareMemory;
    ShareMemoryEx* const replaced =
        cabinaudio::adoptRing(mShareMemory, place, mName, SHM_MODE_READER, this);
    ShareMemoryEx* const ring = mShareMemory;
    if (ring != earlier) mSourceReady = false;
    AUDIO_LOG_AT(ANDROID_LOG_INFO, site, "[%s] record initShareMem OK, shm_size = %d\n", mName,
                 static_cast<int>(ring->getTotalSize()));
    logSourceReady(site);
    return replaced;
}

void ClientRecordRt::logNoRing(std::int32_t error, std::int32_t status, const LogSite& site) const {
    AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s] remote call return error(%d), ret->status:%d.\n",
                 mName, error, status);
}

void ClientRecordRt::logSourceReady(const LogSite& site) const {
    const bool isFirst = mUnInitShmTime == 0;
    AUDIO_LOG_AT(
        ANDROID_LOG_INFO, site, "[%s] source already now,%s[cast:%llums]", mName,
        isFirst ? "constructTime--->SourceReadyTime" : "unInitShareMemTime--->SourceReadyTime",
        llu(nowMs() - (isFirst ? mCreateTime : mUnInitShmTime)));
}

/// Detaches the ring: reads return silence from now on. @return the ring, which must be deleted
/// without the lock
ShareMemoryEx* ClientRecordRt::unInitShareMem() {
    AUDIO_LOGI("[%s] record unInitShareMem\n", mName);
    mSourceReady = false;
    mUnInitShmTime = nowMs();
    return mShareMemory.exchange(nullptr);
}

void ClientRecordRt::notify() {
    const AudioMutex::AutoLock lock(mLock);
    cabinaudio::logUpdate(parts(), AUDIO_LOG_SITE);
}

void ClientRecordRt::notifierCallbackFunc(void* record, unsigned msg, unsigned value) {
    AUDIO_ASSERT(NULL != record);
    auto* const self = static_cast<ClientRecordRt*>(record);
    switch (static_cast<CaptureEvent>(msg)) {
        case CaptureEvent::RingState:
            value != 0 ? self->onRingReady() : self->onRingGone();
            break;
        case CaptureEvent::Removed:
            self->onRemoved();
            break;
        default:
            AUDIO_LOGD("[%s] unknown msg(%d), value=%d\n", self->mName, static_cast<int>(msg),
                       static_cast<int>(value));
            break;
    }
}

void ClientRecordRt::onRingReady() {
    ReplacedRing replaced(StreamLink::of(mRc));
    const AudioMutex::AutoLock lock(mLock);
    replaced.ring = initShareMem();
    if (mIsBlocked) mCond.signal();
}

void ClientRecordRt::onRingGone() {
    ShareMemoryEx* ring = nullptr;
    {
        const AudioMutex::AutoLock lock(mLock);
        ring = unInitShareMem();
        if (mIsBlocked) mCond.signal();
    }
    cabinaudio::deleteRing(StreamLink::of(mRc), ring);
    // From here on the server may reuse the memory.
    if (cabinaudio::sendInTurn(*mRc, id(CaptureFunction::RemoveShareMemory), false) !=
        AUDIO_NO_ERROR)
        AUDIO_LOGE("remove[%s] share memory failed\n", mName);
}

void ClientRecordRt::onRemoved() {
    AUDIO_LOGD("[%s]server record has be deleted, disconnect.\n", mName);
    const AudioMutex::AutoLock lock(mLock);
    cabinaudio::setRemoved(parts());
}

/// The removal of a ring is acknowledged without mLock, so requestLock, not mLock, serialises
/// requests. Not inlined, to save code size: its callers block or run rarely.
[[gnu::noinline]] StreamParts ClientRecordRt::parts() {
    return {mName, mRc, cabinaudio::sendInTurn, mState, mLock, mCond, mIsBlocked, mShareMemory};
}

std::uint64_t ClientRecordRt::sinceCreation() const {
    return nowMs() - mCreateTime;
}

ClientRecordRt::~ClientRecordRt() {
    // A request that waits for a dead server holds a lock, and would never release it.
    RemoteCallAccess::abandon(*mRc);
    bool isGivenUp = false;
    {
        const AudioMutex::AutoLock lock(mLock);
        isGivenUp = !endReader();
    }
    // A read that has its data may still be writing the dump. Do not wait for a read that did not
    // leave in time.
    if (!isGivenUp) StreamLink::of(mRc).readers.drain();
    StreamLink::close(mRc);
    delete mShareMemory;
    StreamDump::endAll(mDump);
    AUDIO_LOGD("[%s] destroy\n", mName);
}

/// @return whether no read is blocked any more
bool ClientRecordRt::endReader() {
    return cabinaudio::endReader(parts(), AUDIO_LOG_SITE);
}
