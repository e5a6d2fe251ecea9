// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/Server.h"

#include "devkit/server/ConnectType.h"
#include "devkit/server/Log.h"
#include "devkit/server/OutputFactory.h"
#include "devkit/server/PhysicalMemory.h"
#include "devkit/server/Text.h"
#include "wire/Frame.h"

#include <nlohmann/json.hpp>
#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace cabinaudio::server {
namespace {

StreamRegistry::Settings streamSettings(const Options& options,
                                        ShareMemoryUpdateNotificationCallback* onWrite) {
    StreamRegistry::Settings settings;
    settings.ringPeriods = options.ringPeriods;
    settings.ringDelay = options.ringDelay;
    settings.stemDirectory = options.stemDirectory;
    settings.keepsRecords = !options.reportFile.empty();
    settings.outputRate = options.format.rate;
    settings.outputChannels = options.format.channels;
    settings.onWrite = onWrite;
    return settings;
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
      // First of all: a second server must not touch what belongs to the one that is running.
      mListener(mLoop, wire::SERVER_SOCKET,
                [this](UniqueFd socket) { addClient(std::move(socket)); }),
      mControl(mLoop, [this](const std::string& line) { return mCommands.run(line); }),
      mOutput(makeOutput(options.output, options.format)),
      mWaker(options.isFast ? std::make_optional<Waker>(mLoop, [this] { mMixer.update(); })
                            : std::nullopt),
      mStreams(mLoop, mPlaces, streamSettings(options, mWaker ? &*mWaker : nullptr)),
      mMixer(mLoop, mStreams, *mOutput, options.format,
             options.isFast ? Mixer::Pace::Fast : Mixer::Pace::Steady),
      mDispatcher({mStreams}, mTrace) {
    // What a killed server has left may still be mapped by its clients: they must not write into
    // the rings of this one.
    PhysicalMemory::remove();
    mStreams.setOnChange([this] { mMixer.update(); });
    addCommands();
}

Server::~Server() {
    mClients.clear();
    // While the listening socket is held, no other server can have begun to use the memory.
    PhysicalMemory::remove();
}

void Server::run() {
    const OutputFormat& format = mOptions.format;
    log::info("plays to %s, %u Hz, %u channel%s, %s", mOutput->name().c_str(), format.rate,
              format.channels, format.channels == 1 ? "" : "s", nameOf(format.type));
    sayReady();
    mLoop.run();
    mStreams.removeAll();
    if (!mOptions.reportFile.empty()) writeFile(mOptions.reportFile, reportOf(reported()));
}

void Server::sayReady() const {
    if (mOptions.readyFd < 0) return;
    constexpr char ready[] = "ready\n";
    if (write(mOptions.readyFd, ready, sizeof ready - 1) < 0) {
        log::warning("--ready-fd %d: %s", mOptions.readyFd, strerror(errno));
    }
    close(mOptions.readyFd);
}

void Server::addCommands() {
    mCommands.add("state",
                  [this](const std::string&) { return textOf(stateOf(reported(), mClients)); });
    mCommands.add("stream remove", [this](const std::string& name) { return removeStream(name); });
    mCommands.add("source activate", [this](const std::string& name) {
        return withSink(name, [this](PlaybackStream& sink) { mStreams.sources().activate(sink); });
    });
    mCommands.add("source withdraw", [this](const std::string& name) {
        return withSink(name, [this](PlaybackStream& sink) { mStreams.sources().withdraw(sink); });
    });
}

std::string Server::withSink(const std::string& name,
                             const std::function<void(PlaybackStream& sink)>& act) {
    PlaybackStream* sink = mStreams.findSink(name);
    if (sink == nullptr) return "error: no sink \"" + printable(name) + "\"";
    act(*sink);
    return "ok";
}

std::string Server::removeStream(const std::string& name) {
    PlaybackStream* stream = mStreams.find(name);
    if (stream == nullptr) return "error: no stream \"" + name + "\"";
    mStreams.remove(*stream);
    return "ok";
}

void Server::addClient(UniqueFd socket) {
    ClientOwner& owner = *this;
    mClients.push_back(std::make_unique<Client>(mLoop, std::move(socket), owner));
}

std::uint32_t Server::registerClient(Client& client) {
    if (!isKnown(client.type())) return 0;
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

void Server::disconnected(Client& client) {
    if (client.handle() != 0) mTrace.disconnection(client);
    mLoop.post([this, gone = &client] { erase(*gone); });
}

void Server::erase(const Client& client) {
    mStreams.clientGone(client);
    std::erase_if(mClients, [&](const auto& candidate) { return candidate.get() == &client; });
    mListener.resume();
}

}  // namespace cabinaudio::server
