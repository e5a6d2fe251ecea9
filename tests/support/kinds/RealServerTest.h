// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/RealServer.h"
#include "tests/support/StreamFixture.h"
#include "tests/support/kinds/Leftovers.h"
#include "tests/support/kinds/StreamKinds.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::test {

/// Tests of a stream "str" of each kind against the development server: a real process with real
/// rings.
class RealServerTest : public ::testing::TestWithParam<StreamKind> {
protected:
    /// A new server, and a stream that is created, checked and started.
    void begin() {
        server.reset();
        server.emplace(std::vector<std::string>{"--output", "null", "--input", "tone:440"});
        stream = kind.create();
        ASSERT_EQ(stream->initCheck(), AUDIO_NO_ERROR) << log.dump() << server->output();
        ASSERT_EQ(stream->start(), AUDIO_NO_ERROR) << log.dump() << server->output();
    }
    int moveStep() { return stream->move(data.data(), 512, true); }
    [[nodiscard]] bool leavesNothing() {
        stream.reset();
        server.reset();
        return leavesNothingButNames(before);
    }

    const ProcessState before = ProcessState::now();
    const StreamKind& kind = GetParam();
    LogCapture log;
    std::vector<unsigned char> data = std::vector<unsigned char>(4096, 1);
    std::optional<RealServer> server;
    std::unique_ptr<AnyStream> stream;
};

}  // namespace cabinaudio::test
