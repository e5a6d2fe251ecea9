// SPDX-License-Identifier: Apache-2.0
#include "client/Playback.h"

namespace cabinaudio {

namespace {

void logNoSpace(const StreamParts& stream, std::uint64_t waitedMs, LogSite site) {
    AUDIO_LOG_AT(ANDROID_LOG_WARN, site, "[%s]wait free space timeout %llu\n", stream.name,
                 llu(waitedMs));
}

void logInterruptedWait(const StreamParts& stream, LogSite site) {
    if (stream.isIn(NO_INIT))
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site,
                     "[%s]waiting free space, exit has requested mState[%d]\n", stream.name,
                     NO_INIT);
    else
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s]after waiting ,status:%s\n", stream.name,
                     endOfWait(stream.state));
}

/// A ring that could not be mapped has no wait flag.
void setRingWait(const StreamParts& stream, bool wait) {
    ShareMemoryEx* const ring = stream.ring;
    if (ring != nullptr && ring->isUsable()) ring->setWait(wait);
}

}  // namespace

int Playback::start(const PlaybackParts& stream, LogSite site) {
    const auto [outcome, status] =
        changeState(stream, IDLE, ACTIVE, id(wire::StreamFunction::Start), true);
    switch (outcome) {
        case StateChange::Outcome::NotNeeded:
            AUDIO_LOG_AT(ANDROID_LOG_WARN, site, "[%s]Current start state [is ACTIVE], Out\n",
                         stream.name);
            break;
        case StateChange::Outcome::Refused:
            AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s]start failed, state[%d] [not IDLE], Out\n",
                         stream.name, stream.state.load());
            break;
        case StateChange::Outcome::Failed:
            AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s]start RPC failed status[%d], Out\n",
                         stream.name, status);
            break;
        case StateChange::Outcome::Done:
            stream.isWriteDone = false;
            AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, "[%s]start Success, Out\n", stream.name);
            break;
    }
    return status;
}

StateChange Playback::stop(const PlaybackParts& stream, LogSite site) {
    const StateChange change =
        changeState(stream, ACTIVE, IDLE, id(wire::StreamFunction::Stop), true);
    switch (change.outcome) {
        case StateChange::Outcome::NotNeeded:
            AUDIO_LOG_AT(ANDROID_LOG_WARN, site, "[%s]Current stop state [is IDLE], Out\n",
                         stream.name);
            break;
        case StateChange::Outcome::Refused:
            AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s]stop failed,state[%d] [not ACTIVE], Out\n",
                         stream.name, stream.state.load());
            break;
        case StateChange::Outcome::Failed:
            AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s]stop RPC failed status[%d], Out\n",
                         stream.name, change.status);
            break;
        case StateChange::Outcome::Done:
            stream.isWriteDone = false;
            stream.wakeBlocked();
            break;
    }
    return change;
}

int Playback::clear(const PlaybackParts& stream, unsigned times, LogSite site) {
    if (!stream.isIn(IDLE)) {
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s]clear failed, state[%d] not IDLE, Out\n",
                     stream.name, stream.state.load());
        return AUDIO_INVALID_STATE;
    }
    if (ShareMemoryEx* const ring = stream.ring)
        for (; times > 0; --times)
            ring->clear();
    AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, "[%s]clear Success, Out\n", stream.name);
    return AUDIO_NO_ERROR;
}

bool Playback::mayEnd(const PlaybackParts& stream, LogSite site) {
    if (stream.isWriteDone) {
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s]Currently in writDone[%d], Out\n", stream.name,
                     stream.isWriteDone);
        return false;
    }
    if (!stream.isIn(ACTIVE)) {
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s]writeDone failed, state[%d] Out\n", stream.name,
                     stream.state.load());
        return false;
    }
    return true;
}

