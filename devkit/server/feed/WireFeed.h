// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/clients/Client.h"
#include "devkit/server/feed/RingSums.h"
#include "devkit/server/feed/TraceReader.h"
#include "devkit/server/rings/RingWatcher.h"
#include "devkit/trace/CaptureWriter.h"
#include "devkit/trace/Record.h"

#include <nlohmann/json_fwd.hpp>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace cabinaudio::server {

/// Gives readers and a file everything that goes over the wire, as a capture. The clients that
/// exist when a reader comes are told first: their connections with their registrations, under the
/// present time. Of the event loop's thread.
class WireFeed final : public RingWatcher {
public:
    static constexpr std::size_t MAXIMUM = 16;  // readers
    /// Bytes that may wait for one reader.
    static constexpr std::size_t BOUND = 16 << 20;

    using Clients = std::vector<std::unique_ptr<Client>>;

    /// @param onClosed  called when a descriptor has become free
    WireFeed(EventLoop& loop, const Clients& clients, std::function<void()> onClosed);

    /// Records everything into a file.
    /// @throws trace::Error  the file cannot be written
    void recordTo(const std::string& file, bool withSound);
    /// Adds a reader. The argument is empty or "sound".
    /// @return whether the connection was taken
    bool add(const std::string& argument, UniqueFd& socket, Admitted& admitted);
    /// Why add() takes no reader with this argument; empty if it does.
    [[nodiscard]] std::string faultOf(const std::string& argument) const;
    /// For the server's state.
    [[nodiscard]] nlohmann::json describe() const;

    // Each of these does nothing unless somebody reads.
    void connected(const Client& client);
    void received(const Client& client, std::span<const std::uint8_t> message, bool isWhole);
    void sent(const Client& client, std::span<const std::uint8_t> message);
    void disconnected(const Client& client);

    [[nodiscard]] bool isWatching() const override { return mFile || !mReaders.empty(); }
    void moved(const Client& client, const RingTraffic& traffic) override;

    /// The server ends, and so do all connections: sends what is left, within a bound for readers
    /// that do not read.
    void end();

private:
    struct Connection {
        std::uint32_t number = 0;
        std::uint32_t function = trace::UNKNOWN;  // of the request that is being answered
        std::uint64_t requestedNs = 0;
        RingSums sums;
    };

    [[nodiscard]] Connection& connectionOf(const Client& client);
    void introduce(TraceReader& reader);
    [[nodiscard]] trace::Record recordOf(const Client& client, trace::Kind kind);
    void put(const trace::Record& record);
    void write(std::span<const std::uint8_t> block);
    void putSums(const Client& client);
    void putSound(const Client& client, const RingTraffic& traffic);
    [[nodiscard]] bool isSoundWanted() const;
    void removeGone();

    EventLoop& mLoop;
    const Clients& mClients;
    std::function<void()> mOnClosed;
    std::optional<trace::CaptureWriter> mFile;
    bool mIsSoundInFile = false;
    std::vector<std::unique_ptr<TraceReader>> mReaders;
    std::map<const Client*, Connection> mConnections;
    std::uint32_t mLastNumber = 0;
};

}  // namespace cabinaudio::server
