// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/client/ClientSink.h>
#include <cabinaudio/foundation/AudioTime.h>

#include "client/Playback.h"
#include "client/Stream.h"
#include "client/StreamDump.h"
#include "client/StreamLink.h"
#include "client/StreamParts.h"
#include "foundation/Log.h"
#include "foundation/UseGate.h"
#include "link/RemoteCallAccess.h"
#include "link/ReplyDeadline.h"
#include "wire/Stream.h"

#include <algorithm>
#include <cstdio>

namespace wire = cabinaudio::wire;
using cabinaudio::id;
using cabinaudio::InTurn;
using cabinaudio::llu;
using cabinaudio::LogSite;
using cabinaudio::nowMs;
using cabinaudio::Playback;
using cabinaudio::PlaybackParts;
using cabinaudio::RemoteCallAccess;
using cabinaudio::ReplacedRing;
using cabinaudio::ReplyDeadline;
using cabinaudio::StateChange;
using cabinaudio::StreamDump;
using cabinaudio::StreamLink;
using cabinaudio::UseGate;
using wire::SinkEvent;
using wire::StreamFunction;

namespace {

constexpr std::uint64_t SOURCE_WAIT_MS = 2000;
constexpr std::uint64_t REMOVED_PAUSE_US = 500'000;
constexpr std::uint64_t MISSING_RING_PAUSE_US = 1'000'000;

/// Wraps around instead of overflowing, after days of streaming.
void add(int& total, int count) {
    total = static_cast<int>(static_cast<unsigned>(total) + static_cast<unsigned>(count));
}

}  // namespace

ClientSink::ClientSink(const char* name, AudioTagType tag, AudioFormatDesc& format,
                       int streamParam) noexcept
    : mFormat(format),
      mRc(nullptr),
      mCallback(nullptr),
      mState(NO_INIT),
      mTag(tag),
      mIsWriteDone(false),
      mWriteDoneTime(0),
      mDump(nullptr),
      mCreateTime(nowMs()),
      mShareMemory(nullptr),
      mPerLoopSize(0),
      mIsBlocked(false),
      mCond(false),
      mLock(false),
      mIsRealtime(format.codecType != 0 || streamParam > 0),
      mSourceActive(false),
      mSourceRemoved(false),
      mTotalWritedLen(0),
      mIneffectiveLen(0) {
    std::snprintf(mName, sizeof mName, "%s", name != nullptr ? name : "");
    {
        // Notifications can arrive before the link is complete; the lock delays them.
        const AudioMutex::AutoLock lock(mLock);
        StreamLink::open(mRc, AudioTypes::getConnectType(tag), notifierCallbackFunc, this, name);
    }
    init(tag, streamParam);
}

void ClientSink::init(AudioTagType /*tag*/, int streamParam) {
    const std::int32_t connected = mRc->initCheck();
    if (connected != AUDIO_NO_ERROR) {
        AUDIO_LOGE("[%s]new RemoteCall failed, ret:%d\n", mName, connected);
        return;
    }
    const AudioMutex::AutoLock lock(mLock);
    // The notifier thread acknowledges a withdrawal without mLock, even while this runs.
    const AudioMutex::AutoLock requestLock(StreamLink::of(mRc).requestLock);
    const auto accepted = [&](const wire::CreateReply& reply) { mPerLoopSize = reply.perLoopSize; };
    const wire::CreateRequest request =
        cabinaudio::createRequest(id(StreamFunction::Create), mTag, mFormat, streamParam);
    if (!Playback::create(parts(), request, AUDIO_LOG_SITE, accepted)) return;
    if (mState == NO_INIT) mState = IDLE;  // the server may have removed the sink already
}

/// Asks the server for the location of the source's ring and maps it.
/// @return the ring no longer in use, or null; must be deleted without the lock
ShareMemoryEx* ClientSink::initShareMemory() {
    const LogSite site = AUDIO_LOG_SITE;
    const AudioMutex::AutoLock lock(StreamLink::of(mRc).requestLock);
    ShareMemoryEx* replaced = nullptr;
    const std::int32_t allocated =
        Playback::mapRing(parts(), *this, replaced, site, [&](unsigned size) {
            AUDIO_LOG_AT(ANDROID_LOG_INFO, site,
                         "[%s]main init shareMemory OK size:%u cast:%llu ms\n", mName, size,
                         llu(sinceCreation()));
        });
    if (allocated != AUDIO_NO_ERROR)
        AUDIO_LOGE("[%s]mRc->rcalloc return failed, ret:%d, mState[NO_INIT]\n", mName, allocated);
    return replaced;
}

