// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/client/ClientTrack.h>

#include "tests/client/StreamFixture.h"

#include <future>
#include <memory>

namespace cabinaudio::test {

constexpr int CREATE = 21;
constexpr int INIT_CHECK = 8;
constexpr int WRITE_DONE = 12;
constexpr int GET_RING = 20;
constexpr int KEY_SHIFT = 22;

constexpr std::uint32_t RING_READY = 3;
constexpr std::uint32_t FINISHED = 4;

/// A track against a scripted server.
class ATrack : public AStream {
protected:
    /// Tells the server how to answer a create request.
    void acceptStreams(unsigned ringSize, int perLoopSize);

    /// A created alternative track named "trk" with its ring.
    void makeAlternative(unsigned ringSize = 4096, int perLoopSize = 1024);
    /// A created auxiliary track named "trk", without a ring yet.
    void makeAuxiliary(unsigned ringSize = 4096, int perLoopSize = 1024);
    /// Announces the auxiliary track's ring and waits until the track has it.
    void announceRing();
    /// Prepares the server's end of it without announcing it.
    void prepareRing(unsigned address = RING_ADDRESS);

    void start();
    int write(int bytes, bool isBlock);
    /// Fills the ring to the last byte.
    void fillRing();

    /// Starts a blocking write that has to wait, and returns once it does.
    [[nodiscard]] std::future<int> blockedWrite(int bytes);

    std::unique_ptr<ClientTrack> track;
};

}  // namespace cabinaudio::test
