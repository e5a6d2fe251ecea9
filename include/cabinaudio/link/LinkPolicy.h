// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioExport.h>

#include <chrono>

namespace cabinaudio {

/// How long the library waits for a server that does not answer, and what it makes do with. With
/// all three set, no call into the library blocks for ever, whatever the server does.
struct LinkPolicy {
    /// The longest wait for the answer to a request, for the server to take a request, and of a
    /// blocking ClientSink::write() for the first word about its source. 0: as long as it takes
    /// (sending ends after 110 s).
    ///
    /// A request whose time is over fails (its call returns 1), and its connection is broken: it
    /// carries no request any more, so that a late answer is never taken for that of another
    /// request. A stream becomes as when the server is gone; make a new object.
    std::chrono::milliseconds replyTimeout{0};
    /// A request under way fails (its call returns 1) when its connection is lost: the server is
    /// gone, or has sent what is no message. Otherwise it waits until its object is destroyed.
    bool wakesOnServerLoss = false;
    /// Where a process may not have real-time threads, the library's threads are ordinary ones.
    /// Otherwise it has none, and what needs them is "not connected".
    bool allowsOrdinaryThreads = false;
};

/// Sets the policy of this process. Waits that have begun end as they would have; set it before the
/// first object is made. Any thread, does not block. Negative times are 0.
CABINAUDIO_API void setLinkPolicy(const LinkPolicy& policy) noexcept;

/// The policy of this process; at first the one that LinkPolicy{} is. Any thread, does not block.
[[nodiscard]] CABINAUDIO_API LinkPolicy linkPolicy() noexcept;

}  // namespace cabinaudio
