// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/QVAudioRecordControl.h>
#include <cabinaudio/foundation/AudioExport.h>

class RemoteCall;

/// Capture effects over a separate connection. See audio::QVAudioRecordControl::AudioRecordControl.
class CABINAUDIO_API ClientAudioRecordControl
    : public audio::QVAudioRecordControl::AudioRecordControl {
public:
    /// Connects to the server; blocks until it has answered. Does not report a failure: without a
    /// server, requests return 1.
    ClientAudioRecordControl() noexcept;
    ClientAudioRecordControl(const ClientAudioRecordControl&) = delete;
    ClientAudioRecordControl& operator=(const ClientAudioRecordControl&) = delete;

    int set(const char* tag, const char* effect, const audio::effect_param_t& parameter) override;
    int get(const char* tag, const char* effect, audio::effect_param_t& parameter) override;

    /// Disconnects. Ends a request in which another thread is blocked, waits until that thread has
    /// left it, and joins the object's two threads.
    ~ClientAudioRecordControl() override;

private:
    RemoteCall* mRc;
};
