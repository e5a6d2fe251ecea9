// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include <chrono>
#include <string>

namespace cabinaudio::plugin {

/// Whether this process can map rings in physical memory: it runs on a board, or has the board's
/// stand-in. Elsewhere /dev/mem, if it may be opened at all, has something else at the server's
/// addresses, so a stream with such a ring must not even be created.
[[nodiscard]] bool hasPhysicalMemory();

/// Whether a stream of this tag has its ring in physical memory.
[[nodiscard]] bool needsPhysicalMemory(AudioTagType tag);

/// Whether this process is the development server, which must not be its own client.
[[nodiscard]] bool isServer();

/// Whether a server answers. Asks again until one does or the time is over.
[[nodiscard]] bool serverAnswers(std::chrono::milliseconds patience);

/// Makes the process use a server instance. The board's stand-in takes the instance from the
/// environment, for the whole process.
/// @return 0, -ENOTSUP without the stand-in, -EINVAL for a name that is none, or -EBUSY when the
///         process uses another instance already
[[nodiscard]] int useInstance(const std::string& instance);

}  // namespace cabinaudio::plugin
