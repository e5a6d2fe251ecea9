// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioSettingTypes.h>
#include <cabinaudio/foundation/AudioExport.h>

#include <string>
#include <type_traits>
#include <vector>

namespace audio::QVAudioSetting {

/// Accepts numbers of types other than `unsigned char` and `float`, which have overloads of their
/// own; `bool` is not a volume.
template <typename Number>
using OtherNumber =
    std::enable_if_t<std::is_arithmetic_v<Number> && !std::is_same_v<Number, bool>, int>;

/// Converts such a number: an integer means steps, any other number dB. Integers outside 0 to 255
/// become 255, which every operation refuses.
template <typename Number>
constexpr auto volumeOf(Number number) {
    if constexpr (std::is_floating_point_v<Number>)
        return static_cast<float>(number);
    else
        return static_cast<unsigned char>(static_cast<unsigned long long>(number) > 255 ? 255
                                                                                        : number);
}

/// Accepts types that convert implicitly to `unsigned char`, including enumerations; `bool` is not
/// a volume.
template <typename Number>
using StepNumber = std::enable_if_t<std::is_convertible_v<Number, unsigned char> &&
                                        !std::is_class_v<Number> && !std::is_same_v<Number, bool>,
                                    int>;
template <typename Flag>
using NoVolume = std::enable_if_t<std::is_same_v<Flag, bool>, int>;

/// Converts such a number to steps; fractions are truncated. Numbers outside 0 to 255 become 255,
/// which every operation refuses.
template <typename Number>
constexpr unsigned char stepOf(Number number) {
    if constexpr (std::is_floating_point_v<Number>)
        return static_cast<unsigned char>(number >= 0 && number < 256 ? number : 255);
    else
        return static_cast<unsigned char>(static_cast<unsigned long long>(number) > 255 ? 255
                                                                                        : number);
}

/// Volumes, mutes, ducking, fade and balance, and the microphone's gains. For statuses, waits and
/// threads see QVAudioSetting.h.
///
/// Volumes come in steps (0 to 148) and in dB (-103.5 to 24.0). The server defines the size of a
/// step; in the development server a step is half a dB, step 100 is 0 dB and step 0 is silence.
/// `unsigned char` means steps, `float` means dB. Where both are accepted, an integer of any type
/// means steps and any other number dB: setMasterVolume(100), setMasterVolume(-10.5). Operations by
/// stream type have two names instead: setVolumeByStreamType() takes every number as steps,
/// setGainByStreamType() as dB. Pointers to results are never converted, and a literal null for a
/// result must be cast: `static_cast<float*>(nullptr)`.
///
/// Output paths are named "main", "second", "alternative" and "auxiliary"; strings must be shorter
/// than 64 bytes. A class that overrides one of several overloads hides the others; bring them back
/// with `using Volume::setMasterVolume;`.
class CABINAUDIO_API Volume {
public:
    /// Sets the ducking mode of the main audio. @param mode  value defined by the server
    virtual int setMainAudioDunkingMode(unsigned mode) = 0;
    /// Sets the gain of the main audio while ducked. @param volume  0 to 100
    virtual int setMainAudioDunkingTargetGain(unsigned char volume) = 0;
    /// As above. @param dB  -103.5 to 0.0
    virtual int setMainAudioDunkingTargetGain(float dB) = 0;
    /// As above. @param volume  integers are 0 to 100, others dB
    template <typename Number, OtherNumber<Number> = 0>
    int setMainAudioDunkingTargetGain(Number volume) {
        return setMainAudioDunkingTargetGain(volumeOf(volume));
    }

    /// @param volume  0 to 148 steps
    virtual int setMasterVolume(unsigned char volume) = 0;
    /// @param dB  -103.5 to 24.0
    virtual int setMasterVolume(float dB) = 0;
    /// As above. @param volume  integers are steps, others dB
    template <typename Number, OtherNumber<Number> = 0>
    int setMasterVolume(Number volume) {
        return setMasterVolume(volumeOf(volume));
    }
    /// @param volume  gets the steps; null is refused
    virtual int getMasterVolume(unsigned char* volume) = 0;
    /// @param dB  gets the gain; null is refused
    virtual int getMasterVolume(float* dB) = 0;

