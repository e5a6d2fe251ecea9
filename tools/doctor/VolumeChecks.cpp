// SPDX-License-Identifier: Apache-2.0
//
// The settings that can be read from any server.
#include "tools/doctor/SoundChecks.h"

namespace cabinaudio::tool {

namespace {

bool startsWith(const std::string& text, const char* front) {
    return text.rfind(front, 0) == 0;
}

/// Muted paths, and all loudspeakers off.
bool isMute(const Json& setting) {
    const auto name = setting.value("name", "");
    if (startsWith(name, "mute.")) return setting.at("value") == true;
    return name == "speaker.output" && setting.value("text", "") == "none";
}

/// Volumes of loudspeakers make fade and balance, so some are silent with good reason.
bool isSoft(const Json& setting) {
    const auto name = setting.value("name", "");
    return startsWith(name, "volume.") && !startsWith(name, "volume.channel.") &&
           setting.value("unit", Json()) == "dB" && setting.at("value").is_number() &&
           setting.at("value").get<double>() <= NEAR_SILENCE_DB;
}

std::vector<const Json*> found(const ServerState& server, bool (*isWanted)(const Json&)) {
    std::vector<const Json*> all;
    for (const Json& setting : server.settings)
        if (isWanted(setting)) all.push_back(&setting);
    return all;
}

/// @param well  the finding when there is no such setting
Check checkSettings(const char* name, const ServerState& server, bool (*isWanted)(const Json&),
                    const char* well) {
    Check check{name, true, Json::array(), well};
    if (server.settings.empty()) {
        check.value = nullptr;
        check.detail = "unknown: the server tells no settings";
        return check;
    }
    std::vector<std::string> names;
    std::string cures;
    for (const Json* setting : found(server, isWanted)) {
        const auto settingName = setting->at("name").get<std::string>();
        check.value.push_back(settingName);
        names.push_back(settingName + "=" + setting->value("text", ""));
        cures += " " + audibleSetting(settingName);
    }
    if (names.empty()) return check;
    check.warning = true;
    check.detail = joined(names);
    check.cure = server.command("set") + cures;
    return check;
}

}  // namespace

std::string audibleSetting(const std::string& setting) {
    if (startsWith(setting, "mute.") || setting == "duck") return setting + "=off";
    if (setting == "mixer.navigation.mode") return setting + "=1";
    if (setting == "speaker.output") return setting + "=LF+RF+LS+RS+CF+L1";
    if (setting == "fade" || setting == "balance") return "fade=0 balance=0";
    return setting + "=0dB";
}

Check checkMutes(const ServerState& server) {
    return checkSettings("mutes", server, isMute, "no path is muted, and loudspeakers are on");
}

Check checkVolumes(const ServerState& server) {
    return checkSettings("volumes", server, isSoft, "no volume is at or near silence");
}

}  // namespace cabinaudio::tool
