// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/server/Subscription.h"
#include "tools/settings/Session.h"
#include "tools/view/Snapshot.h"

#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace cabinaudio::tool::view {

/// The values of all settings but meters, and how the page changes them. The development server
/// notifies changes; the settings of other servers are read in turn, those of the volume more
/// often. Used on one thread; every call can throw a Failure when the server is gone.
class SettingsModel {
public:
    SettingsModel(Session& session, std::chrono::milliseconds timeout)
        : mSession(session), mTimeout(timeout) {}

    /// Connects, and reads all values.
    void connect();
    /// Whether the server notifies changes.
    [[nodiscard]] bool isFed() const { return mFeed != nullptr; }
    /// To wait for; -1 when the settings are read in turn.
    [[nodiscard]] int descriptor() const { return mFeed ? mFeed->descriptor() : -1; }

    /// Takes the changes that have arrived. Does not wait.
    void takeChanges();
    /// Reads the settings that are due, where none is notified. Call every READ_PAUSE.
    void readSome();
    static constexpr std::chrono::milliseconds READ_PAUSE{150};

    // The JSON type asserts in its move.
    // NOLINTNEXTLINE(bugprone-exception-escape)
    struct Result {
        Json value;               // as read back; null if it cannot be read
        Json partner;             // the same of the related setting, if it was set
        std::int32_t status = 0;  // of the server
        std::string error = {};   // empty: the setting was set
        bool isInvalid = false;   // the request was wrong; the server was not asked
    };
    [[nodiscard]] Result set(const std::string& name, const Json& value, const Json& partner);

    /// A new object after each change.
    [[nodiscard]] const std::shared_ptr<const ShownSettings>& shown() const { return mShown; }

private:
    [[nodiscard]] Directory directory();
    void find();
    [[nodiscard]] Json valueOf(const Named& named);
    [[nodiscard]] Json readBack(const Named& named);
    void put(const std::string& name, const Json& value);
    void dropVanished();
    [[nodiscard]] bool isFedValue(const Named& named) const;
    void setAsAsked(const Named& named, const Json& value, const Json& partner, Result& result);

    Session& mSession;
    const std::chrono::milliseconds mTimeout;
    std::unique_ptr<Subscription> mFeed;
    Texts mTypes;
    Json mStreams;              // of the last notification
    std::vector<Named> mNames;  // all but meters
    std::size_t mNext = 0;      // of mNames: the next one whose turn it is
    unsigned mReads = 0;
    ShownSettings mSettings;
    std::shared_ptr<const ShownSettings> mShown;
};

}  // namespace cabinaudio::tool::view
