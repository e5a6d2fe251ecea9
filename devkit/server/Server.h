// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/Options.h"
#include "devkit/server/clients/Admission.h"
#include "devkit/server/clients/Client.h"
#include "devkit/server/clients/Listener.h"
#include "devkit/server/control/ChangeFeed.h"
#include "devkit/server/control/ChangeList.h"
#include "devkit/server/control/Commands.h"
#include "devkit/server/control/ControlSocket.h"
#include "devkit/server/control/LiveState.h"
#include "devkit/server/control/RemoteControl.h"
#include "devkit/server/control/Report.h"
#include "devkit/server/feed/WireFeed.h"
#include "devkit/server/loop/EndSignals.h"
#include "devkit/server/loop/EventLoop.h"
#include "devkit/server/loop/Timer.h"
#include "devkit/server/loop/Waker.h"
#include "devkit/server/outputs/Output.h"
#include "devkit/server/requests/Dispatcher.h"
#include "devkit/server/requests/ReplyFaults.h"
#include "devkit/server/requests/Trace.h"
#include "devkit/server/rings/RingPlaces.h"
#include "devkit/server/settings/Calibration.h"
#include "devkit/server/settings/Settings.h"
#include "devkit/server/settings/StateFile.h"
#include "devkit/server/streams/CaptureRegistry.h"
#include "devkit/server/streams/Mixer.h"
#include "devkit/server/streams/StreamRegistry.h"
#include "devkit/server/taps/Taps.h"
#include "devkit/server/time/TimeLine.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::server {

/// The whole server. It works on the thread that calls run(). The threads of sound cards and
/// microphones exchange sound with that thread through queues; the rings' receivers only wake it
/// when there is no clock.
class Server : private ClientOwner {
public:
    /// Clients can connect once the constructor returns, and are served once run() is called.
    /// @throws std::system_error EADDRINUSE when a server of this instance is running already
    /// @throws std::runtime_error when the output cannot be opened
    explicit Server(const Options& options);
    ~Server();

    /// Serves until SIGTERM or SIGINT, then ends the streams and completes all files.
    /// @throws std::runtime_error when the report cannot be written
    void run();
    /// Whether the report lists errors of time.
    [[nodiscard]] bool hasTimeErrors() const { return mTime->hasErrors(); }

private:
    // ClientOwner
    std::uint32_t registerClient(Client& client) override;
    void request(Client& client, std::span<const std::uint8_t> payload) override;
    void notified(const Client& client, std::uint32_t event, std::uint32_t param) override;
    void disconnected(Client& client) override;
    void unfinished(const Client& client) override;
    void received(const Client& client, std::span<const std::uint8_t> message,
                  bool isWhole) override;
    void sent(const Client& client, std::span<const std::uint8_t> message) override;

    void addClient(UniqueFd socket);
    void checkClients();
    void descriptorClosed();
    void addCommands();
    void addListeners();
    void addTraceReaders();
    void keepChanges();
    void addSubscriptions();
    [[nodiscard]] std::unique_ptr<TimeLine> makeTime();
    void erase(const Client& client);
    void reportReady() const;
    [[nodiscard]] Reported reported() const {
        return {mStreams,  mCaptures,       mMixer, *mOutput,      mOptions.format,
                mSettings, mOptions.output, *mTime, mOptions.time, mChanges ? &*mChanges : nullptr};
    }

    // Each member needs those before it.
    Options mOptions;
    EventLoop mLoop;
    EndSignals mEndSignals;  // before any other thread is created
    Trace mTrace;
    const ConnectionLimits mLimits;
    Admission mAdmission;
    std::vector<std::unique_ptr<Client>> mClients;
    WireFeed mWireFeed;
    Timer mCheckTimer;         // ticks while a client is unregistered or mid-message
    bool mIsChecking = false;  // whether mCheckTimer ticks
    Listener mListener;
    Commands mCommands;
    ControlSocket mControl;
    std::unique_ptr<Output> mOutput;
    std::optional<Waker> mWaker;  // only without a clock
    RingPlaces mPlaces;
    Settings mSettings;
    std::optional<StateFile> mStateFile;
    std::optional<ChangeList> mChanges;  // only with a report
    StreamRegistry mStreams;
    Mixer mMixer;
    CaptureRegistry mCaptures;
    std::unique_ptr<TimeLine> mTime;
    Calibration mCalibration;
    ReplyFaults mReplyFaults;
    RequestLog mRequestLog;
    Dispatcher mDispatcher;
    LiveState mLive;
    RemoteControl mRemoteControl;
    Taps mTaps;
    ChangeFeed mFeed;
    std::uint32_t mLastHandle = 0;
};

}  // namespace cabinaudio::server
