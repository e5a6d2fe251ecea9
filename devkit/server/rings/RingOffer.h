// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/clients/Client.h"
#include "devkit/server/loop/EventLoop.h"
#include "devkit/server/loop/Timer.h"

#include <chrono>
#include <cstdint>
#include <functional>

namespace cabinaudio::server {

/// Announces a physical ring to a client and withdraws it:
///
///     Away --offer()--> Waiting --the delay is over, client told--> Offered
///     Waiting --withdraw()--> Away
///     Offered --withdraw(), client told--> Withdrawing --onRingUnmapped()--> Away
///     Offered --onRingUnmapped(), unasked--> Away
///
/// A withdrawn ring stays allocated until the client acknowledges, because the client may be
/// writing to it. An offer made meanwhile is postponed until then.
class RingOffer {
public:
    struct Notification {
        std::uint32_t event;
        std::uint32_t value;
    };
    struct Owner {
        /// Makes the ring if there is none. @return whether there is a ring now
        std::function<bool()> make;
        /// The client no longer uses the ring.
        std::function<void()> release;
    };

    RingOffer(EventLoop& loop, Client& client, Notification ready, Notification withdrawn,
              Owner owner);

    /// Announces the ring after `delay`, and after the reply to the current request.
    void offer(std::chrono::milliseconds delay);
    void withdraw();
    /// Repeats the announcement to the client. @return false when no ring is offered
    [[nodiscard]] bool announceAgain();
    /// The client reports that it has unmapped the ring, whether the ring was withdrawn or not.
    void onRingUnmapped();

    /// The ring has been announced and not withdrawn since.
    [[nodiscard]] bool isOffered() const { return mState == State::Offered; }
    /// The client may ask for the ring's address. It may also do so after a withdrawal whose
    /// notification it has not received yet.
    [[nodiscard]] bool canBeShown() const { return isOffered() || isWithdrawing(); }
    [[nodiscard]] bool isWithdrawing() const { return mState == State::Withdrawing; }
    /// The client has no ring, and none will be announced before the next offer().
    [[nodiscard]] bool isAway() const { return mState == State::Away; }
    /// "away", "waiting", "offered" or "letting go".
    [[nodiscard]] const char* stateName() const;

private:
    enum class State { Away, Waiting, Offered, Withdrawing };

    void announce();
    void send(const Notification& notification);

    Client& mClient;
    Notification mReady;
    Notification mWithdrawn;
    Owner mOwner;
    State mState = State::Away;
    bool mIsWanted = false;  // an offer is postponed until the acknowledgement
    std::chrono::milliseconds mDelay{0};
    Timer mTimer;
};

}  // namespace cabinaudio::server
