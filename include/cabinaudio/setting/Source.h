// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioSettingTypes.h>
#include <cabinaudio/foundation/AudioExport.h>

#include <string>
#include <vector>

namespace audio::QVAudioSetting {

/// Sources and routing: the sources of outputs, the destinations of inputs, active tracks, and the
/// converters' connections. For statuses, waits and threads see QVAudioSetting.h.
class CABINAUDIO_API Source {
public:
    /// Selects the source of an output. Null strings and strings of 64 bytes or more are refused.
    /// @param source  name of the source
    /// @param tag     of the output
    virtual int setOutPutSource(const char* source, const char* tag) = 0;
    /// @param tag  of the output; null and 64 bytes or more are refused
    /// @return name of the output's source; null when the tag is refused or the request fails. The
    ///         object owns the string: it is valid for the object's lifetime, and the next
    ///         successful call overwrites it. The server's status is ignored: the name is empty
    ///         when the server refuses.
    virtual const char* getOutPutSource(const char* tag) = 0;
    /// Appends the names of the active tracks of an output to `names`, 32 at most.
    /// @param tag    of the output; null is refused, and at most 63 bytes are sent
    /// @param names  at most 32 are added; existing entries stay
    /// @return whether the request went through: the server's status is ignored
    virtual int getActiveTracksName(const char* tag, std::vector<std::string>& names) = 0;
    /// @param tag   of the output; null is refused, and at most 63 bytes are sent
    /// @param name  of the track; same limits as `tag`
    /// @param type  gets the stream type of the track
    /// @return whether the request went through: the server's status is ignored
    virtual int getTrackStreamType(const char* tag, const char* name, std::string& type) = 0;
    /// Selects the destination of an input. Null strings and strings of 64 bytes or more are
    /// refused.
    virtual int setInputDestination(const char* tag, const char* destination) = 0;
    /// @param tag  "uplink"; all others are refused
    /// @return name of the input's destination; otherwise as getOutPutSource()
    virtual const char* getInputDestination(const char* tag) = 0;
    /// Makes the server log the sources of an output. @param tag  as getOutPutSource()
    virtual int dumpOutPutSourceList(const char* tag) = 0;
    /// Makes the server log the destinations of an input.
    /// @param tag  shorter than 64 bytes
    virtual int dumpInputDestinationList(const char* tag) = 0;
    /// Selects the pin of a converter's input.
    /// @param input  converter input
    /// @param pin    value defined by the server
    virtual int setInputMuxPin(audio_input_mux_id_e input, audio_input_select_pin_e pin) = 0;
    /// @param input  converter input
    /// @param pin    gets the server's value; null is refused
    virtual int getInputMuxPin(audio_input_mux_id_e input, audio_input_select_pin_e* pin) = 0;
    /// Deprecated, without effect. @return 0
    virtual int setExtAdcEnable(audio_input_mux_id_e input, char on) = 0;
    /// Sets the source of each converter output. @param table  six entries, 10 at most; null is
    /// refused
    virtual int setDacOutPutMapping(audio_dac_output_mapping_tbl_t* table) = 0;
    /// @param table  null is refused
    virtual int getDacOutPutMapping(audio_dac_output_mapping_tbl_t* table) = 0;
    /// Sets the source of each slot of the serial bus.
    /// @param table  eight entries, 10 at most; null is refused
    virtual int setI2sOutPutMapping(audio_i2s_output_mapping_tbl_t* table) = 0;
    /// @param table  null is refused
    virtual int getI2sOutPutMapping(audio_i2s_output_mapping_tbl_t* table) = 0;
    /// Swaps left and right of the converter's input.
    virtual int setAdcLeftRightSwitch(bool on) = 0;
    /// Plays a test pattern on a loudspeaker.
    /// @param channel  mask of loudspeakers
    /// @param pattern  value defined by the server
    virtual int setMainAudioSpeakerTestPattern(audio_channel_idx_e channel,
                                               audio_speaker_test_pattern_e pattern) = 0;
    /// Plays a tone on a loudspeaker.
    /// @param channel    mask of loudspeakers
    /// @param frequency  1 to 47999 Hz
    virtual int setMainAudioSpeakerTestPattern(audio_channel_idx_e channel, int frequency) = 0;
    /// Configures the PCM hardware interface. @param configuration  null is refused
    virtual int configurePcmHwInterface(audio_pcm_hw_intf_cfg_t* configuration) = 0;
    /// Switches the PCM hardware interface on or off.
    virtual int enablePcmHwInterface(bool on) = 0;
    /// Selects the loudspeakers that play. @param channel  mask
    virtual int setSpeakerOutPut(audio_channel_idx_e channel) = 0;
    /// @param tag  of the output; as getOutPutSource()
    /// @return number of sources of the output; the status when it is not 0; 1 when the request did
    ///         not go through, which looks the same as one source
    virtual int getActivedSourceNumber(const char* tag) = 0;
    /// @param delay  in a unit defined by the server
    virtual int setHandsfreeDelay(int delay) = 0;
    /// Sets the sample rates that the output may use. @param capability  0 to 5
    virtual int setSamplerateCapability(audio_samplerate_capability_e capability) = 0;
    /// Deprecated, without effect. @return 0
    virtual int setAdcPrcMode(bool on) = 0;
    /// Sets the format of the serial bus.
    /// @param select  group of settings; value defined by the server
    /// @param format  null is refused
    virtual int setI2sFormatAndConfig(audio_i2s_select_param_e select,
                                      audio_i2s_format_parameter_t* format) = 0;
    /// Deprecated, without effect. @return 0
    virtual int setAdcPinIntoGPIO(bool on) = 0;
    /// Appends the server's information about the tracks of outputs, 20 at most.
    /// @param tag   mask; if both low bits are 0, nothing is sent and 0 returned
    /// @param list  at most 20 are added; existing entries stay
    virtual int getOutPutTrackInfoList(audio_output_src_tag_e tag,
                                       std::vector<audio_output_src_parameter_t>& list) = 0;
    /// @param hardware  value defined by the server
    /// @param energy    gets the energy of its signal; null is refused
    virtual int getHWSignalEnergy(audio_hw_type_e hardware, unsigned* energy) = 0;
    /// Deprecated, without effect. @return 0
    virtual int setAlterLatency(int latency) = 0;
    /// Switches the hardware's automatic ramps on or off.
    virtual int setHwAutoRampMode(bool on) = 0;
    /// @param channel  gets the mask of the loudspeakers that play; null discards it
    virtual int getSpeakerOutPut(audio_channel_idx_e* channel) = 0;
    /// Appends the server's information about the active tracks, 32 at most.
    /// @return whether the request went through: the server's status is ignored
    virtual int getActiveTracksInfo(std::vector<audio_track_info_t>& list) = 0;

    virtual ~Source() = default;
};

}  // namespace audio::QVAudioSetting
