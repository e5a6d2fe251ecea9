// SPDX-License-Identifier: Apache-2.0
#include "tests/settings/Row.h"

namespace cabinaudio::test {
namespace {

using Channel = audio::audio_channel_idx_e;
const std::string LONG(100, 'e');
const std::string CUT(63, 'e');

std::vector<Row> numberRows() {
    return {
        {"SetSpeakerDelay", 198, joined({word(22), word(4), word(1500)}), 4,
         [](const Clients& c, Outputs&) { return c.app().setSpeakerDelay(Channel{4}, 1.5F); }},
        {.test = "GetSpeakerDelay",
         .command = 198,
         .request = joined({word(23), word(8)}),
         .replySize = 8,
         .call = [](const Clients& c,
                    Outputs& out) { return c.app().getSpeakerDelay(Channel{8}, out.at<float>()); },
         .results = real(1500.0F),
         .stored = real(1500.0F),
         .result = Result::Ignored},
        {"SetQualityOfAEC", 198, joined({word(24), number(-3)}), 4,
         [](const Clients& c, Outputs&) {
             return c.app().setQualityOfAEC(audio::audio_aec_quality_e{-3});
         }},
        {.test = "GetQualityOfAEC",
         .command = 198,
         .request = word(25),
         .replySize = 8,
         .call =
             [](const Clients& c, Outputs& out) {
                 return c.app().getQualityOfAEC(out.at<audio::audio_aec_quality_e>());
             },
         .results = word(2),
         .stored = word(2)},
        {"EnableByPassMode", 198, word(29), 4,
         [](const Clients& c, Outputs&) { return c.app().enableByPassMode(); }},
        {"DisableByPassMode", 198, word(30), 4,
         [](const Clients& c, Outputs&) { return c.app().disableByPassMode(); }},
        {"SetDownlinkDelayEstimation", 198, word(37), 4,
         [](const Clients& c, Outputs&) { return c.app().setDownlinkDelayEstimation(); }},
        {.test = "GetDownlinkDelayEstimation",
         .command = 198,
         .request = word(38),
         .replySize = 8,
         .call = [](const Clients& c,
                    Outputs& out) { return c.app().getDownlinkDelayEstimation(out.at<short>()); },
         .results = word(0x12345678),
         .stored = word(0x12345678)},
        {.test = "GetDownlinkDelayEstimationIntoNothing",
         .command = 198,
         .request = word(38),
         .replySize = 8,
         .call = [](const Clients& c,
                    Outputs&) { return c.app().getDownlinkDelayEstimation(nullptr); },
         .results = word(1)},
        {"SetDuplexOfAEC", 195, joined({word(40), number(-100)}), 4,
         [](const Clients& c, Outputs&) { return c.app().setDuplexOfAEC(-100); }},
        {.test = "GetDuplexOfAEC",
         .command = 195,
         .request = word(41),
         .replySize = 8,
         .call = [](const Clients& c,
                    Outputs& out) { return c.app().getDuplexOfAEC(out.at<int>()); },
         .results = number(-7),
         .stored = number(-7)},
        {.test = "GetDuplexOfAECIntoNothing",
         .command = 195,
         .request = word(41),
         .replySize = 8,
         .call = [](const Clients& c, Outputs&) { return c.app().getDuplexOfAEC(nullptr); },
         .results = number(-7)},
        {"SetNRAttenuation", 195, joined({word(42), word(0x7fffffff)}), 4,
         [](const Clients& c, Outputs&) { return c.app().setNRAttenuation(0x7fffffff); }},
        {.test = "GetNRAttenuation",
         .command = 195,
         .request = word(43),
         .replySize = 8,
         .call = [](const Clients& c,
                    Outputs& out) { return c.app().getNRAttenuation(out.at<int>()); },
         .results = number(18),
         .stored = number(18)},
        {.test = "GetNRAttenuationIntoNothing",
         .command = 195,
         .request = word(43),
         .replySize = 8,
         .call = [](const Clients& c, Outputs&) { return c.app().getNRAttenuation(nullptr); },
         .results = number(18)},
        {"SetReverbMode", 198, joined({word(50), word(6)}), 4,
         [](const Clients& c, Outputs&) {
             return c.app().setReverbMode(audio::audio_reverb_mode_e{6});
         }},
    };
}

std::vector<Row> recordRows() {
    return {
        {.test = "GetEqualizerSpectrum",
         .command = 198,
         .request = word(11),
         .replySize = 20,
         .call =
             [](const Clients& c, Outputs& out) {
                 return c.app().getEqualizerSpectrum(out.at<audio::audio_eq_spectrum_t>());
             },
         .results = pattern(16),
         .stored = pattern(16)},
        {"SetEqualizer", 198, joined({word(35), pattern(564)}), 4,
         [](const Clients& c, Outputs&) {
             auto equalizer = recordOf<audio::audio_ext_eq_parameter_t>(pattern(564));
             return c.app().setEqualizer(&equalizer);
         }},
        {.test = "GetEqualizer",
         .command = 198,
         .request = joined({word(36), word(0xa1b2c3d4)}),
         .replySize = 568,
         .call =
             [](const Clients& c, Outputs& out) {
                 out.prepare(0, word(0xa1b2c3d4));
                 return c.app().getEqualizer(out.at<audio::audio_ext_eq_parameter_t>());
             },
         .results = pattern(564),
         .stored = pattern(564)},
        {"SetNLPConfig", 198, joined({word(44), pattern(16)}), 4,
         [](const Clients& c, Outputs&) {
             auto configuration = recordOf<audio::audio_nlp_config_t>(pattern(16));
             return c.app().setNLPConfig(&configuration);
         }},
        {.test = "GetNLPConfig",
         .command = 198,
         .request = joined({word(45), word(3)}),
         .replySize = 20,
         .call =
             [](const Clients& c, Outputs& out) {
                 out.prepare(0, word(3));
                 return c.app().getNLPConfig(out.at<audio::audio_nlp_config_t>());
             },
         .results = pattern(16),
         .stored = pattern(16)},
        {"SetHandsfreeEQ", 198, joined({word(46), pattern(104)}), 4,
         [](const Clients& c, Outputs&) {
             auto equalizer = recordOf<audio::audio_handsfree_eq_t>(pattern(104));
             return c.app().setHandsfreeEQ(&equalizer);
         }},
        {.test = "GetHandsfreeEQ",
         .command = 198,
         .request = joined({word(47), word(5)}),
         .replySize = 108,
         .call =
             [](const Clients& c, Outputs& out) {
                 out.prepare(0, word(5));
                 return c.app().getHandsfreeEQ(out.at<audio::audio_handsfree_eq_t>());
             },
         .results = pattern(104),
         .stored = pattern(104)},
        {"SetDACGainControl", 198, joined({word(48), word(0xc0ffee11)}), 4,
         [](const Clients& c, Outputs&) {
             audio::audio_dacgain_ctrl_t control{0xc0ffee11};
             return c.app().setDACGainControl(&control);
         }},
        {.test = "GetOutPutDataEnergy",
         .command = 198,
         .request = word(34),
         .replySize = 20,
         .call =
             [](const Clients& c, Outputs& out) {
                 return c.app().getOutPutDataEnergy(out.at<audio::audio_out_data_energy_t>());
             },
         .results = pattern(16),
         .stored = pattern(16)},
    };
}

std::vector<Row> effectRows() {
    return {
        {"SetEffectEnabled", 198, joined({word(4096), text("main"), text("reverb"), byte(1)}), 4,
         [](const Clients& c, Outputs&) {
             return c.app().setEffectEnabled("main", "reverb", true);
         }},
        {"SetEffectEnabledOff", 198, joined({word(4096), text(CUT), text(CUT), byte(0)}), 4,
         [](const Clients& c, Outputs&) {
             return c.app().setEffectEnabled(LONG.c_str(), LONG.c_str(), false);
         }},
        {.test = "GetEffectEnabled",
         .command = 198,
         .request = joined({word(4097), text("alternative"), text(CUT)}),
         .replySize = 8,
         .call =
             [](const Clients& c, Outputs& out) {
                 return c.app().getEffectEnabled("alternative", LONG.c_str(), *out.at<bool>());
             },
         .results = {1, 2, 3, 4},
         .stored = {1}},
        {"SetEffectParameter", 198,
         joined({word(4098), text("main"), text("reverb"), word(5), pattern(5)}), 4,
         [](const Clients& c, Outputs& out) {
             out.prepare(0, joined({word(5), pattern(5)}));
             return c.app().setEffectParameter("main", "reverb", *out.at<audio::effect_param_t>());
         }},
        {.test = "GetEffectParameter",
         .command = 198,
         .request = joined({word(4099), text("main"), text("reverb"), word(5), pattern(5)}),
         .replySize = 13,
         .call =
             [](const Clients& c, Outputs& out) {
                 out.prepare(0, joined({word(5), pattern(5)}));
                 return c.app().getEffectParameter("main", "reverb",
                                                   *out.at<audio::effect_param_t>());
             },
         .results = joined({word(2), {50, 51, 52, 53, 54}}),
         .stored = joined({word(2), {50, 51, 52, 53, 54}})},
    };
}

}  // namespace

std::vector<Row> appRows() {
    std::vector<Row> rows;
    for (const auto& part : {numberRows(), recordRows(), effectRows()})
        rows.insert(rows.end(), part.begin(), part.end());
    for (Row& row : rows)
        row.type = 128;
    return rows;
}

}  // namespace cabinaudio::test
