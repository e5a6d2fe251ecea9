// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/ProcessState.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace cabinaudio::test {

/// A stream of any kind under a name of its own.
class NamedStream {
public:
    virtual ~NamedStream() = default;
    virtual int initCheck() = 0;
    virtual int start() = 0;
    virtual int stop() = 0;
    virtual int clear() = 0;
    /// Writes or reads.
    virtual int move(unsigned char* bytes, int count, bool isBlock) = 0;
    /// Bytes that a move takes at once, as far as the stream says.
    virtual int available() = 0;
    virtual int getTotalBufferSize() = 0;
    /// One request more, if the kind has one.
    virtual int ask() = 0;
};

struct NamedKind {
    const char* name;
    bool writes;
    bool isPosix;         // the ring comes with the stream
    bool checksAtServer;  // initCheck() is a request
    bool isCoded;         // an uplink's reads give one frame, whatever they ask for
    std::unique_ptr<NamedStream> (*create)(const std::string& name);
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
