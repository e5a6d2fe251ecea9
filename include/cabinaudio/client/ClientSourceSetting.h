// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioSetting.h>
#include <cabinaudio/foundation/AudioExport.h>

class RemoteCall;

/// The source settings that an application constructs itself; adds some operations.
class CABINAUDIO_API AudioSourceSetting : public audio::QVAudioSetting::Source {
public:
    /// The same as setAdcMuxPin().
    int setInputMuxPin(audio::audio_input_mux_id_e input,
                       audio::audio_input_select_pin_e pin) override;
    /// The same as getAdcMuxPin().
    int getInputMuxPin(audio::audio_input_mux_id_e input,
                       audio::audio_input_select_pin_e* pin) override;

    /// Selects the source of a seat. Does nothing and returns 0 when the environment variable
    /// USE_NEW_MAIN_AUDIO_SOURCE_MANAGEMENT, read on every call, has the numeric value 1: call
    /// setOutPutSource() then.
    /// @param seat    value defined by the server
    /// @param source  value defined by the server
    virtual int selectSource(audio_seat_id_e seat, audio_source_id_e source) = 0;
    /// Sets the audio state of the front seats. @param state  value defined by the server
    virtual int setFrontAudioState(audio_seat_state_e state) = 0;
    /// Sets the audio state of the rear seats. @param state  value defined by the server
    virtual int setRearAudioState(audio_seat_state_e state) = 0;
    /// Selects the pin of a converter's input.
    virtual int setAdcMuxPin(audio::audio_input_mux_id_e input,
                             audio::audio_input_select_pin_e pin) = 0;
    /// @param input  converter input
    /// @param pin    gets the server's value; null is refused
    virtual int getAdcMuxPin(audio::audio_input_mux_id_e input,
                             audio::audio_input_select_pin_e* pin) = 0;
    /// Reads the server's information about the tracks of outputs.
    /// @param tag         mask; if both low bits are 0, nothing is sent and 0 returned
    /// @param parameters  room for 20 records, all of which are overwritten; null is refused
    /// @param count       gets the number of tracks that the server reports, unchecked; null
    ///                    discards it
    virtual int getOutputTrackInfo(audio::audio_output_src_tag_e tag,
                                   audio::audio_output_src_parameter_t* parameters, int* count) = 0;
};

/// The source settings over a separate connection. See audio::QVAudioSetting::Source.
class CABINAUDIO_API ClientSourceSetting : public AudioSourceSetting {
public:
    /// Connects to the server; blocks until it has answered. Does not report a failure: without a
    /// server, requests return 1.
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

    /// Disconnects. Ends a request in which another thread is blocked, waits until that thread has
    /// left it, and joins the object's two threads.
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
    char mOutPutSourceName[64];      // result of the last getOutPutSource()
    char mInputDestinationName[64];  // result of the last getInputDestination()
};
