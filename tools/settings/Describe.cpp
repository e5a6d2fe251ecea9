// SPDX-License-Identifier: Apache-2.0
#include "tools/settings/Describe.h"

#include "tools/Terminal.h"
#include "tools/settings/Change.h"

#include <algorithm>
#include <iterator>

namespace cabinaudio::tool {

namespace {

const char* connectionName(audio_connect_type connection) {
    switch (connection) {
        case AUDIO_CONNECT_APP_SETTING:
            return "application settings";
        case AUDIO_CONNECT_MIXER_SETTING:
            return "mixer settings";
        case AUDIO_CONNECT_SOURCE_SETTING:
            return "source settings";
        case AUDIO_CONNECT_VOLUME_SETTING:
            return "volume settings";
        default:
            return "record control";
    }
}

std::string accessText(const Setting& setting) {
    if (!setting.set) return "can only be read";
    if (!setting.get) return "can only be set: servers have no operation that tells it";
    return "can be read and set";
}

std::string valueHelp(const Type& type) {
    const bool mayBeOne = type.count > 1 && (type.kind == Kind::Gain || type.kind == Kind::Real);
    const std::string range = rangeText(type) + (mayBeOne ? "; or one for all" : "");
    switch (type.kind) {
        case Kind::Gain:
            return range +
                   "\n            with dB a gain, such as -6.5dB; without a volume step: "
                   "half a dB each,\n            100 is 0dB and 0 is silence; with % the "
                   "amplitude: 50% is -6.02dB";
        case Kind::Meter:
            return range + ";\n            in JSON also in millionths of full scale";
        case Kind::Switch:
            return range + ", also as true or false, 1 or 0";
        case Kind::Text:
            return range +
                   "; other than letters, digits and ._-+/: may be\n            written as "
                   "% and two hex digits";
        default:
            return range;
    }
}

/// "3dB+, 5- or 10%+ from the present value, or volume.master+=3dB"; empty if there is none.
std::string changeHelp(const Named& named) {
    const Type& type = named.setting->type;
    const std::vector<std::string> examples = exampleChanges(*named.setting);
    if (examples.empty()) return "";
    if (type.kind == Kind::Switch) return "toggle or !";
    const std::string& first = examples.front();
    const std::string words =
        type.kind == Kind::Gain ? "3dB+, 5- or 10%+" : first + " or " + examples.back();
    return words + " from the present value, or " + named.name +
           "+=" + first.substr(0, first.size() - 1);
}

std::string exampleValue(const Type& type) {
    const auto repeated = [&](const std::string& value) {
        std::string text = value;
        for (std::size_t i = 1; i < type.count; ++i)
            text += "," + value;
        return text;
    };
    switch (type.kind) {
        case Kind::Gain:
            return "-6dB";
        case Kind::Real:
            return std::string("10") + type.unit;
        case Kind::Integer:
            return type.low > type.high ? type.words.front().first : repeated("1");
        case Kind::Loudspeakers:
            return "LF+RF";
        case Kind::Switch:
            return "on";
        case Kind::Text:
            return "radio";
        default:
            return "0a1b";
    }
}

std::string functionsText(const Functions& functions) {
    std::string ids;
    for (const std::uint32_t id : functions.ids)
        ids += (ids.empty() ? "" : ", ") + std::to_string(id);
    return ids + " of the " + connectionName(functions.connection) + " (connection type " +
           std::to_string(functions.connection) + ")";
}

/// Values that can be listed, and examples of volumes and changes.
std::vector<std::string> exampleWords(const Setting& setting) {
    const Type& type = setting.type;
    std::vector<std::string> words;
    if (!setting.set) return words;
    if (type.kind == Kind::Switch) words = {"on", "off"};
    if (type.kind == Kind::Gain) words = {"0dB", "-6dB", "100", "50%"};
    if (type.kind == Kind::Loudspeakers) {
        words.assign(std::begin(LOUDSPEAKERS), std::end(LOUDSPEAKERS));
        words.emplace_back("none");
    }
    for (const auto& [word, number] : type.words)
        words.emplace_back(word);
    for (const std::string& change : exampleChanges(setting))
        if (change != "!") words.push_back(change);  // toggle is the same
    return words;
}

void print(const Named& named) {
    const Setting& setting = *named.setting;
    say(named.name);
    say(std::string("  what      ") + setting.what);
    say(std::string("  type      ") + kindName(setting.type.kind));
    say("  range     " + valueHelp(setting.type));
    const bool isLevel = setting.type.kind == Kind::Meter;
    if (*setting.type.unit != '\0')
        say(std::string("  unit      ") + (isLevel ? "dB" : setting.type.unit));
    if (const std::string change = changeHelp(named); !change.empty()) say("  change    " + change);
    say("  access    " + accessText(setting));
    say("  functions " + functionsText(setting.functions));
    if (setting.set)
        say("  example   cabinaudio set " + named.name + "=" + exampleValue(setting.type));
}

std::vector<Named> selected(const Directory& directory, const std::vector<std::string>& names) {
    std::vector<Named> all;
    for (const std::string& name : names) {
        const auto row = std::find_if(settings().begin(), settings().end(),
                                      [&](const Setting& setting) { return setting.name == name; });
        if (row != settings().end()) {
            all.push_back({&*row, {}, row->name, true});
            continue;
        }
        const std::vector<Named> found = directory.select(name);
        all.insert(all.end(), found.begin(), found.end());
    }
    return all;
}

void describe(Session& session, const DescribeOptions& options) {
    const std::vector<Named> all = selected(session.directoryOrFixed(), options.names);
    if (session.wantsJson()) session.report("settings") = Json::array();
    if (options.valuesOnly && !session.wantsJson()) {
        for (const Named& named : all)
            for (const std::string& word : exampleWords(*named.setting))
                say(word);
        return;
    }
    for (const Named& named : all) {
        if (session.wantsJson())
            session.report("settings").push_back(descriptionJson(named));
        else
            print(named);
        if (!session.wantsJson() && &named != &all.back()) say("");
    }
}

}  // namespace

const char* accessLetters(const Setting& setting) {
    if (!setting.set) return "r-";
    return setting.get ? "rw" : "-w";
}

std::string shortRangeText(const Type& type) {
    const auto isServersOwn = [](const Type& integers) { return integers.high > 1e9; };
    switch (type.kind) {
        case Kind::Bytes:
        case Kind::Text:
        case Kind::List:
        case Kind::Loudspeakers:
            return kindName(type.kind);
        case Kind::Meter:
            return "dB, silence";
        case Kind::Switch:
            return "on, off";
        case Kind::Integer:
            if (!type.words.empty()) break;
            if (isServersOwn(type))
                return type.count > 1 ? std::to_string(type.count) + " integers" : "integer";
            break;
        case Kind::Gain:
        case Kind::Real:
            break;
    }
    return limitsText(type);
}

Json descriptionJson(const Named& named) {
    const Setting& setting = *named.setting;
    Json json;
    json["name"] = named.name;
    json["what"] = setting.what;
    json["type"] = kindName(setting.type.kind);
    json["count"] = setting.type.kind == Kind::Bytes ? 1 : setting.type.count;
    json["range"] = rangeText(setting.type);
    json["unit"] = orNull(std::string(setting.type.unit));
    json["changes"] = exampleChanges(setting);
    json["readable"] = static_cast<bool>(setting.get);
    json["settable"] = static_cast<bool>(setting.set);
    json["connection"] = static_cast<unsigned>(setting.functions.connection);
    json["functions"] = setting.functions.ids;
    return json;
}

ExitCode run(const DescribeOptions& options, const CommonOptions& common) {
    Session session(options, common);
    return session.run([&] { describe(session, options); });
}

}  // namespace cabinaudio::tool
