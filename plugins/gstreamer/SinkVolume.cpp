// SPDX-License-Identifier: Apache-2.0
#include "plugins/gstreamer/SinkVolume.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include "plugins/gstreamer/Log.h"

#include <algorithm>
#include <cmath>

namespace cabinaudio::gstreamer {

namespace {

using plugin::Lock;

// The server's range; the lowest gain is silence.
constexpr float LOWEST_DB = -103.5F;
constexpr float HIGHEST_DB = 24;

float decibels(double factor) {
    if (factor <= 0) return LOWEST_DB;
    return std::clamp(static_cast<float>(20 * std::log10(factor)), LOWEST_DB, HIGHEST_DB);
}

}  // namespace

void SinkVolume::attach(const std::string& tag, const std::string& name) {
    const Lock lock(mLock);
    mTag = tag;
    mName = name;
    if (mIsSet) apply();
}

void SinkVolume::detach() {
    const Lock lock(mLock);
    mName.clear();
    mSetting.reset();
}

void SinkVolume::setVolume(double volume) {
    const Lock lock(mLock);
    mVolume = volume;
    apply();
}

void SinkVolume::setMute(bool isMute) {
    const Lock lock(mLock);
    mIsMute = isMute;
    apply();
}

double SinkVolume::volume() {
    const Lock lock(mLock);
    return mVolume;
}

bool SinkVolume::isMute() {
    const Lock lock(mLock);
    return mIsMute;
}

void SinkVolume::apply() {
    mIsSet = true;
    if (mName.empty()) return;
    if (mSetting == nullptr) mSetting = std::make_unique<ClientVolumeSetting>();
    const float gain = mIsMute ? LOWEST_DB : decibels(mVolume);
    const int status = mSetting->setTrackVolume(mTag.c_str(), mName.c_str(), gain);
    if (status == AUDIO_NO_ERROR) {
        GST_DEBUG("stream %s: %.1f dB", mName.c_str(), static_cast<double>(gain));
        return;
    }
    GST_WARNING("stream %s: the server refuses %.1f dB (%d)", mName.c_str(),
                static_cast<double>(gain), status);
    mSetting.reset();  // perhaps its server has gone
}

}  // namespace cabinaudio::gstreamer
