// SPDX-License-Identifier: Apache-2.0
#include "tools/server/StreamTwin.h"

#include <cabinaudio/client/ClientSourceSetting.h>
#include <cabinaudio/foundation/AudioStatus.h>

#include "devkit/text/Printable.h"
#include "tools/Failure.h"
#include "tools/Json.h"
#include "tools/server/ControlLine.h"
#include "tools/settings/TrackRecords.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace cabinaudio::tool {

namespace {

/// The other tags' rings have their addresses in their names.
bool isRingNamedAsStream(AudioTagType tag) {
    return tag == AUDIO_TAG_ALTERNATIVE || (tag >= AUDIO_TAG_INPUT0 && tag != AUDIO_TAG_UPLINK);
}

/// @return nothing when the server has no control socket
std::optional<Json> developmentState(std::chrono::milliseconds bound) {
    try {
        Json state = Json::parse(askServer("state", bound), nullptr, false);
        if (state.is_object()) return state;
    } catch (const Failure&) {
    }
    return std::nullopt;
}

bool isTwin(const Json& stream, const std::string& name) {
    return stream.value("name", "") == name && !stream.contains("ring_address");
}

std::string describeTwin(const Json& stream) {
    const bool isPlayed = stream.contains("type");
    std::string text =
        std::string("a stream of this name ") + (isPlayed ? "plays" : "records") + " already";
    if (const auto pid = stream.find("process"); pid != stream.end() && pid->is_number())
        text += ": pid " + pid->dump();
    const auto program = stream.find("program");
    if (program != stream.end() && program->is_string())
        text += " (" + text::printable(program->get<std::string>()) + ")";
    return text;
}

bool isListed(const std::string& name) {
    ClientSourceSetting setting;
    std::vector<audio::audio_track_info_t> records;
    if (setting.getActiveTracksInfo(records) != AUDIO_NO_ERROR) return false;
    return std::any_of(records.begin(), records.end(),
                       [&](const auto& record) { return textOf(trackOf(record).name) == name; });
}

}  // namespace

std::string twinText(AudioTagType tag, const std::string& name, std::chrono::milliseconds bound) {
    if (!isRingNamedAsStream(tag)) return {};
    if (const std::optional<Json> state = developmentState(bound)) {
        for (const Json& stream : state->value("streams", Json::array()))
            if (isTwin(stream, name)) return describeTwin(stream);
        return {};
    }
    return isListed(name) ? "a stream of this name plays already" : "";
}

}  // namespace cabinaudio::tool
