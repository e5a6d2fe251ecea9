// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/rings/RingOffer.h"

#include "devkit/server/base/Log.h"

#include <utility>

namespace cabinaudio::server {

RingOffer::RingOffer(EventLoop& loop, Client& client, Notification ready, Notification withdrawn,
                     Owner owner)
    : mClient(client),
      mReady(ready),
      mWithdrawn(withdrawn),
      mOwner(std::move(owner)),
      mTimer(loop, [this](std::uint64_t) { announce(); }) {}

void RingOffer::offer(std::chrono::milliseconds delay) {
    mDelay = delay;
    if (mState == State::Withdrawing) {
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
    send(mReady);
}

void RingOffer::withdraw() {
    mIsWanted = false;
    mTimer.stop();
    if (mState == State::Waiting) mState = State::Away;
    if (mState != State::Offered) return;
    mState = State::Withdrawing;
    send(mWithdrawn);
}

bool RingOffer::announceAgain() {
    if (!isOffered()) return false;
    send(mReady);
    return true;
}

void RingOffer::onRingUnmapped() {
    if (!canBeShown()) return;
    mState = State::Away;
    mOwner.release();
    if (std::exchange(mIsWanted, false)) offer(mDelay);
}

void RingOffer::send(const Notification& notification) {
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
        case State::Withdrawing:
            break;
    }
    return "letting go";
}

}  // namespace cabinaudio::server
