// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioTrack.h>

#include "tools/Event.h"

namespace cabinaudio::tool {

/// Turns a track's finish event, which comes on the notifier thread, into something to wait for.
class FinishListener : public audio::QVAudioTrackCallback {
public:
    void finish(bool) override { mFinished.set(); }

    [[nodiscard]] const Event& event() const { return mFinished; }

private:
    Event mFinished;
};

}  // namespace cabinaudio::tool