int Playback::writeDone(const PlaybackParts& stream, LogSite site) {
    stream.writeDoneTime = nowMs();
    const std::int32_t status = stream.request(id(wire::StreamFunction::WriteDone), true);
    if (status != AUDIO_NO_ERROR) {
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s]writeDone RPC failed status[%d], Out\n",
                     stream.name, status);
        return status;
    }
    stream.isWriteDone = true;
    AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, "[%s]writeDone Success, Out.\n", stream.name);
    return AUDIO_NO_ERROR;
}

int Playback::refusal(const PlaybackParts& stream, LogSite site) {
    if (stream.isBlocked) {
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site,
                     "[%s]Can not write,the last write did not exit [mIsBlocked=%d]\n", stream.name,
                     stream.isBlocked);
        return AUDIO_INVALID_OPERATION;
    }
    if (stream.isWriteDone) {
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site,
                     "[%s]Can not write,writeDone has been called [mIsWriteDone=%d]\n", stream.name,
                     stream.isWriteDone);
        return AUDIO_INVALID_OPERATION;
    }
    AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s]Current mState[%d] [not ACTIVE]\n", stream.name,
                 stream.state.load());
    return AUDIO_INVALID_STATE;
}

int Playback::waitForSpace(const PlaybackParts& stream, int need,
                           const std::atomic<bool>* isGivenUp, LogSite site) {
    if (freeSize(stream.ring) >= need) return need;
    const RingPatience patience(SPACE_WAIT_MS);
    const BlockedWait blocked(stream);
    do {
        setRingWait(stream, true);
        // The server frees space first and tests the flag afterwards, so test the space again after
        // setting the flag. A wait that fails leaves the flag set.
        if (freeSize(stream.ring) >= need) {
            setRingWait(stream, false);
            return need;
        }
        const std::uint64_t begin = nowMs();
        const bool isWoken = stream.wait(SPACE_WAIT_MS);
        if (isWoken && !stream.isIn(ACTIVE)) {
            logInterruptedWait(stream, site);
            return AUDIO_INVALID_STATE;
        }
        if (isWoken && isGivenUp != nullptr && *isGivenUp) return 0;
        if (!isWoken || (patience.isOver() && freeSize(stream.ring) < need)) {
            logNoSpace(stream, nowMs() - begin, site);
            return AUDIO_TIMED_OUT;
        }
        setRingWait(stream, false);
    } while (freeSize(stream.ring) < need);
    return need;
}

ShareMemoryEx* Playback::endWriter(const PlaybackParts& stream, LogSite site) {
    stream.state = NO_INIT;
    if (stream.isBlocked) {
        AUDIO_LOG_AT(ANDROID_LOG_WARN, site, "[%s] destroy with out stop finish\n", stream.name);
        const std::uint64_t waited = waitForExit(stream, WRITER_EXIT_WAIT_MS);
        if (stream.isBlocked)
            AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s] waitting exit timeout[%llu ms]\n",
                         stream.name, llu(waited));
    }
    return stream.ring.exchange(nullptr);
}

int Playback::deprecated(LogSite site, const char* instead) {
    if (instead == nullptr)
        AUDIO_LOG_AT(ANDROID_LOG_WARN, site, "Deprecated API(ClientTrack::%s) is called.\n",
                     site.function);
    else
        AUDIO_LOG_AT(ANDROID_LOG_WARN, site,
                     "Deprecated API(ClientTrack::%s) is called. please try "
                     "QVAudioSetting::Volume::%s.\n",
                     site.function, instead);
    return AUDIO_NO_ERROR;
}

void Playback::logInvalidState(const PlaybackParts& stream, LogSite site) {
    if (stream.isIn(NO_INIT))
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s]state[NO_INIT] invalid, expect[ACTIVE]\n",
                     stream.name);
    else
        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site, "[%s]state[%s] invalid, expect[ACTIVE]\n",
                     stream.name, stream.isIn(STOPPING) ? "STOPPING" : "IDEL");
}

}  // namespace cabinaudio
