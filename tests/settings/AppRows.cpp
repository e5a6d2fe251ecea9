// SPDX-License-Identifier: Apache-2.0
#include "tests/settings/Row.h"

namespace cabinaudio::test {
namespace {

using A = audio::QVAudioSetting::App;
using Channel = audio::audio_channel_idx_e;
const std::string LONG(100, 'e');
const std::string CUT(63, 'e');

std::vector<OperationRow> numberRows() {
    return {
        setter("SetSpeakerDelay", 198, {word(22), word(4), word(1500)},
               [](A& a) { return a.setSpeakerDelay(Channel{4}, 1.5F); }),
        getter("GetSpeakerDelay", 198, {word(23), word(8)}, real(1500.0F),
               [](A& a, Outputs& out) { return a.getSpeakerDelay(Channel{8}, out.at<float>()); },
               {.result = Result::Ignored}),
        setter("SetQualityOfAEC", 198, {word(24), number(-3)},
               [](A& a) { return a.setQualityOfAEC(audio::audio_aec_quality_e{-3}); }),
        getter("GetQualityOfAEC", 198, {word(25)}, word(2),
               [](A& a, Outputs& out) {
                   return a.getQualityOfAEC(out.at<audio::audio_aec_quality_e>());
               }),
        setter("EnableByPassMode", 198, {word(29)}, [](A& a) { return a.enableByPassMode(); }),
        setter("DisableByPassMode", 198, {word(30)}, [](A& a) { return a.disableByPassMode(); }),
        setter("SetDownlinkDelayEstimation", 198, {word(37)},
               [](A& a) { return a.setDownlinkDelayEstimation(); }),
        getter("GetDownlinkDelayEstimation", 198, {word(38)}, word(0x12345678),
               [](A& a, Outputs& out) { return a.getDownlinkDelayEstimation(out.at<short>()); }),
        getter("GetDownlinkDelayEstimationIntoNothing", 198, {word(38)}, word(1), {},
               [](A& a) { return a.getDownlinkDelayEstimation(nullptr); }),
        setter("SetDuplexOfAEC", 195, {word(40), number(-100)},
               [](A& a) { return a.setDuplexOfAEC(-100); }),
        getter("GetDuplexOfAEC", 195, {word(41)}, number(-7),
               [](A& a, Outputs& out) { return a.getDuplexOfAEC(out.at<int>()); }),
        getter("GetDuplexOfAECIntoNothing", 195, {word(41)}, number(-7), {},
               [](A& a) { return a.getDuplexOfAEC(nullptr); }),
        setter("SetNRAttenuation", 195, {word(42), word(0x7fffffff)},
               [](A& a) { return a.setNRAttenuation(0x7fffffff); }),
        getter("GetNRAttenuation", 195, {word(43)}, number(18),
               [](A& a, Outputs& out) { return a.getNRAttenuation(out.at<int>()); }),
        getter("GetNRAttenuationIntoNothing", 195, {word(43)}, number(18), {},
               [](A& a) { return a.getNRAttenuation(nullptr); }),
        setter("SetReverbMode", 198, {word(50), word(6)},
               [](A& a) { return a.setReverbMode(audio::audio_reverb_mode_e{6}); }),
    };
}

std::vector<OperationRow> recordRows() {
    return {
        getter("GetEqualizerSpectrum", 198, {word(11)}, pattern(16),
               [](A& a, Outputs& out) {
                   return a.getEqualizerSpectrum(out.at<audio::audio_eq_spectrum_t>());
               }),
        setter("SetEqualizer", 198, {word(35), pattern(564)},
               [](A& a) {
                   auto equalizer = recordOf<audio::audio_ext_eq_parameter_t>(pattern(564));
                   return a.setEqualizer(&equalizer);
               }),
        getter("GetEqualizer", 198, {word(36), word(0xa1b2c3d4)}, pattern(564),
               [](A& a, Outputs& out) {
                   out.prepare(0, word(0xa1b2c3d4));
                   return a.getEqualizer(out.at<audio::audio_ext_eq_parameter_t>());
               }),
        setter("SetNLPConfig", 198, {word(44), pattern(16)},
               [](A& a) {
                   auto configuration = recordOf<audio::audio_nlp_config_t>(pattern(16));
                   return a.setNLPConfig(&configuration);
               }),
        getter("GetNLPConfig", 198, {word(45), word(3)}, pattern(16),
               [](A& a, Outputs& out) {
                   out.prepare(0, word(3));
                   return a.getNLPConfig(out.at<audio::audio_nlp_config_t>());
               }),
        setter("SetHandsfreeEQ", 198, {word(46), pattern(104)},
               [](A& a) {
                   auto equalizer = recordOf<audio::audio_handsfree_eq_t>(pattern(104));
                   return a.setHandsfreeEQ(&equalizer);
               }),
        getter("GetHandsfreeEQ", 198, {word(47), word(5)}, pattern(104),
               [](A& a, Outputs& out) {
                   out.prepare(0, word(5));
                   return a.getHandsfreeEQ(out.at<audio::audio_handsfree_eq_t>());
               }),
        setter("SetDACGainControl", 198, {word(48), word(0xc0ffee11)},
               [](A& a) {
                   audio::audio_dacgain_ctrl_t control{0xc0ffee11};
                   return a.setDACGainControl(&control);
               }),
        getter("GetOutPutDataEnergy", 198, {word(34)}, pattern(16),
               [](A& a, Outputs& out) {
                   return a.getOutPutDataEnergy(out.at<audio::audio_out_data_energy_t>());
               }),
    };
}

std::vector<OperationRow> effectRows() {
    return {
        setter("SetEffectEnabled", 198, {word(4096), text("main"), text("reverb"), byte(1)},
               [](A& a) { return a.setEffectEnabled("main", "reverb", true); }),
        setter("SetEffectEnabledOff", 198, {word(4096), text(CUT), text(CUT), byte(0)},
               [](A& a) { return a.setEffectEnabled(LONG.c_str(), LONG.c_str(), false); }),
        getter("GetEffectEnabled", 198, {word(4097), text("alternative"), text(CUT)}, {1, 2, 3, 4},
               {1},
               [](A& a, Outputs& out) {
                   return a.getEffectEnabled("alternative", LONG.c_str(), *out.at<bool>());
               }),
        setter("SetEffectParameter", 198,
               {word(4098), text("main"), text("reverb"), word(5), pattern(5)},
               [](A& a, Outputs& out) {
                   out.prepare(0, joined({word(5), pattern(5)}));
                   return a.setEffectParameter("main", "reverb", *out.at<audio::effect_param_t>());
               }),
        getter("GetEffectParameter", 198,
               {word(4099), text("main"), text("reverb"), word(5), pattern(5)},
               joined({word(2), {50, 51, 52, 53, 54}}),
               [](A& a, Outputs& out) {
                   out.prepare(0, joined({word(5), pattern(5)}));
                   return a.getEffectParameter("main", "reverb", *out.at<audio::effect_param_t>());
               }),
    };
}

}  // namespace

std::vector<OperationRow> appRows() {
    return ofType(128, {numberRows(), recordRows(), effectRows()});
}

}  // namespace cabinaudio::test