int ClientSink::initCheck() {
    if (const AudioStreamState state = mState; state != IDLE) {
        AUDIO_LOGE("[%s]initCheck failed state[%d] not IDLE, Out\n", mName, state);
        return AUDIO_INVALID_STATE;
    }
    StreamDump::begin(mDump, mTag, mName);
    AUDIO_LOGI("Create %s track[%s] Done cast:%llu ms\n", mName,
               mIsRealtime ? "realtime" : "buffered", llu(sinceCreation()));
    return AUDIO_NO_ERROR;
}

int ClientSink::start() {
    AUDIO_LOGD("[%s]start In\n", mName);
    const InTurn turn(StreamLink::of(mRc).turn, mLock);
    return Playback::start(parts(), AUDIO_LOG_SITE);
}

int ClientSink::stop() {
    AUDIO_LOGD("[%s]stop In\n", mName);
    const InTurn turn(StreamLink::of(mRc).turn, mLock);
    const StateChange change = Playback::stop(parts(), AUDIO_LOG_SITE);
    if (change.outcome == StateChange::Outcome::Done)
        AUDIO_LOGD("[%s]stop Success, mTotalWritedLen:%d Out\n", mName, mTotalWritedLen);
    return change.status;
}

int ClientSink::clear() {
    AUDIO_LOGD("[%s]clear In\n", mName);
    const InTurn turn(StreamLink::of(mRc).turn, mLock);
    return Playback::clear(parts(), 1, AUDIO_LOG_SITE);
}

int ClientSink::writeDone() {
    AUDIO_LOGD("[%s]writeDone In\n", mName);
    const InTurn turn(StreamLink::of(mRc).turn, mLock);
    if (!Playback::mayEnd(parts(), AUDIO_LOG_SITE)) return AUDIO_INVALID_STATE;
    if (!mSourceActive) {
        AUDIO_LOGE("[%s]Source is cut away early,writeDone failed Out\n", mName);
        return AUDIO_INVALID_STATE;
    }
    return Playback::writeDone(parts(), AUDIO_LOG_SITE);
}

int ClientSink::setCallback(audio::QVAudioTrackCallback* callback) {
    const InTurn turn(StreamLink::of(mRc).turn, mLock);
    mCallback = callback;
    return AUDIO_NO_ERROR;
}

int ClientSink::getPerLoopSize() {
    return mPerLoopSize;
}

int ClientSink::getTotalBufferSize() {
    const UseGate::Visit visit(StreamLink::of(mRc).ringVisitors);
    ShareMemoryEx* const ring = mShareMemory;
    return ring != nullptr ? static_cast<int>(ring->getTotalSize()) : 0;
}

int ClientSink::bytesFree() {
    const UseGate::Visit visit(StreamLink::of(mRc).ringVisitors);
    return Playback::freeSize(mShareMemory);
}

int ClientSink::setVolume(int /*volume*/) {
    return Playback::deprecated(AUDIO_LOG_SITE, "setTrackVolume/setVolumeByStreamType");
}

int ClientSink::getVolume() {
    return Playback::deprecated(AUDIO_LOG_SITE, "getTrackVolume/getVolumeByStreamType");
}

int ClientSink::duck(int /*percent*/) {
    return Playback::deprecated(AUDIO_LOG_SITE, "duck");
}

int ClientSink::unduck() {
    return Playback::deprecated(AUDIO_LOG_SITE, "unduck");
}

int ClientSink::getOutPutSamples(unsigned long long* /*samples*/, long long* /*timeUs*/) {
    return Playback::deprecated(AUDIO_LOG_SITE, nullptr);
}

