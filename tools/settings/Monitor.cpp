// SPDX-License-Identifier: Apache-2.0
#include "tools/settings/Monitor.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include "tools/Terminal.h"
#include "tools/server/Subscription.h"
#include "tools/settings/FedValue.h"
#include "tools/settings/Line.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <map>
#include <memory>
#include <utility>

namespace cabinaudio::tool {

namespace {

using Wall = std::chrono::system_clock;

std::string text(Wall::time_point time, const char* format) {
    const std::time_t seconds = Wall::to_time_t(time);
    struct tm local = {};
    localtime_r(&seconds, &local);
    char buffer[64];
    const std::size_t length = std::strftime(buffer, sizeof buffer, format, &local);
    const auto ms =
        std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count() %
        1000;
    char fraction[8];
    std::snprintf(fraction, sizeof fraction, ".%03d", static_cast<int>(ms));
    return std::string(buffer, length) + fraction;
}

/// A time in the two forms that are printed.
struct Stamp {
    std::string clock;  // "19:01:02.345"
    std::string full;   // "2026-11-22T19:01:02.345"
};

Stamp presentTime() {
    const Wall::time_point now = Wall::now();
    return {text(now, "%H:%M:%S"), text(now, "%Y-%m-%dT%H:%M:%S")};
}

/// @param time  of a notification, with its offset to UTC
Stamp stampOf(const std::string& time) {
    constexpr std::size_t DATE = sizeof "2026-11-22T" - 1;
    constexpr std::size_t ALL = sizeof "2026-11-22T19:01:02.345" - 1;
    return {time.substr(std::min(DATE, time.size()), ALL - DATE), time.substr(0, ALL)};
}

/// Whether the pattern can match the settings of streams that do not play yet.
bool isOfStreams(const std::string& pattern) {
    const std::string begin = pattern.substr(0, pattern.find_first_of("*?["));
    const std::vector<Setting>& all = settings();
    return isPattern(pattern) && std::any_of(all.begin(), all.end(), [&](const Setting& setting) {
               const std::string fixed = setting.name.substr(0, setting.name.find('<'));
               const std::size_t common = std::min(fixed.size(), begin.size());
               return setting.name.find("<track>") != std::string::npos &&
                      fixed.compare(0, common, begin, 0, common) == 0;
           });
}

/// Prints changes. The development server notifies each one, with all values that a client can set;
/// other settings, and those of other servers, are polled.
class Monitoring {
public:
    Monitoring(Session& session, const MonitorOptions& options)
        : mSession(session), mOptions(options) {}

    void watch() {
        try {
            (void)mSession.directory();  // fails if the server cannot be asked
            mTypes = mSession.streamTypes();
            mFeed = Subscription::open(mSession.interruption().event(), mOptions.timeout);
            look(presentTime(), Which::All);
            // To stderr: stdout carries only changes, for programs.
            complain("watching " + std::to_string(mSeen.size()) + " settings; Ctrl-C ends it");
            while (!isOver())
                waitAndLook();
        } catch (const Failure&) {
            if (!mSession.interruption().hasHappened()) throw;
        }
        if (mSession.wantsJson()) mSession.report("changes") = mChanges;
    }

private:
    enum class Which { FromServer, Polled, All };

    struct Seen {
        std::string line;  // as printed
        std::uint64_t look;
    };

    [[nodiscard]] bool isOver() const {
        return mSession.interruption().hasHappened() ||
               (mOptions.count && mChanges >= *mOptions.count);
    }

    /// Everything that was notified goes first: the server keeps no more than a bound of it.
    void waitAndLook() {
        if (!mFeed) {
            waitForAny({&mSession.interruption().event()}, mOptions.interval);
        } else if (auto change = mFeed->next(mOptions.interval)) {
            do
                look(stampOf(change->time), Which::FromServer);
            while (!isOver() && (change = mFeed->next(std::chrono::milliseconds(0))));
        }
        if (!isOver()) look(presentTime(), Which::Polled);
    }

    /// Streams come and go, and their settings with them.
    void look(const Stamp& time, Which which) {
        if (mFeed && which == Which::Polled && mPolled == 0) return;
        ++mLooks;
        mPolled = 0;
        for (const Named& named : selected()) {
            if (isOver() && mLooks > 1) return;
            if (named.setting->isMeter && !named.isByName) continue;
            look(named, time, which);
        }
        if (!isOver()) dropVanished(time);
    }

    void look(const Named& named, const Stamp& time, Which which) {
        if (mFeed && isFed(*named.setting)) {
            see(named, time,
                which == Which::Polled ? std::nullopt
                                       : fedValue(mFeed->document().at("settings"), named));
            return;
        }
        if (!named.setting->get) {
            if (named.isByName) throw Failure(onlySetText(named), ExitCode::Usage);
            return;
        }
        ++mPolled;
        std::optional<Value> value;
        if (which != Which::FromServer) {
            const Reading reading = mSession.get(named);
            if (reading.status != AUDIO_NO_ERROR) return;
            value = reading.value;
        }
        see(named, time, value);
    }

    /// @param value  empty: as before
    void see(const Named& named, const Stamp& time, const std::optional<Value>& value) {
        const auto known = mSeen.find(named.name);
        if (!value) {
            if (known != mSeen.end()) known->second.look = mLooks;
            return;
        }
        const std::string line = named.name + "=" + valueText(named.setting->type, *value);
        const bool isChanged = known == mSeen.end() || known->second.line != line;
        mSeen[named.name] = {line, mLooks};
        if (isChanged && mLooks > 1) print(time, line, jsonOf(named, *value));
    }

    void dropVanished(const Stamp& time) {
        for (auto seen = mSeen.begin(); seen != mSeen.end();) {
            if (seen->second.look == mLooks) {
                ++seen;
                continue;
            }
            print(time, seen->first + " is gone", {{"name", seen->first}, {"value", nullptr}});
            seen = mSeen.erase(seen);
        }
    }

    void print(const Stamp& time, const std::string& line, const Json& json) {
        ++mChanges;
        if (!mSession.wantsJson()) {
            say(time.clock + " " + line);
        } else {
            Json whole = {{"time", time.full}};
            whole.update(json);
            printJson(whole);
        }
        Session::endIfOutputIsLost();
    }

    /// The settings to watch, some of which may not exist at present.
    [[nodiscard]] std::vector<Named> selected() {
        const Directory directory =
            mFeed ? Directory(fedNames(mFeed->document(), mTypes)) : mSession.directory();
        if (mOptions.names.empty()) return directory.all();
        std::vector<std::string> names;
        for (const std::string& name : mOptions.names)
            if (!isOfStreams(name) || directory.matches(name)) names.push_back(name);
        if (names.empty()) return {};
        return directory.select(names);
    }

    Session& mSession;
    const MonitorOptions& mOptions;
    std::unique_ptr<Subscription> mFeed;  // null: everything is polled
    Texts mTypes;
    std::map<std::string, Seen> mSeen;
    std::uint64_t mLooks = 0;
    std::size_t mPolled = 0;  // settings that the last look found to be polled
    std::uint64_t mChanges = 0;
};

}  // namespace

ExitCode run(const MonitorOptions& options, const CommonOptions& common) {
    Session session(options, common);
    return session.run([&] { Monitoring(session, options).watch(); });
}

}  // namespace cabinaudio::tool
