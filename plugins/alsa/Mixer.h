// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/client/ClientVolumeSetting.h>

#include "plugins/alsa/Controls.h"
#include "plugins/common/Mutex.h"
#include "plugins/common/ReadyEvent.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

namespace cabinaudio::alsa {

/// The controls of a server, and their changes. Any thread may call.
///
/// A mixer outlives its server: the next request after a loss looks for a new one.
class Mixer {
public:
    Mixer();
    Mixer(const Mixer&) = delete;
    Mixer& operator=(const Mixer&) = delete;

    /// Asks the server for its controls; before anything else. @return 0 or a negative error number
    int open() CABINAUDIO_EXCLUDES(mLock);

    /// Unchanged after open().
    [[nodiscard]] const std::vector<Control>& controls() const { return mControls; }

    /// @return 0 or a negative error number
    int read(std::size_t index, Values& values) CABINAUDIO_EXCLUDES(mLock);
    /// @return 1 when the values changed, 0 when they were the same, or a negative error number
    int write(std::size_t index, const Values& values) CABINAUDIO_EXCLUDES(mLock);

    /// Reads all controls and notes which have changed: the server reports no changes of settings.
    void update() CABINAUDIO_EXCLUDES(mLock);
    /// The next control that has changed.
    std::optional<std::size_t> takeChange() CABINAUDIO_EXCLUDES(mLock);
    /// Readable while there are changes.
    [[nodiscard]] int descriptor() const { return mDescriptor; }

private:
    struct Entry {
        bool isKnown = false;
        bool isChanged = false;
        Values values = {};
    };

    template <typename Function>
    int request(const Function& function) CABINAUDIO_REQUIRES(mLock);
    int readLocked(std::size_t index, Values& values) CABINAUDIO_REQUIRES(mLock);
    void note(std::size_t index, const Values& values, bool mayBeNews) CABINAUDIO_REQUIRES(mLock);

    // Set by open().
    std::vector<Control> mControls;

    plugin::Mutex mLock;
    std::unique_ptr<ClientVolumeSetting> mSetting CABINAUDIO_GUARDED_BY(mLock);
    std::vector<Entry> mEntries CABINAUDIO_GUARDED_BY(mLock);
    plugin::ReadyEvent mChanges CABINAUDIO_GUARDED_BY(mLock);
    const int mDescriptor;
};

}  // namespace cabinaudio::alsa