int ClientSink::write(unsigned char* buffer, int len, bool isBlock) {
    if (buffer == nullptr) {
        AUDIO_LOGE("[%s]buffer is NULL\n", mName);
        return AUDIO_BAD_VALUE;
    }
    if (len < 1) {
        AUDIO_LOGE("[%s]len[%d]<=0\n", mName, len);
        return AUDIO_BAD_VALUE;
    }
    // While the source is missing, an application that writes without a pause holds mLock nearly
    // all the time. The turn lock lets a waiting operation run before the next write.
    AudioMutex& turn = StreamLink::of(mRc).turn;
    turn.lock();
    const AudioMutex::AutoLock lock(mLock);
    turn.unlock();
    if (mIsBlocked || mIsWriteDone || mState.load(std::memory_order_relaxed) != ACTIVE)
        return Playback::refusal(parts(), AUDIO_LOG_SITE);
    if (mShareMemory == nullptr) {
        const int ready = checkAndWaitSourceReady(isBlock, len);
        if (ready != 1) return ready;
    }
    // The normal case, the same in both modes: all bytes fit, and one step queues them.
    if (Playback::freeSize(mShareMemory) >= len) return writeOnce(buffer, len, isBlock);
    return isBlock ? blockWrite(buffer, len) : nonblockWrite(buffer, len);
}

/// Waits for the ring. Cold: a write that finds the ring does not come here.
/// @return 1 when there is a ring to write to, else the result of write()
[[gnu::cold]] int ClientSink::checkAndWaitSourceReady(bool isBlock, int len) {
    const ReplyDeadline deadline;
    while (mShareMemory == nullptr) {
        AUDIO_LOGW("[%s]source is not ready mode[%s]\n", mName, isBlock ? "block" : "unblock");
        if (mSourceActive) {
            AUDIO_LOGE("[%s]Source is ready,because of mShareMemory new failed\n", mName);
            AudioTime::sleep(MISSING_RING_PAUSE_US);
            return 0;
        }
        // Deliberate: coded formats wait even in a non-blocking write.
        if (!isBlock && mFormat.codecType == 0) return 0;
        if (mSourceRemoved) {
            add(mIneffectiveLen, len);
            AUDIO_LOGW("track[%s], status[active], source [removed], write ineffective, size[%d]\n",
                       mName, mIneffectiveLen);
            AudioTime::sleep(REMOVED_PAUSE_US);
            return 0;
        }
        if (deadline.isOver()) return AUDIO_TIMED_OUT;
        if (!waitForSource(deadline.isSet() ? deadline.remainingMs() : SOURCE_WAIT_MS)) return 0;
    }
    return 1;
}

/// Waits once for the source to be activated or withdrawn. @return whether the stream is still
/// ACTIVE
bool ClientSink::waitForSource(std::uint64_t ms) {
    const cabinaudio::BlockedWait blocked(parts());
    const std::uint64_t begin = nowMs();
    if (mCond.waitRelative(mLock, std::min(ms, SOURCE_WAIT_MS)) != 0)
        AUDIO_LOGE("[%s]waiting Source ready timeout[%llu]\n", mName, llu(nowMs() - begin));
    if (mState == ACTIVE) return true;
    Playback::logInvalidState(parts(), AUDIO_LOG_SITE);
    return false;
}

int ClientSink::blockWrite(unsigned char* buffer, int bytes) {
    int remaining = bytes;
    while (remaining > 0) {
        const int free = Playback::freeSize(mShareMemory);
        const int chunk = Playback::step(mPerLoopSize, free, remaining);
        if (chunk > free) {
            const int ready = checkAndWaitShareBufferFree(chunk);
            if (ready < 1) return ready;
        }
        writeOnce(buffer, chunk, true);
        buffer += chunk;
        remaining -= chunk;
    }
    return bytes;
}

/// @return `need` when that much is free; 0 when the source was withdrawn; or a status
int ClientSink::checkAndWaitShareBufferFree(int need) {
    const int ready = Playback::waitForSpace(parts(), need, &mSourceRemoved, AUDIO_LOG_SITE);
    if (ready == 0) {
        add(mIneffectiveLen, need);
        AUDIO_LOGW("[%s] status[active], source [removed], write ineffective, size[%d]\n", mName,
                   mIneffectiveLen);
    }
    return ready;
}

int ClientSink::nonblockWrite(unsigned char* buffer, int bytes) {
    const int count = Playback::writableNow(mShareMemory, bytes, mName, AUDIO_LOG_SITE);
    return count < 1 ? 0 : writeOnce(buffer, count, false);
}

/// @param isBlock  mode of the write, for the log
int ClientSink::writeOnce(unsigned char* buffer, int len, bool isBlock) {
    const LogSite site{"ClientSink", isBlock ? "blockWrite" : "nonblockWrite"};
    Playback::writeOnce(*mShareMemory, mDump, buffer, len, site);
    add(mTotalWritedLen, len);
    return len;
}

