// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/board/run/Options.h"

namespace cabinaudio::run {

/// Replaces this process by the program. Never returns.
/// @throws Refusal
[[noreturn]] void launch(const Options& options);

/// Removes the instance's leftovers.
void clean(const Options& options);

}  // namespace cabinaudio::run
