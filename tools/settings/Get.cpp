// SPDX-License-Identifier: Apache-2.0
#include "tools/settings/Get.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include "tools/Terminal.h"
#include "tools/settings/Line.h"

#include <cstdio>

namespace cabinaudio::tool {

namespace {

class Getter {
public:
    Getter(Session& session, const GetOptions& options) : mSession(session), mOptions(options) {}

    void getAll() {
        if (mSession.wantsJson()) mSession.report("settings") = Json::array();
        for (const Named& named : mSession.directory().select(mOptions.names))
            get(named);
        if (!mFaults.empty()) throw Failure(mFaults);
        if (!mUnreadable.empty()) complain("this server does not tell" + mUnreadable);
    }

private:
    void get(const Named& named) {
        if (!named.setting->get) {
            if (named.isByName) note(mFaults, "; ", onlySetText(named));
            return;
        }
        const Reading reading = mSession.get(named, mOptions.inSteps);
        if (reading.status == AUDIO_NO_ERROR)
            print(named, reading.value);
        else if (named.isByName)
            note(mFaults, "; ", unreadableText(named, reading.status));
        else if (!hasNoPosition(named, reading.status))
            note(mUnreadable, ",", " " + named.name);
    }

    void print(const Named& named, const Value& value) {
        if (mSession.wantsJson())
            mSession.report("settings").push_back(jsonOf(named, value));
        else
            say(mOptions.valueOnly ? valueText(named.setting->type, value) : lineOf(named, value));
    }

    static void note(std::string& all, const char* separator, const std::string& what) {
        all += (all.empty() ? "" : separator) + what;
    }

    Session& mSession;
    const GetOptions& mOptions;
    std::string mFaults;  // printed at the end, after all values that could be read
    std::string mUnreadable;
};

}  // namespace

ExitCode run(const GetOptions& options, const CommonOptions& common) {
    Session session(options, common);
    return session.run([&] { Getter(session, options).getAll(); });
}

}  // namespace cabinaudio::tool