void ClientSink::notify() {
    const AudioMutex::AutoLock lock(mLock);
    cabinaudio::logUpdate(parts(), AUDIO_LOG_SITE);
}

void ClientSink::notifierCallbackFunc(void* sink, unsigned msg, unsigned value) {
    auto* const self = static_cast<ClientSink*>(sink);
    switch (static_cast<SinkEvent>(msg)) {
        case SinkEvent::SourceActivated:
            self->onSourceActivated();
            break;
        case SinkEvent::SourceDeactivated:
            self->onSourceDeactivated();
            break;
        case SinkEvent::Finished:
            self->onFinished();
            break;
        case SinkEvent::Removed:
            self->onRemoved(AUDIO_LOG_SITE);
            break;
        default:
            AUDIO_LOGD("unknown msg(%d), value=%d\n", static_cast<int>(msg),
                       static_cast<int>(value));
            break;
    }
}

void ClientSink::onSourceActivated() {
    {
        ReplacedRing replaced(StreamLink::of(mRc));
        const InTurn turn(StreamLink::of(mRc).turn, mLock);
        mSourceActive = true;
        mSourceRemoved = false;
        replaced.ring = initShareMemory();
        if (mIsBlocked) mCond.signal();
    }
    AUDIO_LOGI("[%s]Source is actived duration[%llu] ms\n", mName, llu(sinceCreation()));
}

void ClientSink::onSourceDeactivated() {
    ShareMemoryEx* ring = nullptr;
    {
        const InTurn turn(StreamLink::of(mRc).turn, mLock);
        ring = detachRing();
        if (mIsBlocked) mCond.signal();
    }
    const bool isTold = acknowledgeWithdrawal(ring);
    AUDIO_LOGI("[%s]Source is deactived %s\n", mName, isTold ? "done" : "failed");
}

void ClientSink::deactived() {
    const bool isTold = acknowledgeWithdrawal(detachRing());
    AUDIO_LOGD("[%s]Source is deactived %s\n", mName, isTold ? "done" : "failed");
}

ShareMemoryEx* ClientSink::detachRing() {
    mSourceActive = false;
    mSourceRemoved = true;
    return mShareMemory.exchange(nullptr);
}

/// Deletes the ring and acknowledges the withdrawal; the server may then reuse the memory. Called
/// without mLock. @return whether the server has answered with AUDIO_NO_ERROR
bool ClientSink::acknowledgeWithdrawal(ShareMemoryEx* ring) {
    cabinaudio::deleteRing(StreamLink::of(mRc), ring);
    return cabinaudio::sendInTurn(*mRc, id(StreamFunction::SourceDeactivated), true) ==
           AUDIO_NO_ERROR;
}

void ClientSink::onFinished() {
    if (audio::QVAudioTrackCallback* const callback = mCallback) callback->finish(false);
    AUDIO_LOGI("[%s]play finish duration[%llu] ms\n", mName, llu(nowMs() - mWriteDoneTime));
}

void ClientSink::onRemoved(LogSite site) {
    AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, "[%s]server track has be deleted, disconnect.\n", mName);
    const InTurn turn(StreamLink::of(mRc).turn, mLock);
    cabinaudio::setRemoved(parts());
}

/// A withdrawal is acknowledged without mLock, so requestLock, not mLock, serialises requests. Not
/// inlined, to save code size: its callers block or run rarely.
[[gnu::noinline]] PlaybackParts ClientSink::parts() {
    return {{mName, mRc, cabinaudio::sendInTurn, mState, mLock, mCond, mIsBlocked, mShareMemory},
            mIsWriteDone,
            mWriteDoneTime};
}

std::uint64_t ClientSink::sinceCreation() const {
    return nowMs() - mCreateTime;
}

ClientSink::~ClientSink() {
    // A request that waits for a dead server holds a lock, and would never release it.
    RemoteCallAccess::abandon(*mRc);
    ShareMemoryEx* ring = nullptr;
    {
        const AudioMutex::AutoLock lock(mLock);
        ring = Playback::endWriter(parts(), AUDIO_LOG_SITE);
    }
    StreamDump::endAll(mDump);
    cabinaudio::deleteRing(StreamLink::of(mRc), ring);
    StreamLink::close(mRc);
    delete mShareMemory;  // mapped by a notification during destruction
    AUDIO_LOGD("[%s]destroy client\n", mName);
}
