// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/rings/RingOffer.h"

#include "devkit/server/base/Log.h"

#include <utility>

namespace cabinaudio::server {

RingOffer::RingOffer(EventLoop& loop, Client& client, Notification ready, Notification gone,
                     Owner owner)
    : mClient(client),
      mReady(ready),
      mGone(gone),
      mOwner(std::move(owner)),
      mTimer(loop, [this](std::uint64_t) { announce(); }) {}

void RingOffer::offer(std::chrono::milliseconds delay) {
    mDelay = delay;
    if (mState == State::LettingGo) {
        mIsWanted = true;
    } else if (mState == State::Away) {
        mState = State::Waiting;
        mTimer.once(delay);
    }
}

void RingOffer::announce() {
    if (mState != State::Waiting) return;
    if (!mOwner.make()) {
        log::error("%s: no memory for its ring", mClient.title().c_str());
        mState = State::Away;
        return;
    }
    mState = State::Offered;
    tell(mReady);
}

void RingOffer::withdraw() {
    mIsWanted = false;
    mTimer.stop();
    if (mState == State::Waiting) mState = State::Away;
    if (mState != State::Offered) return;
    mState = State::LettingGo;
    tell(mGone);
}

bool RingOffer::announceAgain() {
    if (!isOffered()) return false;
    tell(mReady);
    return true;
}

void RingOffer::letGo() {
    if (!canBeShown()) return;
    mState = State::Away;
    mOwner.release();
    if (std::exchange(mIsWanted, false)) offer(mDelay);
}

void RingOffer::tell(const Notification& notification) {
    mClient.notify(notification.event, notification.value);
}

const char* RingOffer::stateName() const {
    switch (mState) {
        case State::Away:
            return "away";
        case State::Waiting:
            return "waiting";
        case State::Offered:
            return "offered";
        case State::LettingGo:
            break;
    }
    return "letting go";
}

}  // namespace cabinaudio::server
