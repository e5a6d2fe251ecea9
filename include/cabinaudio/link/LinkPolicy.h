// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioExport.h>

#include <chrono>

namespace cabinaudio {

/// Limits the waits for a server that does not answer, and allows a fallback for real-time threads.
/// With all three fields set, no library call blocks forever, whatever the server does.
struct LinkPolicy {
    /// Longest wait for a reply, for sending a request, and of a blocking ClientSink::write() for
    /// the first notification about its source. 0: no limit (sending ends after 110 s).
    ///
    /// A request that times out fails (its call returns 1) and breaks its connection: no further
    /// request is sent on it, so that a late reply is never taken for the reply to another request.
    /// A stream then behaves as if the server were gone; create a new object.
    std::chrono::milliseconds replyTimeout{0};
    /// A request in progress fails (its call returns 1) when its connection is lost: the server is
    /// gone, or has sent an invalid frame. If false, the request waits until its object is
    /// destroyed.
    bool wakesOnServerLoss = false;
    /// Without permission for real-time threads, the library creates ordinary ones. If false, it
    /// creates none, and objects that need them are "not connected".
    bool allowsOrdinaryThreads = false;
};

/// Sets the policy of this process. Does not apply to waits in progress: set it before creating the
/// first object. Any thread, does not block. Negative times count as 0.
CABINAUDIO_API void setLinkPolicy(const LinkPolicy& policy) noexcept;

/// The policy of this process; initially LinkPolicy{}. Any thread, does not block.
[[nodiscard]] CABINAUDIO_API LinkPolicy linkPolicy() noexcept;

}  // namespace cabinaudio
