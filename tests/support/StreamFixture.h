// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include "tests/support/LogCapture.h"
#include "tests/support/Logged.h"
#include "tests/support/ScriptedServer.h"
#include "tests/support/ServerRing.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace cabinaudio::test {

constexpr int START = 6;
constexpr int STOP = 7;

constexpr std::uint32_t REMOVED = 255;

/// Command words of a request without and with the flag.
constexpr std::uint32_t PLAIN = 195;
constexpr std::uint32_t FLAGGED = 198;

/// Stereo, 16 bits, 48 kHz.
[[nodiscard]] AudioFormatDesc cdFormat();

/// Runs a call that has to wait, and returns once it does. Of two such calls at the same time one
/// is refused with `refusal`, which proves that the other one is waiting.
[[nodiscard]] std::future<int> blocked(const std::function<int()>& call, int refusal);

/// How often a line is expected that must not be there.
constexpr std::size_t ABSENT = 0;

/// Whether there is a shared-memory object for the stream's ring in physical memory.
[[nodiscard]] bool ringHasAName(const std::string& streamName);

/// Time that goes by.
class Stopwatch {
public:
    [[nodiscard]] long long ms() const {
        return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - mBegin).count();
    }

private:
    using Clock = std::chrono::steady_clock;
    Clock::time_point mBegin = Clock::now();
};

/// Tests of a stream against a scripted server, with the server's end of the ring in their hands.
class StreamFixture : public ::testing::Test {
protected:
    /// How often a request of this function and payload length went out with this command word.
    [[nodiscard]] std::size_t sent(int function, std::uint32_t command,
                                   std::size_t length = 4) const;

    // The expectations of Logged.h, of this test's log.
    [[nodiscard]] ::testing::AssertionResult logged(int level, std::string_view line,
                                                    std::size_t times = 1) const {
        return test::logged(log, level, line, times);
    }
    [[nodiscard]] ::testing::AssertionResult logged(int level, std::string_view file,
                                                    std::string_view function,
                                                    std::string_view line,
                                                    std::size_t times = 1) const {
        return test::logged(log, level, file, function, line, times);
    }
    [[nodiscard]] ::testing::AssertionResult loggedLike(int level, const std::string& expression,
                                                        std::size_t times = 1) const {
        return test::loggedLike(log, level, expression, times);
    }

    /// The newest client's number at the server.
    [[nodiscard]] std::size_t newest() const { return server.clients() - 1; }

    ScriptedServer server;
    LogCapture log;
    unsigned ringSize = 0;
    std::unique_ptr<ShareMemoryEx> serverRing;
    std::vector<unsigned char> data = std::vector<unsigned char>(64 * 1024, 0x5a);
};

}  // namespace cabinaudio::test
