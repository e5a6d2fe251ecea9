// SPDX-License-Identifier: Apache-2.0
#include "client/StreamParts.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include "client/Stream.h"
#include "client/StreamLink.h"

namespace cabinaudio {

namespace {

constexpr std::uint64_t READER_EXIT_WAIT_MS = 500;

}  // namespace

std::int32_t sendUnderLock(RemoteCall& rc, std::uint32_t function, bool flag) {
    return rc.callFuncId(function, flag);
}

std::int32_t sendInTurn(RemoteCall& rc, std::uint32_t function, bool flag) {
    const AudioMutex::AutoLock lock(StreamLink::of(&rc).requestLock);
    return rc.callFuncId(function, flag);
}

StateChange changeState(const StreamParts& stream, AudioStreamState from, AudioStreamState to,
                        std::uint32_t function, bool flag) {
    if (stream.isIn(to)) return {StateChange::Outcome::NotNeeded, AUDIO_NO_ERROR};
    if (!stream.isIn(from)) return {StateChange::Outcome::Refused, AUDIO_INVALID_STATE};
    const std::int32_t status = stream.request(function, flag);
    if (status != AUDIO_NO_ERROR) return {StateChange::Outcome::Failed, status};
    stream.state = to;
    return {StateChange::Outcome::Done, AUDIO_NO_ERROR};
}

void setRemoved(const StreamParts& stream) {
    stream.state = STOPPING;
    stream.wakeBlocked();
}

std::uint64_t wakeAfterUpdate(const StreamParts& stream) {
    if (!stream.isBlocked) return 0;
    stream.changed.signal();
    ShareMemoryEx* const ring = stream.ring;
    if (ring == nullptr || !ring->isUsable()) return 0;
    return nowMs() - ring->getUpdateTime();
}

void logUpdate(const StreamParts& stream, LogSite site) {
    const std::uint64_t lag = wakeAfterUpdate(stream);
    if (lag >= LAG_WARNING_MS)
        AUDIO_LOG_AT(ANDROID_LOG_WARN, site,
                     "[%s] update share memory IPC interVal:%llu ms > 1 ms\n", stream.name,
                     llu(lag));
}

std::uint64_t waitForExit(const StreamParts& stream, std::uint64_t limitMs) {
    stream.changed.signal();
    const std::uint64_t begin = nowMs();
    std::uint64_t waited = 0;
    // notify() can wake this thread instead of the blocked call, so test the flag of the call.
    for (; stream.isBlocked && waited < limitMs; waited = nowMs() - begin)
        (void)stream.wait(limitMs - waited);
    return waited;
}

bool endReader(const StreamParts& stream, LogSite site) {
    stream.state = NO_INIT;
    if (!stream.isBlocked) return true;
    (void)waitForExit(stream, READER_EXIT_WAIT_MS);
    if (!stream.isBlocked) return true;
    AUDIO_LOG_AT(ANDROID_LOG_WARN, site, "[%s] waitting exit read timeout[%d ms]\n", stream.name,
                 static_cast<int>(READER_EXIT_WAIT_MS));
    return false;
}

std::int32_t clearCapture(const StreamParts& stream, LogSite site) {
    if (!stream.isIn(IDLE)) {
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s]state is not IDLE, clear failed, mstate:%d\n",
                     stream.name, stream.state.load());
        return AUDIO_INVALID_STATE;
    }
    if (ShareMemoryEx* const ring = stream.ring) ring->clear();
    AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, "[%s] clear finish state: IDLE\n", stream.name);
    return AUDIO_NO_ERROR;
}

}  // namespace cabinaudio
