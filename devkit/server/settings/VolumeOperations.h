// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/requests/Operation.h"

#include <span>

namespace cabinaudio::server {

/// Requests of volume connections.
std::span<const Operation> volumeOperations();

}  // namespace cabinaudio::server