    /// @param gain  channel and steps, 0 to 148; null is refused
    virtual int setChannelGain(audio_channel_gain_t* gain) = 0;
    /// Sets the gain of a channel.
    /// @param channel  a single channel
    /// @param dB       -103.5 to 24.0
    virtual int setChannelGain(audio_channel_idx_e channel, float dB) = 0;
    /// @param gain  names the channel, gets channel and steps; null and channel 65535 are refused
    virtual int getChannelGain(audio_channel_gain_t* gain) = 0;
    /// @param channel  a single channel
    /// @param dB       gets the gain; null is refused
    virtual int getChannelGain(audio_channel_idx_e channel, float* dB) = 0;

    /// @param tag     "main", "alternative" or "auxiliary"
    /// @param name    of the track; null strings and strings of 64 bytes or more are refused
    /// @param volume  0 to 148 steps
    virtual int setTrackVolume(const char* tag, const char* name, unsigned char volume) = 0;
    /// As above.
    /// @param tag   as above
    /// @param name  of the track
    /// @param dB    -103.5 to 24.0
    virtual int setTrackVolume(const char* tag, const char* name, float dB) = 0;
    /// As above.
    /// @param tag     as above
    /// @param name    of the track
    /// @param volume  integers are steps, others dB
    template <typename Number, OtherNumber<Number> = 0>
    int setTrackVolume(const char* tag, const char* name, Number volume) {
        return setTrackVolume(tag, name, volumeOf(volume));
    }
    /// @param tag     "main", "alternative" or "auxiliary"; no pointer may be null
    /// @param name    of the track
    /// @param volume  gets the steps
    virtual int getTrackVolume(const char* tag, const char* name, unsigned char* volume) = 0;
    /// @param tag   "main", "alternative" or "auxiliary"; no pointer may be null
    /// @param name  of the track
    /// @param dB    gets the gain
    virtual int getTrackVolume(const char* tag, const char* name, float* dB) = 0;

    /// Deprecated, without effect. @return 0
    virtual int setSourceLevel(const char* tag, const char* name, float level) = 0;
    /// Deprecated, without effect. @return 0
    virtual int getSourceLevel(const char* tag, const char* name, float* level) = 0;

    /// Mutes an output path.
    /// @param tag     one of the four output paths; others and null are refused
    /// @param option  forwarded to the server
    virtual int mute(const char* tag, bool option) = 0;
    /// Unmutes an output path.
    /// @param tag     as above
    /// @param option  forwarded to the server
    virtual int demute(const char* tag, bool option) = 0;

    /// Distributes the sound over the seats. Sends four channel gains; nothing is rolled back when
    /// one fails.
    /// @param fade     -stepMax (all at the back) to stepMax (all at the front)
    /// @param balance  -stepMax (all at the left) to stepMax (all at the right)
    /// @param stepMax  2 to 100
    /// @return 0, or the bitwise OR of the four statuses: only a test against 0 is meaningful
    virtual int setFadeBalance(int fade, int balance, unsigned stepMax) = 0;

    /// Sets the gain of the telephone uplink in dB; only the server checks the range.
    virtual int setUpLinkGain(float dB) = 0;

    /// Sets the programmable gain of a converter's input; only the server checks the range.
    /// @param input  0 or 1
    /// @param left   dB
    /// @param right  dB
    virtual int setAdcPgaGain(audio_input_mux_id_e input, float left, float right) = 0;
    /// A null pointer discards its side, here and in the getters below.
    virtual int getAdcPgaGain(audio_input_mux_id_e input, float* left, float* right) = 0;
    /// Sets the gain of the operational amplifier in front of it.
    virtual int setAdcOpGain(audio_input_mux_id_e input, float left, float right) = 0;
    /// As getAdcPgaGain().
    virtual int getAdcOpGain(audio_input_mux_id_e input, float* left, float* right) = 0;

    /// Sets the gain of the microphones in whole dB, -24 to 46, rounded down and split between both
    /// amplifiers by gmic_gain_table. Two requests: the second is not sent when the first fails,
    /// and nothing is rolled back when the second fails.
    virtual int setMicAnalogGain(float left, float right) = 0;
    /// The sum of both amplifiers, rounded up to whole dB. Two requests: when one fails, nothing is
    /// stored and its status is returned.
    virtual int getMicAnalogGain(float* left, float* right) = 0;

