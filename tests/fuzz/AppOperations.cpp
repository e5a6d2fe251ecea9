// SPDX-License-Identifier: Apache-2.0
#include "tests/fuzz/Operations.h"

#include <cstddef>
#include <cstring>
#include <memory>

namespace cabinaudio::fuzz {

namespace {

using A = ClientAppSetting;
using R = ClientAudioRecordControl;
using audio::audio_channel_idx_e;

/// A parameter block of 0 to 255 bytes of data, at the end of its heap block.
class EffectBlock {
public:
    explicit EffectBlock(Input& in)
        : mSize(in.byte()),
          mWords(std::make_unique<std::uint8_t[]>(sizeof(std::uint32_t) + mSize)) {
        std::memcpy(mWords.get(), &mSize, sizeof mSize);
        for (std::uint32_t i = 0; i < mSize; ++i)
            mWords[sizeof mSize + i] = static_cast<std::uint8_t>(i);
    }
    [[nodiscard]] audio::effect_param_t& get() {
        return *reinterpret_cast<audio::effect_param_t*>(mWords.get());
    }

private:
    std::uint32_t mSize;
    std::unique_ptr<std::uint8_t[]> mWords;
};

template <typename Record, int (A::*CALL)(Record*)>
void callRecord(A& app, Input& in, Peer&) {
    auto record = std::make_unique<Record>(in.number<Record>());
    (app.*CALL)(in.orNull(record.get()));
}

template <int (A::*SET)(int)>
void setNumber(A& app, Input& in, Peer&) {
    (app.*SET)(in.number<std::int32_t>());
}

template <int (A::*GET)(int*)>
void getNumber(A& app, Input& in, Peer&) {
    int value = 0;
    (app.*GET)(in.orNull(&value));
}

template <int (A::*CALL)()>
void call(A& app, Input&, Peer&) {
    (app.*CALL)();
}

/// Operations without effect look at no argument.
template <typename Record, int (A::*CALL)(Record*)>
void withNull(A& app, Input&, Peer&) {
    (app.*CALL)(nullptr);
}

void getDownlinkDelayEstimation(A& app, Input& in, Peer&) {
    const auto halves = std::make_unique<short[]>(2);  // no more than the four bytes it stores
    app.getDownlinkDelayEstimation(in.orNull(halves.get()));
}

void setSpeakerDelay(A& app, Input& in, Peer&) {
    const auto channel = in.enumerator<audio_channel_idx_e>();
    app.setSpeakerDelay(channel, in.number<float>());
}

void getSpeakerDelay(A& app, Input& in, Peer&) {
    float delay = 0;
    const auto channel = in.enumerator<audio_channel_idx_e>();
    app.getSpeakerDelay(channel, in.orNull(&delay));
}

void getQualityOfAEC(A& app, Input& in, Peer&) {
    audio::audio_aec_quality_e quality{};
    app.getQualityOfAEC(in.orNull(&quality));
}

void setEffectEnabled(A& app, Input& in, Peer&) {
    const char* const tag = in.tag();
    const char* const effect = in.text();
    app.setEffectEnabled(tag, effect, in.flag());
}

void getEffectEnabled(A& app, Input& in, Peer&) {
    bool on = false;
    const char* const tag = in.tag();
    app.getEffectEnabled(tag, in.text(), on);
}

void setEffectParameter(A& app, Input& in, Peer&) {
    EffectBlock block(in);
    const char* const tag = in.tag();
    app.setEffectParameter(tag, in.text(), block.get());
}

void getEffectParameter(A& app, Input& in, Peer&) {
    EffectBlock block(in);
    const char* const tag = in.tag();
    app.getEffectParameter(tag, in.text(), block.get());
}

void setCaptureEffect(R& record, Input& in, Peer&) {
    EffectBlock block(in);
    const char* const tag = in.orNull(in.tag());
    record.set(tag, in.orNull(in.text()), block.get());
}

void getCaptureEffect(R& record, Input& in, Peer&) {
    EffectBlock block(in);
    const char* const tag = in.orNull(in.tag());
    record.get(tag, in.orNull(in.text()), block.get());
}

}  // namespace

const std::vector<Operation<ClientAppSetting>>& operationsOf(const ClientAppSetting*) {
    using namespace audio;
    static const std::vector<Operation<ClientAppSetting>> OPERATIONS = {
        {"setFilter", Requests::NONE, withNull<audio_filter_parameter_t, &A::setFilter>},
        {"getFilter", Requests::NONE, withNull<audio_filter_parameter_t, &A::getFilter>},
        {"setBassTreble", Requests::NONE, withNull<audio_bt_parameter_t, &A::setBassTreble>},
        {"getBassTreble", Requests::NONE, withNull<audio_bt_parameter_t, &A::getBassTreble>},
        {"setLoudness", Requests::NONE, withNull<audio_loudness_parameter_t, &A::setLoudness>},
        {"setLoudness(extended)", Requests::NONE,
         withNull<audio_ext_loudness_parameter_t, &A::setLoudness>},
        {"getLoudness", Requests::NONE, withNull<audio_loudness_parameter_t, &A::getLoudness>},
        {"setEqualizer(old)", Requests::NONE, withNull<audio_eq_parameter_t, &A::setEqualizer>},
        {"getEqualizer(old)", Requests::NONE, withNull<audio_eq_parameter_t, &A::getEqualizer>},
        {"getEqualizerQValueTable", Requests::NONE,
         withNull<audio_eq_qvalue_table_t, &A::getEqualizerQValueTable>},
        {"getEqualizerCfTable", Requests::NONE,
         withNull<audio_eq_cf_table_t, &A::getEqualizerCfTable>},
        {"getEqualizerSpectrum", Requests::ONE,
         callRecord<audio_eq_spectrum_t, &A::getEqualizerSpectrum>},
        {"enableDps", Requests::NONE, call<&A::enableDps>},
        {"disableDps", Requests::NONE, call<&A::disableDps>},
        {"setDpsProfile", Requests::NONE,
         [](A& a, Input& in, Peer&) { a.setDpsProfile(in.enumerator<audio_dps_profile_id_e>()); }},
        {"enableDpsStereoCtrl", Requests::NONE, call<&A::enableDpsStereoCtrl>},
        {"disableDpsStereoCtrl", Requests::NONE, call<&A::disableDpsStereoCtrl>},
        {"setDpsUserGain", Requests::NONE,
         [](A& a, Input& in, Peer&) { a.setDpsUserGain(in.gain()); }},
        {"getDpsUserGain", Requests::NONE, withNull<float, &A::getDpsUserGain>},
        {"setDpsUserEq", Requests::NONE, withNull<audio_dps_user_eq_parameter_t, &A::setDpsUserEq>},
        {"getDpsUserEq", Requests::NONE, withNull<audio_dps_user_eq_parameter_t, &A::getDpsUserEq>},
        {"setQualityOfSound", Requests::NONE,
         withNull<audio_sound_quality_t, &A::setQualityOfSound>},
        {"getQualityOfSound", Requests::NONE,
         withNull<audio_sound_quality_t, &A::getQualityOfSound>},
        {"setSpeakerDelay", Requests::ONE, setSpeakerDelay},
        {"getSpeakerDelay", Requests::ONE, getSpeakerDelay},
        {"setQualityOfAEC", Requests::ONE,
         [](A& a, Input& in, Peer&) { a.setQualityOfAEC(in.enumerator<audio_aec_quality_e>()); }},
        {"getQualityOfAEC", Requests::ONE, getQualityOfAEC},
        {"setUplinkConfig", Requests::NONE, withNull<audio_uplink_config_t, &A::setUplinkConfig>},
        {"setEqualizerType", Requests::NONE,
         [](A& a, Input& in, Peer&) { a.setEqualizerType(in.enumerator<audio_eq_type>()); }},
        {"enableByPassMode", Requests::ONE, call<&A::enableByPassMode>},
        {"disableByPassMode", Requests::ONE, call<&A::disableByPassMode>},
        {"setEqualizer", Requests::ONE, callRecord<audio_ext_eq_parameter_t, &A::setEqualizer>},
        {"getEqualizer", Requests::ONE, callRecord<audio_ext_eq_parameter_t, &A::getEqualizer>},
        {"setDownlinkDelayEstimation", Requests::ONE, call<&A::setDownlinkDelayEstimation>},
        {"getDownlinkDelayEstimation", Requests::ONE, getDownlinkDelayEstimation},
        {"setSurround", Requests::NONE, [](A& a, Input& in, Peer&) { a.setSurround(in.flag()); }},
        {"setDuplexOfAEC", Requests::ONE, setNumber<&A::setDuplexOfAEC>},
        {"getDuplexOfAEC", Requests::ONE, getNumber<&A::getDuplexOfAEC>},
        {"setNRAttenuation", Requests::ONE, setNumber<&A::setNRAttenuation>},
        {"getNRAttenuation", Requests::ONE, getNumber<&A::getNRAttenuation>},
        {"setNLPConfig", Requests::ONE, callRecord<audio_nlp_config_t, &A::setNLPConfig>},
        {"getNLPConfig", Requests::ONE, callRecord<audio_nlp_config_t, &A::getNLPConfig>},
        {"setHandsfreeEQ", Requests::ONE, callRecord<audio_handsfree_eq_t, &A::setHandsfreeEQ>},
        {"getHandsfreeEQ", Requests::ONE, callRecord<audio_handsfree_eq_t, &A::getHandsfreeEQ>},
        {"setDACGainControl", Requests::ONE,
         callRecord<audio_dacgain_ctrl_t, &A::setDACGainControl>},
        {"setDACSampleRateCtrl", Requests::NONE,
         [](A& a, Input& in, Peer&) {
             a.setDACSampleRateCtrl(in.enumerator<audio_int_dac_sample_rate_e>());
         }},
        {"getOutPutDataEnergy", Requests::ONE,
         callRecord<audio_out_data_energy_t, &A::getOutPutDataEnergy>},
        {"setReverbMode", Requests::ONE,
         [](A& a, Input& in, Peer&) { a.setReverbMode(in.enumerator<audio_reverb_mode_e>()); }},
        {"setEffectEnabled", Requests::ONE, setEffectEnabled},
        {"getEffectEnabled", Requests::ONE, getEffectEnabled},
        {"setEffectParameter", Requests::ONE, setEffectParameter},
        {"getEffectParameter", Requests::ONE, getEffectParameter},
    };
    return OPERATIONS;
}

const std::vector<Operation<ClientAudioRecordControl>>& operationsOf(
    const ClientAudioRecordControl*) {
    static const std::vector<Operation<ClientAudioRecordControl>> OPERATIONS = {
        {"set", Requests::ONE, setCaptureEffect},
        {"get", Requests::ONE, getCaptureEffect},
    };
    return OPERATIONS;
}

}  // namespace cabinaudio::fuzz
