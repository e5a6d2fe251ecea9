// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/control/Commands.h"
#include "devkit/server/time/TimeLine.h"

namespace cabinaudio::server {

/// Adds the commands "time ..." and "at MS COMMAND". Both objects outlive the commands' calls.
void addTimeCommands(Commands& commands, TimeLine& time);

}  // namespace cabinaudio::server
