// SPDX-License-Identifier: Apache-2.0
#include "tools/settings/TrackRecords.h"

#include "tools/Names.h"

#include <cstring>

namespace cabinaudio::tool {

namespace {

template <std::size_t SIZE>
std::string fieldText(const char (&field)[SIZE]) {
    return {field, strnlen(field, SIZE)};
}

}  // namespace

wire::TrackInfo trackOf(const audio::audio_track_info_t& record) {
    wire::TrackInfo track{};
    std::memcpy(&track, &record, sizeof track);
    return track;
}

std::string textOf(const wire::Name& name) {
    return fieldText(name.text);
}

Texts trackTexts(const std::vector<audio::audio_track_info_t>& records) {
    Texts texts;
    for (const auto& record : records) {
        const wire::TrackInfo track = trackOf(record);
        texts.push_back(textOf(track.tag) + "/" + textOf(track.name) + "/" + textOf(track.type) +
                        "/" + std::to_string(track.rate) + "/" + std::to_string(track.channels));
    }
    return texts;
}

Texts trackTexts(const std::vector<audio::audio_output_src_parameter_t>& records) {
    Texts texts;
    for (const auto& record : records) {
        wire::OutputTrack track{};
        std::memcpy(&track, &record, sizeof track);
        texts.push_back(tagText(static_cast<AudioTagType>(track.tag)) + "/" +
                        fieldText(track.name) + "/" + std::to_string(track.rate) + "/" +
                        std::to_string(track.channels) + "/" + std::to_string(track.bits) + "/" +
                        (track.isActive != 0 ? "on" : "off"));
    }
    return texts;
}

}  // namespace cabinaudio::tool
