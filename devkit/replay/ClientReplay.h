// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/replay/Conversation.h"
#include "devkit/replay/Options.h"
#include "devkit/replay/Result.h"

namespace cabinaudio::replay {

/// Plays the part of the recorded application against the server that listens, and compares the
/// server's answers with the recorded ones.
/// @throws Error  no server listens, or the user interrupts
[[nodiscard]] Result replayAsClient(const Conversation& conversation, const Options& options);

}  // namespace cabinaudio::replay
