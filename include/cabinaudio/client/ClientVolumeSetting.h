// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioSetting.h>
#include <cabinaudio/foundation/AudioExport.h>

class RemoteCall;

/// The volume settings that an application constructs itself.
class CABINAUDIO_API AudioVolumeSetting : public audio::QVAudioSetting::Volume {};

/// The volume settings over a separate connection. See audio::QVAudioSetting::Volume.
class CABINAUDIO_API ClientVolumeSetting : public AudioVolumeSetting {
public:
    /// Connects to the server; blocks until it has answered. Does not report a failure: without a
    /// server, requests return 1.
    ClientVolumeSetting() noexcept;
    ClientVolumeSetting(const ClientVolumeSetting&) = delete;
    ClientVolumeSetting& operator=(const ClientVolumeSetting&) = delete;

    using Volume::setAlterAudioVolume;
    using Volume::setMainAudioDunkingTargetGain;
    using Volume::setMasterVolume;
    using Volume::setSecondAudioVolume;
    using Volume::setTrackVolume;
    using Volume::setVolumeByStreamType;

    int setMainAudioDunkingMode(unsigned mode) override;
    int setMainAudioDunkingTargetGain(unsigned char volume) override;
    int setMainAudioDunkingTargetGain(float dB) override;
    int setMasterVolume(unsigned char volume) override;
    int setMasterVolume(float dB) override;
    int getMasterVolume(unsigned char* volume) override;
    int getMasterVolume(float* dB) override;
    int setChannelGain(audio::audio_channel_gain_t* gain) override;
    int setChannelGain(audio::audio_channel_idx_e channel, float dB) override;
    int getChannelGain(audio::audio_channel_gain_t* gain) override;
    int getChannelGain(audio::audio_channel_idx_e channel, float* dB) override;
    int setTrackVolume(const char* tag, const char* name, unsigned char volume) override;
    int setTrackVolume(const char* tag, const char* name, float dB) override;
    int getTrackVolume(const char* tag, const char* name, unsigned char* volume) override;
    int getTrackVolume(const char* tag, const char* name, float* dB) override;
    int setSourceLevel(const char* tag, const char* name, float level) override;
    int getSourceLevel(const char* tag, const char* name, float* level) override;
    int mute(const char* tag, bool option) override;
    int demute(const char* tag, bool option) override;
    int setFadeBalance(int fade, int balance, unsigned stepMax) override;
    int setUpLinkGain(float dB) override;
    int setAdcPgaGain(audio::audio_input_mux_id_e input, float left, float right) override;
    int getAdcPgaGain(audio::audio_input_mux_id_e input, float* left, float* right) override;
    int setAdcOpGain(audio::audio_input_mux_id_e input, float left, float right) override;
    int getAdcOpGain(audio::audio_input_mux_id_e input, float* left, float* right) override;
    int setMicAnalogGain(float left, float right) override;
    int getMicAnalogGain(float* left, float* right) override;
    int setSecondAudioVolume(unsigned char volume) override;
    int setSecondAudioVolume(float dB) override;
    int getSecondAudioVolume(unsigned char* volume) override;
    int getSecondAudioVolume(float* dB) override;
    int setAlterAudioVolume(unsigned char volume) override;
    int setAlterAudioVolume(float dB) override;
    int getAlterAudioVolume(unsigned char* volume) override;
    int getAlterAudioVolume(float* dB) override;
    int getUpLinkGain(float* dB) override;
    int getMuteState(const char* tag, bool& muted) override;
    int setVolumeByStreamType(const char* type, unsigned char volume) override;
    int getVolumeByStreamType(const char* type, unsigned char& volume) override;
    int getStreamTypeList(std::vector<std::string>& list) override;
    int duck(int percent) override;
    int unduck() override;
    int setMute(unsigned path, bool muted) override;
    int setGainByStreamType(const char* type, float dB) override;
    int getGainByStreamType(const char* type, float& dB) override;
    int startMicGainCalibration() override;
    int getMicGainCalibrationResult(int& result, float& gain) override;
    int setTrackChannelGain(const char* tag, const char* name, float* gains) override;
    int setMasterVolumeRampDuration(float first, float second) override;
    int getMasterVolumeRampDuration(float& first, float& second) override;

    /// Disconnects. Ends a request in which another thread is blocked, waits until that thread has
    /// left it, and joins the object's two threads.
    ~ClientVolumeSetting() override;

    /// As mute() by tag.
    /// @param path    audio_out_path_id_e, or a mask of them
    /// @param option  forwarded to the server
    int mute(unsigned path, bool option);
    /// As mute() by path.
    int demute(unsigned path, bool option);
    /// Overload for enumerators and literals: a literal 0 would be ambiguous with a null tag.
    int mute(int path, bool option) { return mute(static_cast<unsigned>(path), option); }
    /// As mute() by an `int` path.
    int demute(int path, bool option) { return demute(static_cast<unsigned>(path), option); }
    /// @param path   an enumerator, or a number cast to one: a literal 0 is taken as a null tag
    /// @param muted  gets whether the path is muted
    int getMuteState(audio::audio_out_path_id_e path, bool& muted);

private:
    RemoteCall* mRc;
};
