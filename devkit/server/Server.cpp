// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/Server.h"

#include "devkit/server/base/Log.h"
#include "devkit/server/base/Text.h"
#include "devkit/server/control/TimeCommands.h"
#include "devkit/server/mix/InputGain.h"
#include "devkit/server/outputs/OutputFactory.h"
#include "devkit/server/rings/PhysicalMemory.h"
#include "devkit/server/time/FastTime.h"
#include "devkit/server/time/Lockstep.h"
#include "devkit/server/time/RealTime.h"
#include "devkit/trace/ConnectType.h"
#include "wire/Frame.h"

#include <nlohmann/json.hpp>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <utility>

namespace cabinaudio::server {
namespace {

StreamRegistry::Settings streamSettings(const Options& options,
                                        ShareMemoryUpdateNotificationCallback* onWrite,
                                        std::function<std::uint64_t()> outputFrame,
                                        RingWatcher& watcher) {
    StreamRegistry::Settings settings;
    settings.watcher = &watcher;
    settings.outputFrame = std::move(outputFrame);
    settings.ringPeriods = options.ringPeriods;
    settings.ringDelay = options.ringDelay;
    settings.stemDirectory = options.stemDirectory;
    settings.keepsRecords = !options.reportFile.empty();
    settings.outputRate = options.format.rate;
    settings.outputChannels = options.format.channels;
    settings.onWrite = onWrite;
    return settings;
}

CaptureRegistry::Settings captureSettings(const Options& options, const Settings& set,
                                          ShareMemoryUpdateNotificationCallback* onRead,
                                          RingWatcher& watcher) {
    CaptureRegistry::Settings settings;
    settings.watcher = &watcher;
    settings.gain = [&set](AudioTagType tag, std::size_t channel) {
        return inputGainOf(tag, channel, set->volume);
    };
    settings.inputs = options.inputs;
    settings.ringPeriods = options.ringPeriods;
    settings.uplinkDelay = options.uplinkDelay;
    settings.onRead = onRead;
    settings.isRingFilledFirst = options.time.isOwned();
    return settings;
}

constexpr std::chrono::seconds CHECK_INTERVAL{1};

ConnectionLimits connectionLimits() {
    struct rlimit limit = {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) limit.rlim_cur = 1024;
    return ConnectionLimits::of(limit.rlim_cur);
}

}  // namespace

Server::Server(const Options& options)
    : mOptions(options),
      mEndSignals(mLoop,
                  [this](int signal) {
                      log::info("ends: %s", strsignal(signal));
                      mLoop.stop();
                  }),
      mTrace(options.isTraced),
      mLimits(connectionLimits()),
      mAdmission(options.allowed, mLimits),
      mWireFeed(mLoop, mClients, [this] { descriptorClosed(); }),
      mCheckTimer(mLoop, [this](std::uint64_t) { checkClients(); }),
      // First: a second server must not touch the objects of the running one.
      mListener(mLoop, wire::SERVER_SOCKET,
                [this](UniqueFd socket) { addClient(std::move(socket)); }),
      mControl(
          mLoop, mAdmission,
          [this](const std::string& line, const Commands::Later& later) {
              mCommands.run(line, later);
          },
          [this] { descriptorClosed(); }),
      mOutput(makeOutput(options.output, options.format)),
      mWaker(options.time.mode != TimeMode::Real
                 ? std::make_optional<Waker>(mLoop, [this] { mTime->update(); })
                 : std::nullopt),
      mStreams(mLoop, mPlaces,
               streamSettings(
                   options, mWaker ? &*mWaker : nullptr,
                   [this] { return mMixer.counters().frames; }, mWireFeed)),
      mMixer(mStreams, mSettings, *mOutput, options.format),
      mCaptures(mLoop, mPlaces,
                captureSettings(options, mSettings, mWaker ? &*mWaker : nullptr, mWireFeed)),
      mTime(makeTime()),
      mCalibration(mLoop,
                   [microphone = options.inputs.of(AUDIO_TAG_UPLINK)] {
                       return openInput(microphone, Calibration::RATE, 1);
                   }),
      mDispatcher({mStreams, mCaptures, mSettings, mMixer, mCalibration}, mTrace, mReplyFaults),
      mRemoteControl(mLoop, mStreams, mCaptures, mReplyFaults),
      mTaps(mLoop, mStreams, options.format,
            options.time.mode == TimeMode::Real ? Taps::STEADY_BOUND : Taps::FAST_BOUND,
            [this] { descriptorClosed(); }),
      mFeed(
          mLoop, [this] { return watchedOf(mSettings, mStreams); },
          [this] { descriptorClosed(); }) {
    options.inputs.check();
    if (!options.stateFile.empty()) mStateFile.emplace(mLoop, options.stateFile, mSettings);
    if (!options.reportFile.empty()) mChanges.emplace(mSettings);
    // The clients of a killed server may still have its memory mapped; they must not write into the
    // rings of this server.
    PhysicalMemory::take();
    mStreams.setOnChange([this] {
        mTaps.streamsChanged();
        mMixer.update();
        mTime->update();
        mFeed.changed();
    });
    mSettings.watch([this] {
        mMixer.update();
        mTime->settingChanged(mDispatcher.running());
        mTime->update();
        mFeed.changed();
    });
    mCaptures.setOnChange([this] { mTime->update(); });
    if (mChanges) keepChanges();
    if (!options.traceFile.empty()) mWireFeed.recordTo(options.traceFile, options.isSoundTraced);
    addCommands();
    addListeners();
    addTraceReaders();
    addSubscriptions();
}

Server::~Server() {
    mClients.clear();
    // While this server holds the listening socket, no other server can be using the memory.
    PhysicalMemory::remove();
}

void Server::run() {
    const OutputFormat& format = mOptions.format;
    log::info("plays to %s, %u Hz, %u channel%s, %s", mOutput->name().c_str(), format.rate,
              format.channels, format.channels == 1 ? "" : "s", nameOf(format.type));
    reportReady();
    mTime->update();
    mLoop.run();
    mTime->end();
    mTaps.end();
    mStreams.removeAll();
    mCaptures.removeAll();
    mWireFeed.end();
    if (!mOptions.reportFile.empty()) writeFile(mOptions.reportFile, reportOf(reported()));
}

void Server::reportReady() const {
    if (mOptions.readyFd < 0) return;
    constexpr char READY[] = "ready\n";
    if (write(mOptions.readyFd, READY, sizeof READY - 1) < 0)
        log::warning("--ready-fd %d: %s", mOptions.readyFd, strerror(errno));
    close(mOptions.readyFd);
}

std::unique_ptr<TimeLine> Server::makeTime() {
    if (mOptions.time.mode == TimeMode::Real)
        return std::make_unique<RealTime>(mLoop, mMixer, mCaptures);
    if (mOptions.time.mode == TimeMode::Fast)
        return std::make_unique<FastTime>(mLoop, mMixer, mStreams, mCaptures);
    return std::make_unique<Lockstep>(
        mLoop, mMixer, mStreams, mCaptures, mOptions.time,
        [this](const std::string& line) { return mCommands.run(line); });
}

void Server::keepChanges() {
    mSettings.watch([this] { mChanges->settingsChanged(mMixer.counters().frames); });
    mMixer.setOnDucked([this](float factor, const std::string& prompt) {
        mChanges->ducked(mMixer.counters().frames, factor, prompt);
    });
}

void Server::addCommands() {
    mCommands.add("state", [this](const std::string&) {
        auto state = stateOf(reported(), mClients);
        state["listeners"] = mTaps.describe();
        state["trace_readers"] = mWireFeed.describe();
        return textOf(state);
    });
    mRemoteControl.addTo(mCommands);
    addTimeCommands(mCommands, *mTime);
    for (const TimedCommand& timed : mOptions.time.commands)
        if (const std::string fault = mCommands.faultOf(timed.command); !fault.empty())
            throw std::runtime_error("--at " + std::to_string(timed.ms) + ":" +
                                     printable(timed.command) + ": " + fault);
}

/// A command "listen" keeps its connection: the sound follows its answer.
void Server::addListeners() {
    static constexpr char WORD[] = "listen ";
    mMixer.setOnMixed([this](std::span<const float> mix) { mTaps.mixed(mix); });
    mControl.addTaker([this](const std::string& line, UniqueFd& socket, Admitted& admitted) {
        if (!line.starts_with(WORD)) return false;
        return mTaps.add(line.substr(sizeof WORD - 1), socket, admitted);
    });
    // Answers the lines that were not taken.
    mCommands.add("listen", [this](const std::string& argument) {
        return "error: " + mTaps.faultOf(argument);
    });
}

/// A command "trace" keeps its connection: a capture follows its answer.
void Server::addTraceReaders() {
    mControl.addTaker([this](const std::string& line, UniqueFd& socket, Admitted& admitted) {
        if (line != "trace" && !line.starts_with("trace ")) return false;
        return mWireFeed.add(line.size() == 5 ? "" : line.substr(6), socket, admitted);
    });
    // Answers the lines that were not taken.
    mCommands.add("trace", [this](const std::string& argument) {
        return "error: " + mWireFeed.faultOf(argument);
    });
}

/// A command "subscribe settings" keeps its connection: the changes follow.
void Server::addSubscriptions() {
    mControl.addTaker([this](const std::string& line, UniqueFd& socket, Admitted& admitted) {
        if (line != "subscribe settings") return false;
        mFeed.add(socket, admitted);
        return true;
    });
}

void Server::addClient(UniqueFd socket) {
    auto admitted = mAdmission.admitClient(socket.get());
    if (!admitted) {
        Client::refuse(socket);
        return;
    }
    ClientOwner& owner = *this;
    mClients.push_back(
        std::make_unique<Client>(mLoop, std::move(socket), owner, std::move(admitted)));
    unfinished(*mClients.back());
    mWireFeed.connected(*mClients.back());
    if (mClients.size() < mLimits.clients) return;
    log::warning("%zu clients; new clients wait until another one leaves", mClients.size());
    mListener.pause();
}

void Server::unfinished(const Client&) {
    if (!std::exchange(mIsChecking, true)) mCheckTimer.every(CHECK_INTERVAL);
}

void Server::checkClients() {
    bool isAnyLeft = false;
    for (const auto& client : mClients)
        isAnyLeft |= client->checkProgress();
    if (isAnyLeft) return;
    mIsChecking = false;
    mCheckTimer.stop();
}

void Server::descriptorClosed() {
    mListener.descriptorClosed();
    mControl.descriptorClosed();
}

std::uint32_t Server::registerClient(Client& client) {
    if (!trace::isKnown(client.type())) return 0;
    const auto isUsed = [this](std::uint32_t handle) {
        return std::any_of(mClients.begin(), mClients.end(),
                           [handle](const auto& other) { return other->handle() == handle; });
    };
    do {
        ++mLastHandle;
    } while (mLastHandle == 0 || isUsed(mLastHandle));
    mTrace.registration(client, mLastHandle);
    return mLastHandle;
}

void Server::request(Client& client, std::span<const std::uint8_t> payload) {
    mDispatcher.dispatch(client, payload);
}

void Server::notified(const Client& client, std::uint32_t event, std::uint32_t param) {
    mTrace.notification(client, event, param);
}

void Server::received(const Client& client, std::span<const std::uint8_t> message, bool isWhole) {
    mWireFeed.received(client, message, isWhole);
}

void Server::sent(const Client& client, std::span<const std::uint8_t> message) {
    mWireFeed.sent(client, message);
}

void Server::disconnected(Client& client) {
    mWireFeed.disconnected(client);
    if (client.handle() != 0) mTrace.disconnection(client);
    mLoop.post([this, gone = &client] { erase(*gone); });
}

void Server::erase(const Client& client) {
    mStreams.clientGone(client);
    mCaptures.clientGone(client);
    std::erase_if(mClients, [&](const auto& candidate) { return candidate.get() == &client; });
    if (mClients.size() < mLimits.clients) mListener.resume();
    descriptorClosed();
}

}  // namespace cabinaudio::server
