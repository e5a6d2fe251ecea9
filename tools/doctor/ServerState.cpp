// SPDX-License-Identifier: Apache-2.0
#include "tools/doctor/ServerState.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include "tools/ChildProcess.h"
#include "tools/Failure.h"
#include "tools/server/ControlLine.h"
#include "tools/settings/Line.h"
#include "tools/settings/Session.h"

#include <sstream>
#include <utility>

namespace cabinaudio::tool {

namespace {

/// Writes one line of JSON for each setting that the server tells.
void writeSettings(int answers, std::chrono::milliseconds timeout) {
    silenceStandardError();  // the reasons of failures are for the commands that settings belong to
    SettingsOptions options;
    options.timeout = timeout;
    const CommonOptions common;
    Session session(options, common);
    (void)session.run([&] {
        for (const Named& named : session.directory().all()) {
            if (!named.setting->get || named.setting->isMeter) continue;
            const Reading reading = session.get(named);
            if (reading.status != AUDIO_NO_ERROR) continue;
            const std::string line =
                jsonOf(named, reading.value).dump(-1, ' ', false, Json::error_handler_t::replace) +
                "\n";
            answer(answers, line.data(), line.size());
        }
    });
}

}  // namespace

ServerState readState(std::chrono::milliseconds bound) {
    ServerState server;
    try {
        const std::string answer = askServer("state", bound);
        server.state = Json::parse(answer, nullptr, false);
        if (server.state.is_object()) return server;
        server.state = nullptr;
        server.why = answer;
        server.isExpected = true;
    } catch (const Failure& failure) {
        server.why = failure.what();
        server.isExpected = failure.code() == ExitCode::TimedOut;
    }
    return server;
}

Json readSettings(std::chrono::milliseconds bound) {
    const ChildResult child =
        runInChild(bound, [bound](int answers) { writeSettings(answers, bound); });
    Json settings = Json::array();
    std::istringstream lines(child.output);
    for (std::string line; std::getline(lines, line);) {
        Json setting = Json::parse(line, nullptr, false);
        if (setting.is_object()) settings.push_back(std::move(setting));
    }
    return settings;
}

Check withoutState(const char* name, const ServerState& server) {
    Check check{name, true};
    check.warning = server.isExpected;
    check.detail = "unknown: " + server.why;
    if (check.warning) check.cure = "look at 'cabinaudio server state' and at the server's log";
    return check;
}

}  // namespace cabinaudio::tool
