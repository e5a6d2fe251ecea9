// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace cabinaudio::server {

inline constexpr int EXIT_DONE = 0;
inline constexpr int EXIT_FAILED = 1;
inline constexpr int EXIT_USAGE = 2;
/// The server has ended well, but what was heard depends on more than the frames.
inline constexpr int EXIT_TIME = 5;

}  // namespace cabinaudio::server
