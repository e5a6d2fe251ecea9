// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioThread.h>
#include <cabinaudio/link/AudioConnection.h>

#include "foundation/Log.h"
#include "wire/Frame.h"

#include <cstdint>

struct AudioSocket;

/// The receive thread of a connection, AS-SktWorker. It reads frame headers, one at a time, calls
/// the callback for notifications and leaves the bodies of replies to the requester.
class SktWorker : public AudioThread {
public:
    /// @param record    outlives the thread
    /// @param callback  may be null; runs on this thread
    SktWorker(AudioSocket* record, AudioConnection::Callback callback, void* opaque);

    /// Runs until the connection ends, the server sends an invalid frame, or a stop is requested.
    void run() override;

    /// @return whether start() has started a thread; valid only before a stop is requested
    [[nodiscard]] bool started() const { return running(); }

private:
    void _readFrames(const cabinaudio::LogSite& site);
    std::int32_t _readHeader(SocketFrameHeader& header, const cabinaudio::LogSite& site);
    bool _takeFrame(const SocketFrameHeader& header, const cabinaudio::LogSite& site);
    void _handOverReply();
    void _reportLoss();
    bool _reportNoFrame(std::int32_t result, std::uint32_t magic, const cabinaudio::LogSite& site);

    // Set at construction.
    AudioSocket* mRecord;
    AudioConnection::Callback mCallback;
    void* mOpaque;
};
