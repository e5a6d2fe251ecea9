// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/settings/AppSettings.h"
#include "devkit/server/settings/MixerSettings.h"
#include "devkit/server/settings/SourceSettings.h"
#include "devkit/server/settings/VolumeSettings.h"

#include <functional>
#include <utility>
#include <vector>

namespace cabinaudio::server {

/// All settings of clients. Operations of settings connections change it, the mix reads it. One
/// thread.
struct SettingsData {
    VolumeSettings volume;
    SourceSettings source;
    AppSettings app;
    MixerSettings mixer;
    Effects captureEffects;
};

/// The settings and the watchers of their changes.
class Settings {
public:
    [[nodiscard]] const SettingsData& operator*() const { return mData; }
    [[nodiscard]] const SettingsData* operator->() const { return &mData; }

    /// Changes a setting and notifies the watchers.
    template <typename Change>
    void change(Change change) {
        change(mData);
        for (const auto& watcher : mWatchers)
            watcher();
    }

    void watch(std::function<void()> watcher) { mWatchers.push_back(std::move(watcher)); }

private:
    SettingsData mData;
    std::vector<std::function<void()>> mWatchers;
};

}  // namespace cabinaudio::server