    /// Sets the volume of the second audio. @param volume  0 to 148 steps
    virtual int setSecondAudioVolume(unsigned char volume) = 0;
    /// As above. @param dB  -103.5 to 24.0
    virtual int setSecondAudioVolume(float dB) = 0;
    /// As above. @param volume  integers are steps, others dB
    template <typename Number, OtherNumber<Number> = 0>
    int setSecondAudioVolume(Number volume) {
        return setSecondAudioVolume(volumeOf(volume));
    }
    /// @param volume  gets the steps; null is refused
    virtual int getSecondAudioVolume(unsigned char* volume) = 0;
    /// @param dB  gets the gain; null is refused
    virtual int getSecondAudioVolume(float* dB) = 0;

    /// Sets the volume of the alternative audio. @param volume  0 to 148 steps
    virtual int setAlterAudioVolume(unsigned char volume) = 0;
    /// As above. @param dB  -103.5 to 24.0
    virtual int setAlterAudioVolume(float dB) = 0;
    /// As above. @param volume  integers are steps, others dB
    template <typename Number, OtherNumber<Number> = 0>
    int setAlterAudioVolume(Number volume) {
        return setAlterAudioVolume(volumeOf(volume));
    }
    /// @param volume  gets the steps; null is refused
    virtual int getAlterAudioVolume(unsigned char* volume) = 0;
    /// @param dB  gets the gain; null is refused
    virtual int getAlterAudioVolume(float* dB) = 0;

    /// @param dB  gets the gain; null is refused
    virtual int getUpLinkGain(float* dB) = 0;

    /// @param tag    one of the four output paths; others and null are refused
    /// @param muted  gets whether the output path is muted
    virtual int getMuteState(const char* tag, bool& muted) = 0;

    /// Sets the volume of all streams of a type.
    /// @param type    null is refused. Setters send at most 64 bytes, getters 63
    /// @param volume  0 to 148 steps
    virtual int setVolumeByStreamType(const char* type, unsigned char volume) = 0;
    /// As above.
    /// @param type    as above
    /// @param volume  steps; a number outside 0 to 148 is refused, fractions are truncated
    template <typename Number, StepNumber<Number> = 0>
    int setVolumeByStreamType(const char* type, Number volume) {
        return setVolumeByStreamType(type, stepOf(volume));
    }
    template <typename Flag, NoVolume<Flag> = 0>
    int setVolumeByStreamType(const char* type, Flag volume) = delete;
    /// @param type    as above
    /// @param volume  gets the steps
    virtual int getVolumeByStreamType(const char* type, unsigned char& volume) = 0;
    /// Appends the names of the stream types to `list`, 32 at most.
    virtual int getStreamTypeList(std::vector<std::string>& list) = 0;

    /// Ducks all audio except prompts. @param percent  0 to 100
    virtual int duck(int percent) = 0;
    /// Ends the ducking.
    virtual int unduck() = 0;

    /// Calls mute() or demute() for output paths.
    /// @param path   audio_out_path_id_e, or a mask of them
    /// @param muted  true for mute(), false for demute()
    virtual int setMute(unsigned path, bool muted) = 0;

    /// Sets the gain of all streams of a type.
    /// @param type  as setVolumeByStreamType()
    /// @param dB    -103.5 to 24.0
    virtual int setGainByStreamType(const char* type, float dB) = 0;
    /// @param type  as setVolumeByStreamType()
    /// @param dB    gets the gain
    virtual int getGainByStreamType(const char* type, float& dB) = 0;

    /// Starts the calibration of the microphone gain; read the result later.
    virtual int startMicGainCalibration() = 0;
    /// @param result  gets the outcome, defined by the server
    /// @param gain    gets the gain in dB
    virtual int getMicGainCalibrationResult(int& result, float& gain) = 0;

    /// @param tag    "auxiliary"; all others are refused
    /// @param name   of the track, cut to 63 bytes; null is refused
    /// @param gains  eight, one for each channel, -103.5 to 24.0 dB
    virtual int setTrackChannelGain(const char* tag, const char* name, float* gains) = 0;

    /// Sets the duration of master volume changes; two values defined by the server.
    virtual int setMasterVolumeRampDuration(float first, float second) = 0;
    /// @param first   gets the first number
    /// @param second  gets the second number
    virtual int getMasterVolumeRampDuration(float& first, float& second) = 0;

    virtual ~Volume() = default;
};

}  // namespace audio::QVAudioSetting
