// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioRecordControl.h>
#include <cabinaudio/foundation/AudioExport.h>

class RemoteCall;

/// Capture effects over a connection of their own. See
/// audio::QVAudioRecordControl::AudioRecordControl.
class CABINAUDIO_API ClientAudioRecordControl
    : public audio::QVAudioRecordControl::AudioRecordControl {
public:
    /// Connects to the server; blocks until it has answered. Reports nothing: without a server the
    /// first operation returns 1.
    ClientAudioRecordControl() noexcept;
    ClientAudioRecordControl(const ClientAudioRecordControl&) = delete;
    ClientAudioRecordControl& operator=(const ClientAudioRecordControl&) = delete;

    int set(const char* tag, const char* effect, const audio::effect_param_t& parameter) override;
    int get(const char* tag, const char* effect, audio::effect_param_t& parameter) override;

    /// Disconnects. Ends a request that another thread still waits in, and waits for that thread to
    /// have left it, and for both of the object's own threads.
    ~ClientAudioRecordControl() override;

private:
    RemoteCall* mRc;
};
