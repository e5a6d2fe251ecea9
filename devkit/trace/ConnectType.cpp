// SPDX-License-Identifier: Apache-2.0
#include "devkit/trace/ConnectType.h"

#include <cabinaudio/foundation/AudioTypes.h>

#include "devkit/text/Format.h"
#include "devkit/trace/WireFields.h"

#include <array>
#include <utility>

namespace cabinaudio::trace {
namespace {

constexpr std::array<std::pair<audio_connect_type, const char*>, 6> CONTROL_NAMES = {{
    {AUDIO_CONNECT_APP_SETTING, "app"},
    {AUDIO_CONNECT_MIXER_SETTING, "mixer"},
    {AUDIO_CONNECT_SOURCE_SETTING, "source"},
    {AUDIO_CONNECT_VOLUME_SETTING, "volume"},
    {AUDIO_CONNECT_VERSION_SETTING, "version"},
    {AUDIO_CONNECT_RECORD_CONTROL, "record control"},
}};

/// A stream's connection type equals the number of its tag.
std::string typeName(audio_connect_type type) {
    for (const auto& [control, name] : CONTROL_NAMES) {
        if (control == type) return name;
    }
    return AudioTypes::getTag(static_cast<AudioTagType>(type));
}

}  // namespace

bool isKnown(audio_connect_type type) {
    return !typeName(type).empty();
}

std::vector<std::string> connectTypeNames() {
    std::vector<std::string> names;
    for (const WireChoice& choice : connectionTypes())
        if (const auto type = static_cast<audio_connect_type>(choice.value); isKnown(type))
            names.push_back(typeName(type));
    return names;
}

std::optional<audio_connect_type> connectTypeOf(const std::string& name) {
    for (const WireChoice& choice : connectionTypes()) {
        const auto type = static_cast<audio_connect_type>(choice.value);
        if (isKnown(type) && typeName(type) == name) return type;
    }
    return {};
}

std::string connectTypeName(audio_connect_type type) {
    const std::string name = typeName(type);
    return name.empty() ? text::format("type %u", static_cast<unsigned>(type)) : name;
}

}  // namespace cabinaudio::trace
