// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioExport.h>

namespace audio {

/// Application interface of a capture stream. For threads, waits and states see ClientRecord and
/// ClientRecordRt.
///
/// Statuses are those of AudioStatus.h, or the status of the reply.
class CABINAUDIO_API QVAudioRecord {
public:
    /// Discards captured data that has not been read. Only while stopped.
    virtual int clear() = 0;
    /// Starts capturing.
    virtual int start() = 0;
    /// Stops capturing; captured data stays readable after the next start().
    virtual int stop() = 0;
    /// Sets the capture volume, 0 to 100.
    virtual int setVolume(int volume) = 0;
    /// @return the capture volume, 0 to 100
    virtual int getVolume() = 0;
    /// @return recommended size of a read in bytes
    virtual int getPerLoopSize() = 0;
    /// @return capacity of the stream's buffer in bytes, 0 while there is none
    virtual int getTotalBufferSize() = 0;
    /// Reads captured data. @return bytes stored in `buffer`, or a negative status
    virtual int read(unsigned char* buffer, int bytes, bool isBlock) = 0;
    /// @return bytes that can be read without blocking
    virtual int bytesUsed() = 0;

    virtual ~QVAudioRecord() = default;
};

}  // namespace audio
