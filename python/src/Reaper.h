// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioTrack.h>

#include <memory>

namespace cabinaudio::python {

/// Destroys a stream on another thread: on its own notifier thread it would wait for itself.
void destroyElsewhere(std::unique_ptr<audio::QVAudioTrack> stream);

/// Waits for what destroyElsewhere() has begun. To be called without the interpreter lock, before
/// Python ends.
void waitForDestructions();

}  // namespace cabinaudio::python
