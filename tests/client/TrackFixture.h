// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/client/ClientTrack.h>

#include "tests/support/LogCapture.h"
#include "tests/support/ScriptedServer.h"

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <vector>

namespace cabinaudio::test {

constexpr int CREATE = 21;
constexpr int START = 6;
constexpr int STOP = 7;
constexpr int INIT_CHECK = 8;
constexpr int WRITE_DONE = 12;
constexpr int GET_RING = 20;
constexpr int KEY_SHIFT = 22;

constexpr std::uint32_t RING_READY = 3;
constexpr std::uint32_t FINISHED = 4;
constexpr std::uint32_t REMOVED = 255;

constexpr int DEBUG = 3;
constexpr int INFO = 4;
constexpr int WARN = 5;
constexpr int ERROR = 6;

constexpr unsigned RING_ADDRESS = 0x100000;

/// Stereo, 16 bits, 48 kHz.
[[nodiscard]] AudioFormatDesc cdFormat();

/// A track against a scripted server, with the server's end of the ring in the test's hands.
class ATrack : public ::testing::Test {
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

    /// Starts a blocking write that has to wait, and returns once it does. Of two writes at the
    /// same time one is refused, which proves that the other one is waiting.
    [[nodiscard]] std::future<int> blockedWrite(int bytes);

    ScriptedServer server;
    LogCapture log;
    unsigned ringSize = 0;
    std::unique_ptr<ShareMemoryEx> serverRing;
    std::unique_ptr<ClientTrack> track;
    std::vector<unsigned char> data = std::vector<unsigned char>(64 * 1024, 0x5a);
};

}  // namespace cabinaudio::test
