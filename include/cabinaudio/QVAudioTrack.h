// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioExport.h>

namespace audio {

/// Notifications of a playback stream to the application.
class CABINAUDIO_API QVAudioTrackCallback {
public:
    virtual ~QVAudioTrackCallback() = default;

    /// The data written before writeDone() has been played. Called on the stream's notifier thread
    /// with false. Must not destroy the stream, and must not block for long: it delays later
    /// notifications.
    virtual void finish(bool) {}
};

/// Application interface of a playback stream. For threads, waits and states see ClientTrack.
///
/// Statuses are those of AudioStatus.h, or the status of the reply.
class CABINAUDIO_API QVAudioTrack {
public:
    /// Discards queued data that has not been played. Only while stopped.
    virtual int clear() = 0;
    /// Starts playback.
    virtual int start() = 0;
    /// Stops playback; queued data stays queued.
    virtual int stop() = 0;
    /// Sets the callback for the end of playback; null for none. Not owned.
    virtual int setCallback(QVAudioTrackCallback* callback) = 0;
    /// Deprecated, without effect: see QVAudioSetting::Volume.
    virtual int setVolume(int volume) = 0;
    /// Deprecated, always 0: see QVAudioSetting::Volume.
    virtual int getVolume() = 0;
    /// @return recommended size of a write in bytes, one server period
    virtual int getPerLoopSize() = 0;
    /// @return capacity of the stream's buffer in bytes, 0 while there is none
    virtual int getTotalBufferSize() = 0;
    /// @return bytes that can be written without blocking
    virtual int bytesFree() = 0;
    /// Deprecated, without effect.
    virtual int getOutPutSamples(unsigned long long* samples, long long* timeUs) = 0;
    /// Deprecated, without effect: see QVAudioSetting::Volume.
    virtual int duck(int percent) = 0;
    /// Deprecated, without effect: see QVAudioSetting::Volume.
    virtual int unduck() = 0;
    /// Queues `bytes` bytes of PCM. @return bytes queued, or a negative status
    virtual int write(unsigned char* buffer, int bytes, bool isBlock) = 0;
    /// Announces the end of the data; finish() of the callback follows when it has been played.
    virtual int writeDone() = 0;
    /// Changes pitch, 0.8 to 1.2; 1.0 is the original.
    virtual int setKeyShift(float key) = 0;

    virtual ~QVAudioTrack() = default;
};

}  // namespace audio
