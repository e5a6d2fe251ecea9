// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/Json.h"
#include "tools/StreamEnd.h"

namespace cabinaudio::tool {

/// Adds how a stream ended, to the report of a command that plays or records it.
/// @param done  the name of a successful end
void addEnding(Json& report, const Ending& ending, const char* done);

}  // namespace cabinaudio::tool
