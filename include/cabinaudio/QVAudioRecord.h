// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioExport.h>

namespace audio {

/// A capture stream as applications see it. ClientRecord and ClientRecordRt tell threads, waits and
/// states.
///
/// Statuses are those of AudioStatus.h, or what the server answered.
class CABINAUDIO_API QVAudioRecord {
public:
    /// Drops what was captured but not read. Only while stopped.
    virtual int clear() = 0;
    /// Begins to capture.
    virtual int start() = 0;
    /// Stops; what was captured stays readable after the next start().
    virtual int stop() = 0;
    /// Sets the capture volume, 0 to 100.
    virtual int setVolume(int volume) = 0;
    /// @return the capture volume, 0 to 100
    virtual int getVolume() = 0;
    /// @return bytes per read step that suit the server
    virtual int getPerLoopSize() = 0;
    /// @return capacity of the stream's buffer in bytes, 0 while there is none
    virtual int getTotalBufferSize() = 0;
    /// Takes captured data. @return bytes stored in `buffer`, or a negative status
    virtual int read(unsigned char* buffer, int bytes, bool isBlock) = 0;
    /// @return bytes that a read would get at once
    virtual int bytesUsed() = 0;

    virtual ~QVAudioRecord() = default;
};

}  // namespace audio
