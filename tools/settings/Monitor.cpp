// SPDX-License-Identifier: Apache-2.0
#include "tools/settings/Monitor.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include "tools/Terminal.h"
#include "tools/settings/Line.h"

#include <cstdio>
#include <ctime>
#include <map>

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

class Monitoring {
public:
    Monitoring(Session& session, const MonitorOptions& options)
        : mSession(session), mOptions(options) {}

    void watch() {
        try {
            const std::size_t count = poll();
            // To stderr: stdout carries only changes, for programs.
            complain("watching " + std::to_string(count) + " settings; Ctrl-C ends it");
            while (!isOver()) {
                waitForAny({&mSession.interruption().event()}, mOptions.interval);
                if (!isOver()) poll();
            }
        } catch (const Failure&) {
            if (!mSession.interruption().hasHappened()) throw;
        }
        if (mSession.wantsJson()) mSession.report("changes") = mChanges;
    }

private:
    struct Seen {
        std::string line;  // as printed
        std::uint64_t poll;
    };

    [[nodiscard]] bool isOver() const {
        return mSession.interruption().hasHappened() ||
               (mOptions.count && mChanges >= *mOptions.count);
    }

    /// Streams come and go, and their settings with them.
    std::size_t poll() {
        ++mPolls;
        for (const Named& named : mSession.directory().select(mOptions.names)) {
            if (isOver() && mPolls > 1) break;
            if (named.setting->get && (named.isByName || !named.setting->isMeter)) poll(named);
            if (!named.setting->get && named.isByName)
                throw Failure(onlySetText(named), ExitCode::Usage);
        }
        if (!isOver()) dropVanished();
        return mSeen.size();
    }

    void poll(const Named& named) {
        const Reading reading = mSession.get(named);
        if (reading.status != AUDIO_NO_ERROR) return;
        const std::string line = named.name + "=" + valueText(named.setting->type, reading.value);
        Seen& seen = mSeen[named.name];
        const bool isChanged = seen.line != line;
        seen = {line, mPolls};
        if (!isChanged || mPolls == 1) return;
        print(line, jsonOf(named, reading.value));
    }

    void dropVanished() {
        for (auto seen = mSeen.begin(); seen != mSeen.end();) {
            if (seen->second.poll == mPolls) {
                ++seen;
                continue;
            }
            print(seen->first + " is gone", {{"name", seen->first}, {"value", nullptr}});
            seen = mSeen.erase(seen);
        }
    }

    void print(const std::string& line, const Json& json) {
        ++mChanges;
        const Wall::time_point now = Wall::now();
        if (!mSession.wantsJson()) {
            say(text(now, "%H:%M:%S") + " " + line);
            return;
        }
        Json whole = {{"time", text(now, "%Y-%m-%dT%H:%M:%S")}};
        whole.update(json);
        printJson(whole);
    }

    Session& mSession;
    const MonitorOptions& mOptions;
    std::map<std::string, Seen> mSeen;
    std::uint64_t mPolls = 0;
    std::uint64_t mChanges = 0;
};

}  // namespace

ExitCode run(const MonitorOptions& options, const CommonOptions& common) {
    Session session(options, common);
    return session.run([&] { Monitoring(session, options).watch(); });
}

}  // namespace cabinaudio::tool
