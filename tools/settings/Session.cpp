// SPDX-License-Identifier: Apache-2.0
#include "tools/settings/Session.h"

#include <cabinaudio/client/ClientVersionSetting.h>
#include <cabinaudio/foundation/AudioStatus.h>

#include "devkit/text/Output.h"
#include "tools/Duration.h"
#include "tools/ServerQuery.h"
#include "tools/ServerSocket.h"
#include "tools/Terminal.h"
#include "tools/settings/TrackRecords.h"

#include <unistd.h>

#include <cstdio>

namespace cabinaudio::tool {

Session::Session(const SettingsOptions& options, const CommonOptions& common)
    : mOptions(options),
      mCommon(common),
      mWatchdog(mInterruption, [this](const std::string& what) { endOverdue(what); }) {}

ExitCode Session::run(const std::function<void()>& command) {
    try {
        command();
    } catch (const Failure& failure) {
        finish(failure.code(), failure.what());
        return failure.code();
    }
    finish(ExitCode::Done, "");
    return ExitCode::Done;
}

void Session::finish(ExitCode code, std::string why) {
    if (code != ExitCode::Done) why += mFailureNote;
    if (mCommon.json) {
        mReport["ended"] = endName(code);
        addEnd(mReport, code, why);
        printJson(mReport);
    }
    if (code != ExitCode::Done) complain(why);
}

/// The server does not answer, or has gone away.
Failure Session::overdue(const std::string& what) const {
    if (mInterruption.hasHappened()) return Failure("interrupted by " + mInterruption.signalName());
    if (!serverListens())
        return Failure("the server went away without an answer about " + what, ExitCode::NoServer);
    return Failure("timed out after " + secondsText(mOptions.timeout) +
                       " waiting for the server's answer about " + what,
                   ExitCode::TimedOut);
}

/// The requesting thread is stuck: in several requests, or after an interruption.
void Session::endOverdue(const std::string& what) {
    const Failure failure = overdue(what);
    finish(failure.code(), failure.what());
    std::fflush(nullptr);
    _exit(static_cast<int>(failure.code()));
}

void Session::endIfInterrupted() const {
    if (mInterruption.hasHappened()) throw Failure("interrupted by " + mInterruption.signalName());
}

void Session::endIfOutputIsLost() {
    if (!text::outputIsLost()) return;
    throw Failure(newOutputFault());
}

void Session::requireServer() const {
    if (!serverListens()) throw Failure(noServerText(), ExitCode::NoServer);
}

void Session::check(std::int32_t status) const {
    if (status == AUDIO_NOT_CONNECTED)
        throw Failure("the server did not register this client; see 'cabinaudio doctor'");
    if (status != UNANSWERED) return;
    if (!serverListens()) throw Failure("the server went away", ExitCode::NoServer);
    throw Failure("the request did not go through; see -v or 'cabinaudio doctor'");
}

Directory Session::directory() {
    requireServer();
    LiveNames live;
    // A server without these lists has no such names; that is not an error.
    check(
        ask("the stream types", [&] { return mClients->volume().getStreamTypeList(live.types); }));
    std::vector<audio::audio_track_info_t> records;
    check(ask("the streams", [&] { return mClients->source().getActiveTracksInfo(records); }));
    for (const auto& record : records) {
        const wire::TrackInfo track = trackOf(record);
        const std::string name = textOf(track.name);
        if (!name.empty()) live.tracks.emplace_back(textOf(track.tag), name);
    }
    return Directory(live);
}

Texts Session::streamTypes() {
    const std::optional<Named> types = Directory(std::nullopt).find("types");
    const Reading reading = get(*types);
    return reading.status == AUDIO_NO_ERROR ? std::get<Texts>(reading.value) : Texts();
}

std::string Session::serverVersion() {
    VersionTriple first = {};
    VersionTriple second = {};
    std::int32_t third = 0;
    const std::int32_t status = ask("its version", [&] {
        ClientVersionSetting setting;
        return setting.getServerVersions(first.data(), second.data(), &third);
    });
    check(status);
    if (status != AUDIO_NO_ERROR) return "";
    return dotted(first) + ", " + dotted(second);
}

Directory Session::directoryOrFixed() {
    return serverListens() ? directory() : Directory(std::nullopt);
}

Reading Session::get(const Named& named, bool inSteps) {
    const Setting::Get& get =
        inSteps && named.setting->getSteps ? named.setting->getSteps : named.setting->get;
    Reading reading = ask(named.name.c_str(), [&] { return get(*mClients, named.names); });
    check(reading.status);
    return reading;
}

std::int32_t Session::set(const Named& named, const Value& value) {
    const std::int32_t status =
        ask(named.name.c_str(), [&] { return named.setting->set(*mClients, named.names, value); });
    check(status);
    return status;
}

std::int32_t Session::set(const Named& named, const Value& value, const Value& partner) {
    const std::int32_t status =
        ask(named.name.c_str(), [&] { return named.setting->setBoth(*mClients, value, partner); });
    check(status);
    return status;
}

}  // namespace cabinaudio::tool
