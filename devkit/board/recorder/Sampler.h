// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace cabinaudio::recorder {

/// Starts the thread that samples the rings, unless it runs. It ends when there is no ring.
void startSampler() noexcept;

/// In the child of a fork, which has no such thread.
void forgetSampler() noexcept;

}  // namespace cabinaudio::recorder
