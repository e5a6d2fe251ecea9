// SPDX-License-Identifier: Apache-2.0
#include "tests/settings/Row.h"

namespace cabinaudio::test {
namespace {

using Channel = audio::audio_channel_idx_e;
const std::string LONG(100, 'e');
const std::string CUT(63, 'e');

std::vector<Row> numberRows() {
    return {
        setter("SetSpeakerDelay", 198, {word(22), word(4), word(1500)},
               [](auto& c, auto&) { return c.app().setSpeakerDelay(Channel{4}, 1.5F); }),
        {.test = "GetSpeakerDelay",
         .command = 198,
         .request = joined({word(23), word(8)}),
         .replySize = 8,
         .call = [](auto& c,
                    Outputs& out) { return c.app().getSpeakerDelay(Channel{8}, out.at<float>()); },
         .results = real(1500.0F),
         .stored = real(1500.0F),
         .result = Result::Ignored},
        setter(
            "SetQualityOfAEC", 198, {word(24), number(-3)},
            [](auto& c, auto&) { return c.app().setQualityOfAEC(audio::audio_aec_quality_e{-3}); }),
        getter("GetQualityOfAEC", 198, {word(25)}, word(2),
               [](auto& c, Outputs& out) {
                   return c.app().getQualityOfAEC(out.at<audio::audio_aec_quality_e>());
               }),
        setter("EnableByPassMode", 198, {word(29)},
               [](auto& c, auto&) { return c.app().enableByPassMode(); }),
        setter("DisableByPassMode", 198, {word(30)},
               [](auto& c, auto&) { return c.app().disableByPassMode(); }),
        setter("SetDownlinkDelayEstimation", 198, {word(37)},
               [](auto& c, auto&) { return c.app().setDownlinkDelayEstimation(); }),
        getter("GetDownlinkDelayEstimation", 198, {word(38)}, word(0x12345678),
               [](auto& c, Outputs& out) {
                   return c.app().getDownlinkDelayEstimation(out.at<short>());
               }),
        getter("GetDownlinkDelayEstimationIntoNothing", 198, {word(38)}, word(1), {},
               [](auto& c, auto&) { return c.app().getDownlinkDelayEstimation(nullptr); }),
        setter("SetDuplexOfAEC", 195, {word(40), number(-100)},
               [](auto& c, auto&) { return c.app().setDuplexOfAEC(-100); }),
        getter("GetDuplexOfAEC", 195, {word(41)}, number(-7),
               [](auto& c, Outputs& out) { return c.app().getDuplexOfAEC(out.at<int>()); }),
        getter("GetDuplexOfAECIntoNothing", 195, {word(41)}, number(-7), {},
               [](auto& c, auto&) { return c.app().getDuplexOfAEC(nullptr); }),
        setter("SetNRAttenuation", 195, {word(42), word(0x7fffffff)},
               [](auto& c, auto&) { return c.app().setNRAttenuation(0x7fffffff); }),
        getter("GetNRAttenuation", 195, {word(43)}, number(18),
               [](auto& c, Outputs& out) { return c.app().getNRAttenuation(out.at<int>()); }),
        getter("GetNRAttenuationIntoNothing", 195, {word(43)}, number(18), {},
               [](auto& c, auto&) { return c.app().getNRAttenuation(nullptr); }),
        setter("SetReverbMode", 198, {word(50), word(6)},
               [](auto& c, auto&) { return c.app().setReverbMode(audio::audio_reverb_mode_e{6}); }),
    };
}

std::vector<Row> recordRows() {
    return {
        getter("GetEqualizerSpectrum", 198, {word(11)}, pattern(16),
               [](auto& c, Outputs& out) {
                   return c.app().getEqualizerSpectrum(out.at<audio::audio_eq_spectrum_t>());
               }),
        setter("SetEqualizer", 198, {word(35), pattern(564)},
               [](auto& c, auto&) {
                   auto equalizer = recordOf<audio::audio_ext_eq_parameter_t>(pattern(564));
                   return c.app().setEqualizer(&equalizer);
               }),
        getter("GetEqualizer", 198, {word(36), word(0xa1b2c3d4)}, pattern(564),
               [](auto& c, Outputs& out) {
                   out.prepare(0, word(0xa1b2c3d4));
                   return c.app().getEqualizer(out.at<audio::audio_ext_eq_parameter_t>());
               }),
        setter("SetNLPConfig", 198, {word(44), pattern(16)},
               [](auto& c, auto&) {
                   auto configuration = recordOf<audio::audio_nlp_config_t>(pattern(16));
                   return c.app().setNLPConfig(&configuration);
               }),
        getter("GetNLPConfig", 198, {word(45), word(3)}, pattern(16),
               [](auto& c, Outputs& out) {
                   out.prepare(0, word(3));
                   return c.app().getNLPConfig(out.at<audio::audio_nlp_config_t>());
               }),
        setter("SetHandsfreeEQ", 198, {word(46), pattern(104)},
               [](auto& c, auto&) {
                   auto equalizer = recordOf<audio::audio_handsfree_eq_t>(pattern(104));
                   return c.app().setHandsfreeEQ(&equalizer);
               }),
        getter("GetHandsfreeEQ", 198, {word(47), word(5)}, pattern(104),
               [](auto& c, Outputs& out) {
                   out.prepare(0, word(5));
                   return c.app().getHandsfreeEQ(out.at<audio::audio_handsfree_eq_t>());
               }),
        setter("SetDACGainControl", 198, {word(48), word(0xc0ffee11)},
               [](auto& c, auto&) {
                   audio::audio_dacgain_ctrl_t control{0xc0ffee11};
                   return c.app().setDACGainControl(&control);
               }),
        getter("GetOutPutDataEnergy", 198, {word(34)}, pattern(16),
               [](auto& c, Outputs& out) {
                   return c.app().getOutPutDataEnergy(out.at<audio::audio_out_data_energy_t>());
               }),
    };
}

std::vector<Row> effectRows() {
    return {
        setter("SetEffectEnabled", 198, {word(4096), text("main"), text("reverb"), byte(1)},
               [](auto& c, auto&) { return c.app().setEffectEnabled("main", "reverb", true); }),
        setter("SetEffectEnabledOff", 198, {word(4096), text(CUT), text(CUT), byte(0)},
               [](auto& c, auto&) {
                   return c.app().setEffectEnabled(LONG.c_str(), LONG.c_str(), false);
               }),
        getter("GetEffectEnabled", 198, {word(4097), text("alternative"), text(CUT)}, {1, 2, 3, 4},
               {1},
               [](auto& c, Outputs& out) {
                   return c.app().getEffectEnabled("alternative", LONG.c_str(), *out.at<bool>());
               }),
        setter("SetEffectParameter", 198,
               {word(4098), text("main"), text("reverb"), word(5), pattern(5)},
               [](auto& c, Outputs& out) {
                   out.prepare(0, joined({word(5), pattern(5)}));
                   return c.app().setEffectParameter("main", "reverb",
                                                     *out.at<audio::effect_param_t>());
               }),
        getter("GetEffectParameter", 198,
               {word(4099), text("main"), text("reverb"), word(5), pattern(5)},
               joined({word(2), {50, 51, 52, 53, 54}}),
               [](auto& c, Outputs& out) {
                   out.prepare(0, joined({word(5), pattern(5)}));
                   return c.app().getEffectParameter("main", "reverb",
                                                     *out.at<audio::effect_param_t>());
               }),
    };
}

}  // namespace

std::vector<Row> appRows() {
    return ofType(128, {numberRows(), recordRows(), effectRows()});
}

}  // namespace cabinaudio::test
