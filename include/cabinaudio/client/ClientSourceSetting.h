// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioSetting.h>
#include <cabinaudio/foundation/AudioExport.h>

class RemoteCall;

/// The source settings, as an application constructs them itself: some more operations.
class CABINAUDIO_API AudioSourceSetting : public audio::QVAudioSetting::Source {
public:
    /// The same as setAdcMuxPin().
    int setInputMuxPin(audio::audio_input_mux_id_e input,
                       audio::audio_input_select_pin_e pin) override;
    /// The same as getAdcMuxPin().
    int getInputMuxPin(audio::audio_input_mux_id_e input,
                       audio::audio_input_select_pin_e* pin) override;

    /// Selects what a seat hears. Does nothing and returns 0 where the environment variable
    /// USE_NEW_MAIN_AUDIO_SOURCE_MANAGEMENT reads as the number 1, which is looked up on every
    /// call: call setOutPutSource() there.
    /// @param seat    the server's number
    /// @param source  the server's number
    virtual int selectSource(audio_seat_id_e seat, audio_source_id_e source) = 0;
    /// What the front seats' audio does. @param state  the server's number
    virtual int setFrontAudioState(audio_seat_state_e state) = 0;
    /// What the rear seats' audio does. @param state  the server's number
    virtual int setRearAudioState(audio_seat_state_e state) = 0;
    /// Selects the pin of a converter's input.
    virtual int setAdcMuxPin(audio::audio_input_mux_id_e input,
                             audio::audio_input_select_pin_e pin) = 0;
    /// @param input  which one
    /// @param pin    gets the server's number; null is refused
    virtual int getAdcMuxPin(audio::audio_input_mux_id_e input,
                             audio::audio_input_select_pin_e* pin) = 0;
    /// What the server tells about the tracks of outputs.
    /// @param tag         mask; without its two low bits nothing is asked, and 0 returned
    /// @param parameters  room for 20 records, all of which are overwritten; null is refused
    /// @param count       gets how many the server says there are, unchecked; null drops it
    virtual int getOutputTrackInfo(audio::audio_output_src_tag_e tag,
                                   audio::audio_output_src_parameter_t* parameters, int* count) = 0;
};

/// The source settings over a connection of their own. See audio::QVAudioSetting::Source.
class CABINAUDIO_API ClientSourceSetting : public AudioSourceSetting {
public:
    /// Connects to the server; blocks until it has answered. Reports nothing: without a server the
    /// first operation returns 1.
    ClientSourceSetting() noexcept;
    ClientSourceSetting(const ClientSourceSetting&) = delete;
    ClientSourceSetting& operator=(const ClientSourceSetting&) = delete;

    int setOutPutSource(const char* source, const char* tag) override;
    const char* getOutPutSource(const char* tag) override;
    int getActiveTracksName(const char* tag, std::vector<std::string>& names) override;
    int getTrackStreamType(const char* tag, const char* name, std::string& type) override;
    int setInputDestination(const char* tag, const char* destination) override;
    const char* getInputDestination(const char* tag) override;
    int dumpOutPutSourceList(const char* tag) override;
    int dumpInputDestinationList(const char* tag) override;
    int setExtAdcEnable(audio::audio_input_mux_id_e input, char on) override;
    int setDacOutPutMapping(audio::audio_dac_output_mapping_tbl_t* table) override;
    int getDacOutPutMapping(audio::audio_dac_output_mapping_tbl_t* table) override;
    int setI2sOutPutMapping(audio::audio_i2s_output_mapping_tbl_t* table) override;
    int getI2sOutPutMapping(audio::audio_i2s_output_mapping_tbl_t* table) override;
    int setAdcLeftRightSwitch(bool on) override;
    int setMainAudioSpeakerTestPattern(audio::audio_channel_idx_e channel,
                                       audio::audio_speaker_test_pattern_e pattern) override;
    int setMainAudioSpeakerTestPattern(audio::audio_channel_idx_e channel, int frequency) override;
    int configurePcmHwInterface(audio::audio_pcm_hw_intf_cfg_t* configuration) override;
    int enablePcmHwInterface(bool on) override;
    int setSpeakerOutPut(audio::audio_channel_idx_e channel) override;
    int getActivedSourceNumber(const char* tag) override;
    int setHandsfreeDelay(int delay) override;
    int setSamplerateCapability(audio::audio_samplerate_capability_e capability) override;
    int setAdcPrcMode(bool on) override;
    int setI2sFormatAndConfig(audio::audio_i2s_select_param_e select,
                              audio::audio_i2s_format_parameter_t* format) override;
    int setAdcPinIntoGPIO(bool on) override;
    int getOutPutTrackInfoList(audio::audio_output_src_tag_e tag,
                               std::vector<audio::audio_output_src_parameter_t>& list) override;
    int getHWSignalEnergy(audio::audio_hw_type_e hardware, unsigned* energy) override;
    int setAlterLatency(int latency) override;
    int setHwAutoRampMode(bool on) override;
    int getSpeakerOutPut(audio::audio_channel_idx_e* channel) override;
    int getActiveTracksInfo(std::vector<audio::audio_track_info_t>& list) override;

    /// Disconnects. Ends a request that another thread still waits in, and waits for that thread to
    /// have left it, and for both of the object's own threads.
    ~ClientSourceSetting() override;

    int selectSource(audio_seat_id_e seat, audio_source_id_e source) override;
    int setFrontAudioState(audio_seat_state_e state) override;
    int setRearAudioState(audio_seat_state_e state) override;
    int setAdcMuxPin(audio::audio_input_mux_id_e input,
                     audio::audio_input_select_pin_e pin) override;
    int getAdcMuxPin(audio::audio_input_mux_id_e input,
                     audio::audio_input_select_pin_e* pin) override;
    int getOutputTrackInfo(audio::audio_output_src_tag_e tag,
                           audio::audio_output_src_parameter_t* parameters, int* count) override;

private:
    RemoteCall* mRc;
    char mOutPutSourceName[64];      // what the last getOutPutSource() returned
    char mInputDestinationName[64];  // what the last getInputDestination() returned
};
