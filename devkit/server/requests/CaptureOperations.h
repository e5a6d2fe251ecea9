// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/requests/Operation.h"

#include <span>

namespace cabinaudio::server {

/// Requests of capture streams. Each belongs to the one stream of the client that sends it.
std::span<const Operation> captureOperations();
std::span<const Operation> uplinkOperations();

}  // namespace cabinaudio::server
