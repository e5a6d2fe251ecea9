// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/LogCapture.h"

namespace cabinaudio::test {

/// Moves sound through a stream of each kind.
void playAndRecord(const LogCapture& log);

}  // namespace cabinaudio::test
