// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace cabinaudio::test {

/// Takes the right to real-time scheduling from the calling thread, the threads that it starts and
/// the programs that they run. The board stand-in then starts the library's threads with ordinary
/// scheduling, as in a container.
void giveUpRealTime();

}  // namespace cabinaudio::test
