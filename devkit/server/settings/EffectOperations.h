// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/Operation.h"

#include <span>

namespace cabinaudio::server {

/// Requests about effects: of playback streams on application-setting connections, of capture
/// streams on record-control connections.
std::span<const Operation> playbackEffectOperations();
std::span<const Operation> captureEffectOperations();

}  // namespace cabinaudio::server
