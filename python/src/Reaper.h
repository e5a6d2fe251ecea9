// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

namespace cabinaudio::python {

/// Destroys a stream on another thread: on its own notifier thread it would wait for itself.
void destroyElsewhere(std::function<void()> destroy);

/// Waits for what destroyElsewhere() has begun. To be called without the interpreter lock, before
/// Python ends.
void waitForDestructions();

/// Called in the child of a fork, which has none of the threads.
void forgetDestructions();

}  // namespace cabinaudio::python
