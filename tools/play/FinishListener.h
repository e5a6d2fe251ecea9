// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioTrack.h>

#include "tools/Event.h"

namespace cabinaudio::tool {

/// Turns a track's finish event, delivered on the notifier thread, into a waitable event.
class FinishListener : public audio::QVAudioTrackCallback {
public:
    void finish(bool) override { mFinished.set(); }

    [[nodiscard]] const Event& event() const { return mFinished; }

private:
    Event mFinished;
};

}  // namespace cabinaudio::tool
