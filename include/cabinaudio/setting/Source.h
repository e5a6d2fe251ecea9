// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioSettingTypes.h>
#include <cabinaudio/foundation/AudioExport.h>

#include <string>
#include <vector>

namespace audio::QVAudioSetting {

/// Sources and routing: what feeds the outputs, where the inputs go, what is active, and the
/// converters' connections. Statuses, waits and threads: QVAudioSetting.h.
class CABINAUDIO_API Source {
public:
    /// Selects what an output plays. Texts of 64 bytes or more and null ones are refused.
    /// @param source  name of the source
    /// @param tag     of the output
    virtual int setOutPutSource(const char* source, const char* tag) = 0;
    /// @param tag  of the output; null is refused, and so are 64 bytes or more
    /// @return name of what the output plays; null when the tag is refused or the request fails. It
    ///         is the object's: valid as long as that, and changed by the next call that succeeds.
    ///         The server's status is not looked at: the name is empty when it refuses.
    virtual const char* getOutPutSource(const char* tag) = 0;
    /// Appends the names of the active tracks of an output to `names`, 32 at most.
    /// @param tag    of the output; null is refused, and 63 bytes are sent at most
    /// @param names  32 at most are added; what it has stays
    /// @return whether the request went through; the server's status is not looked at
    virtual int getActiveTracksName(const char* tag, std::vector<std::string>& names) = 0;
    /// @param tag   of the output; null is refused, and 63 bytes are sent at most
    /// @param name  of the track; as the tag
    /// @param type  gets the stream type of the track
    /// @return whether the request went through; the server's status is not looked at
    virtual int getTrackStreamType(const char* tag, const char* name, std::string& type) = 0;
    /// Selects where an input goes. Texts of 64 bytes or more and null ones are refused.
    virtual int setInputDestination(const char* tag, const char* destination) = 0;
    /// @param tag  "uplink"; all others are refused
    /// @return as getOutPutSource(), where the input goes
    virtual const char* getInputDestination(const char* tag) = 0;
    /// Has the server write the sources of an output into its log. @param tag  as getOutPutSource()
    virtual int dumpOutPutSourceList(const char* tag) = 0;
    /// Has the server write the destinations of an input into its log.
    /// @param tag  shorter than 64 bytes
    virtual int dumpInputDestinationList(const char* tag) = 0;
    /// Selects the pin of a converter's input.
    /// @param input  which one
    /// @param pin    the server's number
    virtual int setInputMuxPin(audio_input_mux_id_e input, audio_input_select_pin_e pin) = 0;
    /// @param input  which one
    /// @param pin    gets the server's number; null is refused
    virtual int getInputMuxPin(audio_input_mux_id_e input, audio_input_select_pin_e* pin) = 0;
    /// Deprecated, without effect. @return 0
    virtual int setExtAdcEnable(audio_input_mux_id_e input, char on) = 0;
    /// What each converter output plays. @param table  six entries, 10 at most; null is refused
    virtual int setDacOutPutMapping(audio_dac_output_mapping_tbl_t* table) = 0;
    /// @param table  null is refused
    virtual int getDacOutPutMapping(audio_dac_output_mapping_tbl_t* table) = 0;
    /// What each slot of the serial bus plays.
    /// @param table  eight entries, 10 at most; null is refused
    virtual int setI2sOutPutMapping(audio_i2s_output_mapping_tbl_t* table) = 0;
    /// @param table  null is refused
    virtual int getI2sOutPutMapping(audio_i2s_output_mapping_tbl_t* table) = 0;
    /// Exchanges left and right of the converter's input.
    virtual int setAdcLeftRightSwitch(bool on) = 0;
    /// Plays a test pattern on a loudspeaker.
    /// @param channel  which ones, a mask
    /// @param pattern  the server's number
    virtual int setMainAudioSpeakerTestPattern(audio_channel_idx_e channel,
                                               audio_speaker_test_pattern_e pattern) = 0;
    /// Plays a tone on a loudspeaker.
    /// @param channel    which ones, a mask
    /// @param frequency  1 to 47999 Hz
    virtual int setMainAudioSpeakerTestPattern(audio_channel_idx_e channel, int frequency) = 0;
    /// Settings of the PCM hardware interface. @param configuration  null is refused
    virtual int configurePcmHwInterface(audio_pcm_hw_intf_cfg_t* configuration) = 0;
    /// Switches the PCM hardware interface.
    virtual int enablePcmHwInterface(bool on) = 0;
    /// Selects the loudspeakers that are heard. @param channel  mask
    virtual int setSpeakerOutPut(audio_channel_idx_e channel) = 0;
    /// @param tag  of the output; as getOutPutSource()
    /// @return how many sources the output has; the status when it is not 0, or 1 when the request
    ///         did not go through: a number of 1 looks the same
    virtual int getActivedSourceNumber(const char* tag) = 0;
    /// @param delay  in the server's unit
    virtual int setHandsfreeDelay(int delay) = 0;
    /// Sample rates that the output may take. @param capability  0 to 5
    virtual int setSamplerateCapability(audio_samplerate_capability_e capability) = 0;
    /// Deprecated, without effect. @return 0
    virtual int setAdcPrcMode(bool on) = 0;
    /// Format of the serial bus.
    /// @param select  which settings, the server's number
    /// @param format  null is refused
    virtual int setI2sFormatAndConfig(audio_i2s_select_param_e select,
                                      audio_i2s_format_parameter_t* format) = 0;
    /// Deprecated, without effect. @return 0
    virtual int setAdcPinIntoGPIO(bool on) = 0;
    /// Appends what the server tells about the tracks of outputs, 20 at most.
    /// @param tag   mask; without its two low bits nothing is asked, and 0 returned
    /// @param list  20 at most are added; what it has stays
    virtual int getOutPutTrackInfoList(audio_output_src_tag_e tag,
                                       std::vector<audio_output_src_parameter_t>& list) = 0;
    /// @param hardware  which piece, the server's number
    /// @param energy    gets the energy of its signal; null is refused
    virtual int getHWSignalEnergy(audio_hw_type_e hardware, unsigned* energy) = 0;
    /// Deprecated, without effect. @return 0
    virtual int setAlterLatency(int latency) = 0;
    /// Switches the hardware's own ramps.
    virtual int setHwAutoRampMode(bool on) = 0;
    /// @param channel  gets the mask of the loudspeakers that are heard; null drops it
    virtual int getSpeakerOutPut(audio_channel_idx_e* channel) = 0;
    /// Appends what the server tells about the active tracks, 32 at most.
    /// @return whether the request went through; the server's status is not looked at
    virtual int getActiveTracksInfo(std::vector<audio_track_info_t>& list) = 0;

    virtual ~Source() = default;
};

}  // namespace audio::QVAudioSetting
