// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioThread.h>

#include "plugins/alsa/Mixer.h"
#include "plugins/common/Mutex.h"

namespace cabinaudio::alsa {

/// Looks for changes of a mixer twice a second, on a thread of its own.
class MixerWatch : private AudioThread {
public:
    /// @param mixer  outlives it
    explicit MixerWatch(Mixer& mixer);
    /// Blocks while a request is in progress.
    ~MixerWatch() override;

private:
    void run() override;

    Mixer& mMixer;
    plugin::Mutex mLock;
    plugin::Condition mEnding;
    bool mIsEnding CABINAUDIO_GUARDED_BY(mLock) = false;
};

}  // namespace cabinaudio::alsa
