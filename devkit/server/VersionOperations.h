// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/requests/Operation.h"

#include <span>

namespace cabinaudio::server {

std::span<const Operation> versionOperations();

}  // namespace cabinaudio::server
