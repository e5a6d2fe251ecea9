// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/view/LiveFeed.h"
#include "tools/view/SettingsModel.h"

#include <cstdint>
#include <optional>
#include <string>

namespace cabinaudio::tool::view {

/// All that is known about the server: settings, and of the development server its levels and
/// streams. Used on one thread.
class Model {
public:
    Model(Session& session, std::chrono::milliseconds timeout)
        : mTimeout(timeout), mSession(session), mSettings(session, timeout) {}

    /// @throws Failure when the server cannot be asked
    void connect();

    [[nodiscard]] SettingsModel& settings() { return mSettings; }
    /// Null without a development server of this version.
    [[nodiscard]] LiveFeed* live() { return mLive ? &*mLive : nullptr; }
    [[nodiscard]] Snapshot snapshot() const;
    /// The same, of a server that has gone.
    [[nodiscard]] Snapshot goneSnapshot(const std::string& why) const;

private:
    const std::chrono::milliseconds mTimeout;
    Session& mSession;
    SettingsModel mSettings;
    std::optional<LiveFeed> mLive;
    Json mCabin;
    std::uint64_t mConnections = 0;
};

}  // namespace cabinaudio::tool::view
