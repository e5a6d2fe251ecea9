// SPDX-License-Identifier: Apache-2.0
//
// The way of a stream's sound to the loudspeakers, in one line.
#include "tools/doctor/SoundChecks.h"

#include <algorithm>

namespace cabinaudio::tool {

namespace {

bool isSilent(const Json& gain) {
    return gain.value("db", Json()).is_null();
}

double decibelsOf(const Json& gain) {
    return gain.at("db").get<double>();
}

bool isOwnVolume(const std::string& stage) {
    return stage == "track" || stage == "type";
}

/// "type -12 dB", "mixer off", "ducking -20 dB by prompt"
std::string partText(const Json& gain) {
    const auto stage = gain.value("stage", "");
    const std::string name = stage == "track"          ? "stream"
                             : stage == "fade_balance" ? "fade and balance"
                                                       : stage;
    const Json by = gain.value("by", Json());
    if (gain.value("muted", false)) {
        if (stage == "mute") return by.is_string() ? by.get<std::string>() + " muted" : "muted";
        return name + (stage == "mixer" ? " off" : " muted");
    }
    const std::string level = isSilent(gain) ? "silent" : decibelText(decibelsOf(gain));
    return name + " " + level + (by.is_string() ? " by " + by.get<std::string>() : "");
}

/// Stages without an effect are left out, but for the stream's own volumes.
bool isShown(const Json& gain) {
    return isOwnVolume(gain.value("stage", "")) || isSilent(gain) || decibelsOf(gain) != 0.0;
}

struct Way {
    const ServerState& server;
    std::string text = {};
    std::vector<const Json*> silent = {};
    const Json* softest = nullptr;
    double sum = 0;  // dB, without the silent ones
};

Way wayOf(const Json& gains, const ServerState& server) {
    Way way{server};
    for (const Json& gain : gains) {
        if (isShown(gain)) way.text += (way.text.empty() ? "" : ", ") + partText(gain);
        if (isSilent(gain)) {
            way.silent.push_back(&gain);
            continue;
        }
        way.sum += decibelsOf(gain);
        if (way.softest == nullptr || decibelsOf(gain) < decibelsOf(*way.softest))
            way.softest = &gain;
    }
    return way;
}

std::string cureOf(const ServerState& server, const std::vector<const Json*>& gains) {
    std::string settings;
    for (const Json* gain : gains) {
        const Json setting = gain->value("setting", Json());
        if (setting.is_string()) settings += " " + audibleSetting(setting.get<std::string>());
    }
    return settings.empty() ? "" : server.command("set") + settings;
}

void fail(Check& check, const char* value, const std::string& why, const std::string& cure) {
    check.ok = false;
    check.value = value;
    check.detail += why;
    check.cure = cure;
}

void warn(Check& check, const char* value, const std::string& why, const std::string& cure) {
    check.warning = true;
    check.value = value;
    check.detail += why;
    check.cure = cure;
}

/// Looks at the stages before the mix's end.
void judgeSound(const Json& stream, const Way& way, Check& check) {
    const Json peak = stream.value("peak_db", Json());
    const Json heard = stream.value("heard_db", Json());
    const bool hasQueue = stream.value("queued_frames", 0) > 0;
    if (peak.is_null() && !hasQueue) {
        check.value = "nothing_written";
        check.detail += ": nothing is written, so nothing is heard";
    } else if (peak.is_null()) {
        warn(check, "silence_written", ": the program writes silence",
             "look at the program's own volume and mute");
    } else if (heard.is_null()) {
        fail(check, "not_heard", ": its channels lead to silent loudspeakers: not heard",
             way.server.command("set") + " fade=0 balance=0 speaker.output=LF+RF+LS+RS+CF+L1");
    } else if (way.sum <= NEAR_SILENCE_DB) {
        warn(check, "hardly_heard", ": hardly heard, " + decibelText(heard.get<double>()),
             cureOf(way.server, {way.softest}));
    } else {
        check.value = "heard";
        check.detail += ": heard with " + decibelText(heard.get<double>());
    }
}

void judge(const Json& stream, const Way& way, Check& check) {
    const auto name = stream.value("name", "");
    if (!way.silent.empty())
        fail(check, "not_heard", ": not heard", cureOf(way.server, way.silent));
    else if (stream.value("source", "") == "withdrawn")
        fail(check, "no_source", ", waits for its source: not heard",
             way.server.command("server source activate") + " " + shellWord(name));
    else if (way.server.state.value(Json::json_pointer("/output/state"), Json()) == "lost")
        fail(check, "output_lost", ", output lost: not heard", "see output");
    else
        judgeSound(stream, way, check);
}

Check checkStream(const Json& stream, const ServerState& server) {
    Check check{"stream", true};
    check.more = {{"stream", stream.value("name", "")},
                  {"peak_db", stream.value("peak_db", Json())},
                  {"heard_db", stream.value("heard_db", Json())},
                  {"lost_at", nullptr}};
    if (!stream.contains("gains")) {
        check.detail = stream.value("name", "") + ": this server does not tell its gains";
        return check;
    }
    const Way way = wayOf(stream.at("gains"), server);
    if (!way.silent.empty()) check.more["lost_at"] = way.silent.front()->at("stage");
    check.detail = stream.value("name", "") + ": " + way.text;
    judge(stream, way, check);
    return check;
}

bool isRunningPlayback(const Json& stream) {
    return stream.contains("underruns") && stream.value("state", "") == "active";
}

}  // namespace

std::vector<Check> checkStreams(const ServerState& server) {
    if (server.state.is_null()) return {withoutState("streams", server)};
    std::vector<Check> checks(1);
    for (const Json& stream : server.state.value("streams", Json::array()))
        if (isRunningPlayback(stream)) checks.push_back(checkStream(stream, server));
    const std::size_t count = checks.size() - 1;
    checks.front() = {"streams", true, count,
                      count == 0   ? "no stream is running"
                      : count == 1 ? "one is running"
                                   : std::to_string(count) + " are running"};
    return checks;
}

}  // namespace cabinaudio::tool
