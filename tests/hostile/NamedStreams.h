// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/AnyStream.h"
#include "tests/support/ProcessState.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace cabinaudio::test {

/// A kind of stream, whose streams have names of their own.
struct NamedKind {
    const char* name;
    bool writes;
    bool isPosix;         // the ring comes with the stream
    bool checksAtServer;  // initCheck() is a request
    bool isCoded;         // an uplink's reads give one frame, whatever they ask for
    std::unique_ptr<AnyStream> (*create)(const std::string& name);
};

/// Every kind, and the uplink with each codec.
[[nodiscard]] const std::vector<NamedKind>& namedKinds();

/// Calls `body(0)` to `body(count - 1)` on `threads` threads.
void inParallel(std::size_t count, unsigned threads, const std::function<void(std::size_t)>& body);

/// What a test of so many rounds does: less where a round takes long, and what
/// CABINAUDIO_TEST_SCALE says, in percent of the default.
[[nodiscard]] unsigned scaled(unsigned rounds);

/// Steps of which one is done where all of them would take long; fewer with a larger scale.
[[nodiscard]] std::size_t stride(std::size_t here);

}  // namespace cabinaudio::test
