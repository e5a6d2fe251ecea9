// SPDX-License-Identifier: Apache-2.0
#include "tools/settings/FedValue.h"

#include <cabinaudio/QVAudioTypes.h>

#include "tools/settings/FadeBalance.h"
#include "tools/settings/Rows.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <functional>
#include <iterator>
#include <map>
#include <string>

namespace cabinaudio::tool {

namespace {

using Fed = std::optional<Value>;
using Read = std::function<Fed(const Json& document, const Names& names)>;
using Pointer = Json::json_pointer;

Read real(const char* place) {
    return [at = Pointer(place)](const Json& document, const Names&) {
        return Reals{document.at(at).get<float>()};
    };
}
Read reals(const char* place) {
    return [at = Pointer(place)](const Json& document, const Names&) {
        return document.at(at).get<Reals>();
    };
}
Read integer(const char* place) {
    return [at = Pointer(place)](const Json& document, const Names&) {
        return Integers{document.at(at).get<std::int64_t>()};
    };
}
Read integers(const char* place) {
    return [at = Pointer(place)](const Json& document, const Names&) {
        return document.at(at).get<Integers>();
    };
}
Read onOff(const char* place) {
    return [at = Pointer(place)](const Json& document, const Names&) {
        return document.at(at).get<bool>();
    };
}
Read text(const char* place) {
    return [at = Pointer(place)](const Json& document, const Names&) {
        return document.at(at).get<std::string>();
    };
}
/// A number under a key that is there only once it was set.
Read entry(const char* place, const char* key) {
    return [at = Pointer(place), key](const Json& document, const Names&) -> Fed {
        const Json& entries = document.at(at);
        const auto found = entries.find(key);
        if (found == entries.end()) return std::nullopt;
        return Integers{found->get<std::int64_t>()};
    };
}

std::size_t indexOf(const std::string& loudspeaker) {
    const auto* const begin = std::begin(LOUDSPEAKERS);
    return static_cast<std::size_t>(std::find(begin, std::end(LOUDSPEAKERS), loudspeaker) - begin);
}

/// The entry with these names in a list; null when nothing was set for them.
const Json* entryOf(const Json& list, const std::string& tag, const std::string& name) {
    const auto found = std::find_if(list.begin(), list.end(), [&](const Json& candidate) {
        return candidate.at("tag") == tag && candidate.at("name") == name;
    });
    return found != list.end() ? &*found : nullptr;
}

Fed typeGain(const Json& document, const Names& names) {
    return Reals{document.at("volume").at("stream_types_db").value(names[0], 0.0F)};
}

Fed trackGain(const Json& document, const Names& names) {
    const Json* const track = entryOf(document.at("volume").at("tracks"), names[0], names[1]);
    return Reals{track != nullptr ? track->at("gain_db").get<float>() : 0.0F};
}

Fed trackChannels(const Json& document, const Names& names) {
    const Json* const track = entryOf(document.at("volume").at("tracks"), "auxiliary", names[0]);
    if (track == nullptr) return std::nullopt;
    return track->at("channels_db").get<Reals>();
}

Fed channelGain(const Json& document, const Names& names) {
    return Reals{document.at("volume").at("channels_db").at(indexOf(names[0])).get<float>()};
}

Fed speakerDelay(const Json& document, const Names& names) {
    const auto us = document.at("app").at("speaker_delays_us").at(indexOf(names[0])).get<float>();
    return Reals{us / 1000.0F};
}

Read position(int Position::*part) {
    return [part](const Json& document, const Names&) -> Fed {
        std::array<float, 4> gains{};
        for (std::size_t i = 0; i < gains.size(); ++i)
            gains[i] = document.at("volume").at("channels_db").at(i).get<float>();
        const std::optional<Position> found = positionOf(gains);
        if (!found) return std::nullopt;
        return Integers{(*found).*part};
    };
}

Fed muted(const Json& document, const Names& names) {
    static const std::map<std::string, audio::audio_out_path_id_e> bits = {
        {"main", audio::AUDIO_OUT_PATH_MAIN},
        {"second", audio::AUDIO_OUT_PATH_SECOND},
        {"alternative", audio::AUDIO_OUT_PATH_ALTERNATIVE},
        {"auxiliary", audio::AUDIO_OUT_PATH_AUXILIARY}};
    const auto paths = document.at("volume").at("muted_paths").get<std::int32_t>();
    return (paths & bits.at(names[0])) != 0;
}

Fed ramp(const Json& document, const Names&) {
    const Json& volume = document.at("volume");
    return Reals{volume.at("ramp_up_ms").get<float>(), volume.at("ramp_down_ms").get<float>()};
}

/// The server does not tell "ducked by nothing" and "not ducked" apart.
Fed duck(const Json& document, const Names&) {
    const auto percent = document.at("volume").at("duck_percent").get<std::int64_t>();
    return Integers{percent == 0 ? -1 : percent};
}

Reals amplifier(const Json& document, std::size_t input, const char* name) {
    return document.at("volume").at("inputs").at(input).at(name).get<Reals>();
}
Read amplifier(const char* name) {
    return [name](const Json& document, const Names& names) {
        return amplifier(document, static_cast<std::size_t>(rows::numberOf(names[0])), name);
    };
}
/// Both amplifiers of input 0, in whole dB as the library computes them.
Fed microphone(const Json& document, const Names&) {
    Reals sum = amplifier(document, 0, "op_db");
    const Reals pga = amplifier(document, 0, "pga_db");
    std::transform(sum.begin(), sum.end(), pga.begin(), sum.begin(),
                   [](float left, float right) { return std::ceil(left + right); });
    return sum;
}

Fed adcPin(const Json& document, const Names& names) {
    const auto input = static_cast<std::size_t>(rows::numberOf(names[0]));
    return Integers{document.at("source").at("adc_pins").at(input).get<std::int64_t>()};
}

Octets octetsOf(const std::string& digits) {
    Octets octets(digits.size() / 2);
    for (std::size_t i = 0; i < octets.size(); ++i)
        std::from_chars(&digits[2 * i], &digits[2 * i] + 2, octets[i], 16);
    return octets;
}

Fed effectEnabled(const Json& document, const Names& names) {
    const Json* const effect = entryOf(document.at("app").at("effects"), names[0], names[1]);
    return effect != nullptr && effect->at("enabled").get<bool>();
}
Read effectParameter(const char* place) {
    return [at = Pointer(place)](const Json& document, const Names& names) {
        const Json* const effect = entryOf(document.at(at), names[0], names[1]);
        return effect != nullptr ? octetsOf(effect->at("parameter").get<std::string>()) : Octets{};
    };
}

/// By the names of the table of settings.
const std::map<std::string, Read>& table() {
    static const std::map<std::string, Read> rows = {
        {"volume.master", real("/volume/master_db")},
        {"volume.second", real("/volume/second_db")},
        {"volume.alternative", real("/volume/alternative_db")},
        {"volume.type.<type>", typeGain},
        {"volume.track.<tag>.<track>", trackGain},
        {"track.auxiliary.<track>.channels", trackChannels},
        {"fade", position(&Position::fade)},
        {"balance", position(&Position::balance)},
        {"volume.channel.<loudspeaker>", channelGain},
        {"volume.ramp", ramp},
        {"mute.<path>", muted},
        {"duck", duck},
        {"ducking.mode", integer("/volume/ducking_mode")},
        {"ducking.target", real("/volume/ducking_target_db")},
        {"uplink.gain", real("/volume/uplink_db")},
        {"mic.gain", microphone},
        {"mic.op.<input>", amplifier("op_db")},
        {"mic.pga.<input>", amplifier("pga_db")},
        {"mixer.navigation", reals("/mixer/navigation_db")},
        {"mixer.navigation.mode", integer("/mixer/navigation_mode")},
        {"mixer.alternative", reals("/mixer/alternative_db")},
        {"mixer.upmix", integer("/mixer/up_mix_mode")},
        {"destination.uplink", text("/source/uplink_destination")},
        {"source.front", entry("/source/seat_sources", "0")},
        {"source.rear", entry("/source/seat_sources", "1")},
        {"seat.front", integer("/source/front_state")},
        {"seat.rear", integer("/source/rear_state")},
        {"adc.pin.<input>", adcPin},
        {"adc.swap", onOff("/source/adc_switched")},
        {"dac.map", integers("/source/dac_mapping")},
        {"i2s.map", integers("/source/i2s_mapping")},
        {"pcm.interface", integers("/source/pcm_interface")},
        {"pcm.interface.enabled", onOff("/source/pcm_interface_enabled")},
        {"speaker.output", integer("/source/speakers")},
        {"handsfree.delay", integer("/source/handsfree_delay")},
        {"samplerate.capability", integer("/source/sample_rate_capability")},
        {"ramp.auto", onOff("/source/auto_ramp")},
        {"speaker.delay.<loudspeaker>", speakerDelay},
        {"aec.quality", integer("/app/echo_quality")},
        {"aec.duplex", integer("/app/duplex")},
        {"nr.attenuation", integer("/app/noise_reduction")},
        {"bypass", onOff("/app/bypass")},
        {"reverb.mode", integer("/app/reverb_mode")},
        {"dac.gain", integer("/app/dac_gain")},
        {"effect.<tag>.<effect>", effectEnabled},
        {"effect.<tag>.<effect>.parameter", effectParameter("/app/effects")},
        {"capture-effect.<tag>.<effect>", effectParameter("/capture_effects")},
    };
    return rows;
}

}  // namespace

bool isFed(const Setting& setting) {
    return table().contains(setting.name);
}

std::optional<Value> fedValue(const Json& document, const Named& named) {
    return table().at(named.setting->name)(document, named.names);
}

LiveNames fedNames(const Json& document, const Texts& types) {
    LiveNames live{types, {}};
    for (const Json& stream : document.at("streams"))
        live.tracks.emplace_back(stream.at("tag").get<std::string>(),
                                 stream.at("name").get<std::string>());
    return live;
}

}  // namespace cabinaudio::tool
