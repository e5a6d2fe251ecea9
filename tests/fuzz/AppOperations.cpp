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
    [[nodiscard]] std::uint32_t size() const { return mSize; }
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

void getEffectParameter(A& app, Input& in, Peer& peer) {
    EffectBlock block(in);
    peer.wants(block.size() + 8);
    const char* const tag = in.tag();
    app.getEffectParameter(tag, in.text(), block.get());
}

void setCaptureEffect(R& record, Input& in, Peer&) {
    EffectBlock block(in);
    const char* const tag = in.orNull(in.tag());
    record.set(tag, in.orNull(in.text()), block.get());
}

void getCaptureEffect(R& record, Input& in, Peer& peer) {
    EffectBlock block(in);
    peer.wants(block.size() + 8);
    const char* const tag = in.orNull(in.tag());
    record.get(tag, in.orNull(in.text()), block.get());
}

}  // namespace

const std::vector<Operation<ClientAppSetting>>& operationsOf(const ClientAppSetting*) {
    using namespace audio;
    static const std::vector<Operation<ClientAppSetting>> OPERATIONS = {
        {"setFilter", 0, true, withNull<audio_filter_parameter_t, &A::setFilter>},
        {"getFilter", 0, true, withNull<audio_filter_parameter_t, &A::getFilter>},
        {"setBassTreble", 0, true, withNull<audio_bt_parameter_t, &A::setBassTreble>},
        {"getBassTreble", 0, true, withNull<audio_bt_parameter_t, &A::getBassTreble>},
        {"setLoudness", 0, true, withNull<audio_loudness_parameter_t, &A::setLoudness>},
        {"setLoudness(extended)", 0, true,
         withNull<audio_ext_loudness_parameter_t, &A::setLoudness>},
        {"getLoudness", 0, true, withNull<audio_loudness_parameter_t, &A::getLoudness>},
        {"setEqualizer(old)", 0, true, withNull<audio_eq_parameter_t, &A::setEqualizer>},
        {"getEqualizer(old)", 0, true, withNull<audio_eq_parameter_t, &A::getEqualizer>},
        {"getEqualizerQValueTable", 0, true,
         withNull<audio_eq_qvalue_table_t, &A::getEqualizerQValueTable>},
        {"getEqualizerCfTable", 0, true, withNull<audio_eq_cf_table_t, &A::getEqualizerCfTable>},
        {"getEqualizerSpectrum", 20, true,
         callRecord<audio_eq_spectrum_t, &A::getEqualizerSpectrum>},
        {"enableDps", 0, true, call<&A::enableDps>},
        {"disableDps", 0, true, call<&A::disableDps>},
        {"setDpsProfile", 0, true,
         [](A& a, Input& in, Peer&) { a.setDpsProfile(in.enumerator<audio_dps_profile_id_e>()); }},
        {"enableDpsStereoCtrl", 0, true, call<&A::enableDpsStereoCtrl>},
        {"disableDpsStereoCtrl", 0, true, call<&A::disableDpsStereoCtrl>},
        {"setDpsUserGain", 0, true, [](A& a, Input& in, Peer&) { a.setDpsUserGain(in.gain()); }},
        {"getDpsUserGain", 0, true, withNull<float, &A::getDpsUserGain>},
        {"setDpsUserEq", 0, true, withNull<audio_dps_user_eq_parameter_t, &A::setDpsUserEq>},
        {"getDpsUserEq", 0, true, withNull<audio_dps_user_eq_parameter_t, &A::getDpsUserEq>},
        {"setQualityOfSound", 0, true, withNull<audio_sound_quality_t, &A::setQualityOfSound>},
        {"getQualityOfSound", 0, true, withNull<audio_sound_quality_t, &A::getQualityOfSound>},
        {"setSpeakerDelay", 4, true, setSpeakerDelay},
        {"getSpeakerDelay", 8, true, getSpeakerDelay},
        {"setQualityOfAEC", 4, true,
         [](A& a, Input& in, Peer&) { a.setQualityOfAEC(in.enumerator<audio_aec_quality_e>()); }},
        {"getQualityOfAEC", 8, true, getQualityOfAEC},
        {"setUplinkConfig", 0, true, withNull<audio_uplink_config_t, &A::setUplinkConfig>},
        {"setEqualizerType", 0, true,
         [](A& a, Input& in, Peer&) { a.setEqualizerType(in.enumerator<audio_eq_type>()); }},
        {"enableByPassMode", 4, true, call<&A::enableByPassMode>},
        {"disableByPassMode", 4, true, call<&A::disableByPassMode>},
        {"setEqualizer", 4, true, callRecord<audio_ext_eq_parameter_t, &A::setEqualizer>},
        {"getEqualizer", 568, true, callRecord<audio_ext_eq_parameter_t, &A::getEqualizer>},
        {"setDownlinkDelayEstimation", 4, true, call<&A::setDownlinkDelayEstimation>},
        {"getDownlinkDelayEstimation", 8, true, getDownlinkDelayEstimation},
        {"setSurround", 0, true, [](A& a, Input& in, Peer&) { a.setSurround(in.flag()); }},
        {"setDuplexOfAEC", 4, true, setNumber<&A::setDuplexOfAEC>},
        {"getDuplexOfAEC", 8, true, getNumber<&A::getDuplexOfAEC>},
        {"setNRAttenuation", 4, true, setNumber<&A::setNRAttenuation>},
        {"getNRAttenuation", 8, true, getNumber<&A::getNRAttenuation>},
        {"setNLPConfig", 4, true, callRecord<audio_nlp_config_t, &A::setNLPConfig>},
        {"getNLPConfig", 20, true, callRecord<audio_nlp_config_t, &A::getNLPConfig>},
        {"setHandsfreeEQ", 4, true, callRecord<audio_handsfree_eq_t, &A::setHandsfreeEQ>},
        {"getHandsfreeEQ", 108, true, callRecord<audio_handsfree_eq_t, &A::getHandsfreeEQ>},
        {"setDACGainControl", 4, true, callRecord<audio_dacgain_ctrl_t, &A::setDACGainControl>},
        {"setDACSampleRateCtrl", 0, true,
         [](A& a, Input& in, Peer&) {
             a.setDACSampleRateCtrl(in.enumerator<audio_int_dac_sample_rate_e>());
         }},
        {"getOutPutDataEnergy", 20, true,
         callRecord<audio_out_data_energy_t, &A::getOutPutDataEnergy>},
        {"setReverbMode", 4, true,
         [](A& a, Input& in, Peer&) { a.setReverbMode(in.enumerator<audio_reverb_mode_e>()); }},
        {"setEffectEnabled", 4, true, setEffectEnabled},
        {"getEffectEnabled", 8, true, getEffectEnabled},
        {"setEffectParameter", 4, true, setEffectParameter},
        {"getEffectParameter", 8, true, getEffectParameter},
    };
    return OPERATIONS;
}

const std::vector<Operation<ClientAudioRecordControl>>& operationsOf(
    const ClientAudioRecordControl*) {
    static const std::vector<Operation<ClientAudioRecordControl>> OPERATIONS = {
        {"set", 4, true, setCaptureEffect},
        {"get", 8, true, getCaptureEffect},
    };
    return OPERATIONS;
}

}  // namespace cabinaudio::fuzz
