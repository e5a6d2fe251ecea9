// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/client/ClientSink.h>

#include "tests/client/StreamFixture.h"

namespace cabinaudio::test {

/// A sink named "snk" against a scripted server.
class ASink : public AStream {
protected:
    static constexpr int CREATE = 21;
    static constexpr int WRITE_DONE = 12;
    static constexpr int LET_GO = 19;
    static constexpr int GET_RING = 20;
    static constexpr std::uint32_t ACTIVATED = 3;
    static constexpr std::uint32_t WITHDRAWN = 4;
    static constexpr std::uint32_t FINISHED = 5;

    /// A created sink, without a source yet.
    void make(int perLoopSize = 1024, AudioFormatDesc format = cdFormat(), int streamParam = 0);
    void makeActive(int perLoopSize = 1024, AudioFormatDesc format = cdFormat()) {
        make(perLoopSize, format);
        start();
    }
    /// An active sink with a source whose ring has this size.
    void makeWithSource(unsigned size = 4096, int perLoopSize = 1024) {
        makeActive(perLoopSize);
        activate(size);
    }

    /// Activates the source and waits until the sink has it.
    void activate(unsigned size = 4096);
    /// Withdraws the source and waits until the sink has said so.
    void withdraw();
    /// Waits until the sink has dealt with all notifications so far.
    void settle();

    void start() { ASSERT_EQ(sink->start(), AUDIO_NO_ERROR) << log.dump(); }
    int write(int bytes, bool isBlock) { return sink->write(data.data(), bytes, isBlock); }
    /// Fills the ring to the last byte.
    void fillRing();
    /// Starts a blocking write that has to wait, and returns once it does.
    [[nodiscard]] std::future<int> blockedWrite(int bytes, bool isBlock = true);

    /// Bytes that the sink says it has written; stops it.
    [[nodiscard]] long long writtenInAll();
    /// Bytes that the sink says it has thrown away, by its last word about them.
    [[nodiscard]] long long thrownAwayInAll() const;

    std::unique_ptr<ClientSink> sink;
};

}  // namespace cabinaudio::test
