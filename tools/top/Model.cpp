// SPDX-License-Identifier: Apache-2.0
#include "tools/top/Model.h"

#include "devkit/text/Printable.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace cabinaudio::tool::top {

namespace {

const Json* valueAt(const Json& object, const char* key) {
    if (!object.is_object()) return nullptr;
    const auto found = object.find(key);
    return found != object.end() ? &*found : nullptr;
}

std::string rawText(const Json& object, const char* key) {
    const Json* const value = valueAt(object, key);
    return value != nullptr && value->is_string() ? value->get<std::string>() : "";
}

std::string textAt(const Json& object, const char* key) {
    return text::printable(rawText(object, key));
}

std::optional<double> numberAt(const Json& object, const char* key) {
    const Json* const value = valueAt(object, key);
    if (value == nullptr || !value->is_number()) return {};
    return value->get<double>();
}

bool flagAt(const Json& object, const char* key) {
    const Json* const value = valueAt(object, key);
    return value != nullptr && value->is_boolean() && value->get<bool>();
}

/// Silence is null; a key that is missing is an unknown level.
std::optional<double> levelAt(const Json& object, const char* key) {
    const Json* const value = valueAt(object, key);
    if (value != nullptr && value->is_null()) return SILENCE_DB;
    return numberAt(object, key);
}

std::optional<std::int64_t> countAt(const Json& object, const char* key) {
    const auto number = numberAt(object, key);
    if (!number) return {};
    return static_cast<std::int64_t>(*number);
}

template <typename Make>
auto listAt(const Json& object, const char* key, Make make) {
    std::vector<decltype(make(object))> list;
    const Json* const value = valueAt(object, key);
    if (value != nullptr && value->is_array())
        std::transform(value->begin(), value->end(), std::back_inserter(list), make);
    return list;
}

std::string wholeText(const std::optional<double>& number) {
    return number ? std::to_string(static_cast<std::int64_t>(*number)) : "-";
}

/// "48000x2x16", "16000x1 opus"
std::string formatOf(const Json& object) {
    std::string text =
        wholeText(numberAt(object, "rate_hz")) + "x" + wholeText(numberAt(object, "channels"));
    const std::string codec = textAt(object, "codec");
    if (!codec.empty() && codec != "pcm") return text + " " + codec;
    if (const auto bits = numberAt(object, "bits")) return text + "x" + wholeText(bits);
    const std::string format = textAt(object, "format");
    return format.empty() ? text : text + " " + format;
}

Gain gainOf(const Json& json) {
    return {textAt(json, "stage"), rawText(json, "setting"),
            levelAt(json, "db").value_or(SILENCE_DB), flagAt(json, "muted"), textAt(json, "by")};
}

/// The stage that is the stream's own volume.
std::optional<double> volumeOf(const std::vector<Gain>& gains) {
    const auto found = std::find_if(gains.begin(), gains.end(),
                                    [](const Gain& gain) { return gain.stage == "track"; });
    if (found == gains.end()) return {};
    return found->db;
}

std::optional<double> queueOf(const Json& json) {
    if (const auto ms = numberAt(json, "queued_ms")) return ms;
    const auto bytes = numberAt(json, "queued_bytes");
    const auto rate = numberAt(json, "rate_hz");
    const double frameBytes =
        numberAt(json, "channels").value_or(0) * numberAt(json, "bits").value_or(0) / 8;
    if (textAt(json, "codec") != "pcm" || !bytes || !rate || *rate * frameBytes == 0) return {};
    return 1000 * *bytes / (*rate * frameBytes);
}

Stream streamOf(const Json& json) {
    Stream stream;
    stream.rawName = rawText(json, "name");
    stream.name = textAt(json, "name");
    stream.pid = countAt(json, "process").value_or(0);
    stream.program = textAt(json, "program");
    stream.kind = textAt(json, "kind");
    stream.tag = textAt(json, "tag");
    const bool isCapture = valueAt(json, "input") != nullptr;
    stream.type = textAt(json, isCapture ? "input" : "type");
    stream.state = textAt(json, "state");
    stream.format = formatOf(json);
    stream.source = textAt(json, "source");
    stream.peakDb = levelAt(json, "peak_db");
    stream.levelDb = isCapture ? stream.peakDb : levelAt(json, "heard_db");
    stream.queuedMs = queueOf(json);
    stream.latencyMs = numberAt(json, "latency_ms");
    stream.lapses = countAt(json, isCapture ? "overruns" : "underruns");
    stream.gains = listAt(json, "gains", gainOf);
    stream.volumeDb = volumeOf(stream.gains);
    return stream;
}

Loudspeaker loudspeakerOf(const Json& json) {
    std::string name = textAt(json, "name");
    if (name.empty()) name = wholeText(numberAt(json, "loudspeaker"));
    return {name, levelAt(json, "peak_db"), flagAt(json, "muted")};
}

Device deviceOf(const Json& json) {
    Device device;
    device.name = textAt(json, "name");
    device.isLost = rawText(json, "state") == "lost";
    device.problem = textAt(json, "problem");
    device.since = textAt(json, "since");
    device.warning = textAt(json, "warning");
    return device;
}

Device outputOf(const Json& json) {
    Device output = deviceOf(json);
    output.format = formatOf(json);
    constexpr std::pair<const char*, const char*> COUNTERS[] = {
        {"late_periods", "late"}, {"clipped_samples", "clipped"}, {"errors", "errors"},
        {"losses", "lost"},       {"dropped_frames", "dropped"},
    };
    for (const auto& [key, name] : COUNTERS)
        if (const auto number = numberAt(json, key))
            output.counters.push_back(std::string(name) + " " + wholeText(number));
    if (const auto latency = numberAt(json, "latency_ms"))
        output.counters.push_back("latency " + wholeText(latency) + " ms");
    return output;
}

}  // namespace

Figures figuresOf(const Json& state) {
    Figures figures;
    figures.version = textAt(state, "version");
    if (const Json* const load = valueAt(state, "load")) {
        figures.mixPercent = numberAt(*load, "mix_percent");
        figures.longestMixMs = numberAt(*load, "longest_mix_us").value_or(0) / 1000;
        figures.periodMs = numberAt(*load, "period_us").value_or(0) / 1000;
    }
    if (const Json* const output = valueAt(state, "output")) figures.output = outputOf(*output);
    figures.inputs = listAt(state, "inputs", deviceOf);
    figures.loudspeakers = listAt(state, "loudspeakers", loudspeakerOf);
    figures.streams = listAt(state, "streams", streamOf);
    return figures;
}

std::string loweredBy(const Stream& stream) {
    if (stream.source == "withdrawn") return "no source";
    for (const Gain& gain : stream.gains) {
        const std::string& name = gain.setting.empty() ? gain.stage : gain.setting;
        if (gain.isMuted || gain.db <= SILENCE_DB) return text::printable(name);
    }
    for (const Gain& gain : stream.gains) {
        if (gain.stage != "ducking" || gain.db >= 0) continue;
        return (gain.by.empty() ? gain.stage : gain.by) + " " +
               std::to_string(std::lround(gain.db)) + " dB";
    }
    return "";
}

std::string decibelText(const std::optional<double>& db) {
    if (!db) return "-";
    if (*db <= SILENCE_DB) return "silent";
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", *db);
    return text;
}

}  // namespace cabinaudio::tool::top
