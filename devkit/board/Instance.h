// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace cabinaudio::board {

/// The instance of this process, "" for the common one. With an invalid name in the environment
/// returns nullptr, sets errno to EINVAL, and prints the reason on stderr once per process.
const char* instanceOrRefuse() noexcept;

/// Called by the stand-in's constructor: the C library has set up the environment.
void noteEnvironment() noexcept;

}  // namespace cabinaudio::board
