// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/replay/Conversation.h"
#include "devkit/replay/Options.h"
#include "devkit/replay/Result.h"

namespace cabinaudio::replay {

/// Stands in for the recorded server: answers one application as recorded, and compares its
/// requests and its sound with the recorded ones.
/// @throws Error  a server listens, the application does not come, or the user interrupts
[[nodiscard]] Result replayAsServer(const Conversation& conversation, const Options& options);

}  // namespace cabinaudio::replay
