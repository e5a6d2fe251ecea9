// SPDX-License-Identifier: Apache-2.0
#include "plugins/alsa/PcmConfig.h"

#include "plugins/common/Streams.h"

#include <cerrno>
#include <limits>

namespace cabinaudio::alsa {

namespace {

/// The tag that the PCM's own definition gives when the user names none.
constexpr char USUAL_TAG[] = "default";

int readTag(const snd_config_t* entry, snd_pcm_stream_t direction, AudioTagType& tag) {
    std::string name;
    if (const int error = readValue(entry, name); error != 0) return error;
    if (name == USUAL_TAG) return 0;
    tag = AudioTypes::getTagType(name);
    const bool plays = direction == SND_PCM_STREAM_PLAYBACK;
    if (plays ? plugin::isPlaybackTag(tag) : plugin::isCaptureTag(tag)) return 0;
    SNDERR("%s is no tag of a %s stream", name.c_str(), plays ? "playback" : "capture");
    return -EINVAL;
}

}  // namespace

int PcmConfig::read(snd_config_t* definition, snd_pcm_stream_t direction) {
    return readDefinition(definition, [&](const std::string& key, const snd_config_t* entry) {
        if (key == "tag") return readTag(entry, direction, tag);
        if (key == "name") return readValue(entry, name);
        if (key != "stream_param") return readKey(key, entry);
        long number = 0;
        const int error = readValue(entry, std::numeric_limits<int>::max(), number);
        streamParam = static_cast<int>(number);
        return error;
    });
}

}  // namespace cabinaudio::alsa
