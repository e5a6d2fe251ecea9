// SPDX-License-Identifier: Apache-2.0
#include "plugins/alsa/MixerWatch.h"

namespace cabinaudio::alsa {

namespace {

using namespace std::chrono_literals;
using plugin::Lock;

constexpr auto INTERVAL = 500ms;

}  // namespace

MixerWatch::MixerWatch(Mixer& mixer) : AudioThread("PluginCtl", 0, POLICY_OTHER), mMixer(mixer) {
    AudioThread::start();
}

MixerWatch::~MixerWatch() {
    {
        const Lock lock(mLock);
        mIsEnding = true;
    }
    mEnding.notifyAll();
    AudioThread::join();
}

/// The first look finds the values that later ones are compared with.
void MixerWatch::run() {
    for (;;) {
        mMixer.update();
        const Lock lock(mLock);
        if (!mIsEnding) mEnding.waitFor(mLock, INTERVAL);
        if (mIsEnding) return;
    }
}

}  // namespace cabinaudio::alsa
