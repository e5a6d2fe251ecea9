// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioStatus.h>
#include <cabinaudio/foundation/AudioTypes.h>

#include "tests/support/AnyStream.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace cabinaudio::test {

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
