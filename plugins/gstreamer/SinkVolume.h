// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/client/ClientVolumeSetting.h>

#include "plugins/common/Mutex.h"

#include <memory>
#include <string>

namespace cabinaudio::gstreamer {

/// Volume of a stream, which the server applies. A volume that the program has not set is left as
/// it is. Any thread; waits for the server's reply, as the link policy allows.
class SinkVolume {
public:
    /// The stream exists from now on.
    void attach(const std::string& tag, const std::string& name) CABINAUDIO_EXCLUDES(mLock);
    void detach() CABINAUDIO_EXCLUDES(mLock);

    /// @param volume  factor of the amplitude
    void setVolume(double volume) CABINAUDIO_EXCLUDES(mLock);
    void setMute(bool isMute) CABINAUDIO_EXCLUDES(mLock);
    [[nodiscard]] double volume() CABINAUDIO_EXCLUDES(mLock);
    [[nodiscard]] bool isMute() CABINAUDIO_EXCLUDES(mLock);

private:
    void apply() CABINAUDIO_REQUIRES(mLock);

    plugin::Mutex mLock;
    double mVolume CABINAUDIO_GUARDED_BY(mLock) = 1;
    bool mIsMute CABINAUDIO_GUARDED_BY(mLock) = false;
    bool mIsSet CABINAUDIO_GUARDED_BY(mLock) = false;
    std::string mTag CABINAUDIO_GUARDED_BY(mLock);
    std::string mName CABINAUDIO_GUARDED_BY(mLock);
    std::unique_ptr<ClientVolumeSetting> mSetting CABINAUDIO_GUARDED_BY(mLock);
};

}  // namespace cabinaudio::gstreamer
