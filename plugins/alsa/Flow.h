// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "plugins/common/PumpState.h"
#include "plugins/common/ReadyEvent.h"
#include "plugins/common/Streams.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

namespace cabinaudio::alsa {

/// One stream of one PCM with its pump and its I/O thread: the same face for both directions.
/// Threads, blocking and statuses are those of PlaybackPump.
class Flow {
public:
    virtual ~Flow() = default;
    Flow(const Flow&) = delete;
    Flow& operator=(const Flow&) = delete;

    virtual int prepare() = 0;
    virtual int start() = 0;
    virtual int stop() = 0;
    virtual int pause(bool isOn) = 0;
    virtual int beginDrain() = 0;
    virtual int waitForDrain(const std::function<bool()>& isInterrupted) = 0;

    /// The application's pointer has moved without a transfer.
    virtual void moveApplication(std::int64_t frames) = 0;
    /// Takes frames from the application, or gives it some. @return whether the application's
    /// pointer has moved
    virtual bool transfer(unsigned char* data, std::size_t frames) = 0;

    [[nodiscard]] virtual std::uint64_t position() = 0;
    [[nodiscard]] virtual std::uint64_t delay() = 0;
    [[nodiscard]] virtual plugin::PumpState state() = 0;
    /// @param wake    room or frames that wake the application
    /// @param breaks  whether a gap is an error of the application
    virtual void setLimits(std::size_t wake, bool breaks) = 0;
    virtual bool checkReady() = 0;

protected:
    Flow() = default;
};

/// Creates the stream. @return as plugin::openStream(), or -EAGAIN when there is no thread for it
int makePlaybackFlow(const plugin::StreamRequest& request, std::size_t bufferFrames,
                     plugin::ReadyEvent& ready, std::unique_ptr<Flow>& flow);
int makeCaptureFlow(const plugin::StreamRequest& request, std::size_t bufferFrames,
                    plugin::ReadyEvent& ready, std::unique_ptr<Flow>& flow);

}  // namespace cabinaudio::alsa
