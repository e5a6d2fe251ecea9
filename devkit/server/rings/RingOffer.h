// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/clients/Client.h"
#include "devkit/server/loop/EventLoop.h"
#include "devkit/server/loop/Timer.h"

#include <chrono>
#include <cstdint>
#include <functional>

namespace cabinaudio::server {

/// Lets a client have a physical ring, and takes it back:
///
///     Away --offer()--> Waiting --the delay is over, client told--> Offered
///     Waiting --withdraw()--> Away
///     Offered --withdraw(), client told--> LettingGo --letGo()--> Away
///     Offered --letGo(), unasked--> Away
///
/// A ring that is being withdrawn stays where it is until the client has let go of it: it may just
/// be writing there. An offer in that time is made afterwards.
class RingOffer {
public:
    struct Notification {
        std::uint32_t event;
        std::uint32_t value;
    };
    struct Owner {
        /// Makes the ring if there is none. @return whether there is one
        std::function<bool()> make;
        /// The client does not have the ring any more.
        std::function<void()> release;
    };

    RingOffer(EventLoop& loop, Client& client, Notification ready, Notification gone, Owner owner);

    /// The client is told after `delay`, and after the reply to the present request.
    void offer(std::chrono::milliseconds delay);
    void withdraw();
    /// Tells the client once more of the ring that it has. @return false when none is offered
    [[nodiscard]] bool announceAgain();
    /// The client says that it has no ring any more, asked or not.
    void letGo();

    /// The client has been told of the ring and of nothing else since.
    [[nodiscard]] bool isOffered() const { return mState == State::Offered; }
    /// The client may ask where the ring is. It may do so after a withdrawal that it has not heard
    /// of yet.
    [[nodiscard]] bool canBeShown() const { return isOffered() || isLettingGo(); }
    [[nodiscard]] bool isLettingGo() const { return mState == State::LettingGo; }
    /// "away", "waiting", "offered" or "letting go".
    [[nodiscard]] const char* stateName() const;

private:
    enum class State { Away, Waiting, Offered, LettingGo };

    void announce();
    void tell(const Notification& notification);

    Client& mClient;
    Notification mReady;
    Notification mGone;
    Owner mOwner;
    State mState = State::Away;
    bool mIsWanted = false;  // again, once the client has let go
    std::chrono::milliseconds mDelay{0};
    Timer mTimer;
};

}  // namespace cabinaudio::server
