// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace cabinaudio::test {

/// How many rounds a test takes that has this part of all of them. There are 1000 in all, fewer in
/// an emulator, unless CABINAUDIO_RACE_ROUNDS says how many.
[[nodiscard]] int rounds(int percent);

}  // namespace cabinaudio::test
