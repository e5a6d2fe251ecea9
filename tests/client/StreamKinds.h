// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioStatus.h>
#include <cabinaudio/foundation/AudioTypes.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace cabinaudio::test {

/// A stream of any kind, for what all of them have to stand.
class AnyStream {
public:
    virtual ~AnyStream() = default;
    virtual int initCheck() = 0;
    virtual int start() = 0;
    virtual int stop() = 0;
    virtual int getPerLoopSize() = 0;
    virtual int getTotalBufferSize() = 0;
    /// Writes or reads.
    virtual int move(unsigned char* bytes, int count, bool isBlock) = 0;
    /// One of the operations that never wait for data.
    virtual int operate(unsigned which, unsigned char* bytes) = 0;
};

/// A kind of stream, whose streams are called "str".
struct StreamKind {
    const char* name;
    bool writes;
    bool isPosix;           // the ring comes with the stream
    std::uint32_t event;    // announces the ring otherwise
    const char* announced;  // and this line, an expression, says that it was taken
    std::unique_ptr<AnyStream> (*create)(AudioFormatDesc format);
};

[[nodiscard]] const std::vector<StreamKind>& streamKinds();

}  // namespace cabinaudio::test
