// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/feed/WireFeed.h"

#include "devkit/server/base/Log.h"
#include "devkit/server/base/Text.h"
#include "devkit/trace/Error.h"
#include "devkit/trace/RecordTime.h"
#include "wire/Frame.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstring>
#include <utility>

namespace cabinaudio::server {
namespace {

using trace::Kind;
using trace::Record;

template <typename Layout>
void append(std::vector<std::uint8_t>& bytes, const Layout& layout) {
    const auto* const begin = reinterpret_cast<const std::uint8_t*>(&layout);
    bytes.insert(bytes.end(), begin, begin + sizeof layout);
}

/// Of a whole message; a registration has none.
std::uint32_t functionOf(std::span<const std::uint8_t> message) {
    audio_param header;
    std::memcpy(&header, message.data(), sizeof header);
    std::uint32_t function = trace::UNKNOWN;
    if (header.cmd != AUDIO_CMD_REGISTER)
        std::memcpy(&function, message.data() + sizeof header, sizeof function);
    return function;
}

bool isNotification(std::span<const std::uint8_t> message) {
    SocketFrameHeader header = {};
    std::memcpy(&header, message.data(), std::min(message.size(), sizeof header));
    return header.headerId == HEADER_NOTIFY;
}

}  // namespace

WireFeed::WireFeed(EventLoop& loop, const Clients& clients, std::function<void()> onClosed)
    : mLoop(loop), mClients(clients), mOnClosed(std::move(onClosed)) {}

void WireFeed::recordTo(const std::string& file, bool withSound) {
    mFile.emplace(file);
    mIsSoundInFile = withSound;
    mFile->flush();
}

std::string WireFeed::faultOf(const std::string& argument) const {
    if (mReaders.size() == MAXIMUM)
        return format("there are %zu readers of the trace already", MAXIMUM);
    return argument.empty() || argument == "sound" ? "" : "trace [sound]";
}

bool WireFeed::add(const std::string& argument, UniqueFd& socket, Admitted& admitted) {
    if (!faultOf(argument).empty()) return false;
    if (!isWatching()) {
        mConnections.clear();
        mLastNumber = 0;
    }
    auto reader = std::make_unique<TraceReader>(mLoop, std::move(socket), std::move(admitted),
                                                argument == "sound", BOUND,
                                                [this] { mLoop.post([this] { removeGone(); }); });
    reader->answer(R"({"format":"pcapng"})");
    reader->add(trace::openingBlocks());
    introduce(*reader);
    mReaders.push_back(std::move(reader));
    return true;
}

void WireFeed::introduce(TraceReader& reader) {
    for (const auto& client : mClients) {
        if (!client->isOpen()) continue;
        const auto give = [&](Kind kind, std::span<const std::uint8_t> bytes, bool isTyped) {
            Record record = recordOf(*client, kind);
            if (!isTyped) record.type = trace::UNKNOWN;
            record.bytes.assign(bytes.begin(), bytes.end());
            reader.add(trace::blockOf(record));
        };
        give(Kind::Connected, {}, false);
        if (client->registrationReply().empty()) continue;
        give(Kind::ToServer, client->registration(), false);
        give(Kind::ToClient, client->registrationReply(), true);
    }
}

nlohmann::json WireFeed::describe() const {
    auto result = nlohmann::json::array();
    for (const auto& reader : mReaders)
        result.push_back({{"sound", reader->wantsSound()},
                          {"queued_bytes", reader->queuedBytes()},
                          {"lost_records", reader->lostRecords()}});
    return result;
}

void WireFeed::connected(const Client& client) {
    if (!isWatching()) return;
    put(recordOf(client, Kind::Connected));
}

void WireFeed::received(const Client& client, std::span<const std::uint8_t> message, bool isWhole) {
    if (!isWatching()) return;
    Record record = recordOf(client, Kind::ToServer);
    Connection& connection = connectionOf(client);
    connection.function = isWhole ? functionOf(message) : trace::UNKNOWN;
    connection.requestedNs = record.timeNs;
    record.function = connection.function;
    record.bytes.assign(message.begin(), message.end());
    put(record);
}

void WireFeed::sent(const Client& client, std::span<const std::uint8_t> message) {
    if (!isWatching()) return;
    Record record = recordOf(client, Kind::ToClient);
    if (!isNotification(message)) {
        const Connection& connection = connectionOf(client);
        record.function = connection.function;
        // The real-time clock may be set back in between; 0: the request was not seen.
        if (connection.requestedNs != 0 && record.timeNs > connection.requestedNs)
            record.detail = (record.timeNs - connection.requestedNs) / 1000;
    }
    record.bytes.assign(message.begin(), message.end());
    put(record);
}

void WireFeed::disconnected(const Client& client) {
    if (isWatching()) {
        putSums(client);
        put(recordOf(client, Kind::Disconnected));
    }
    mConnections.erase(&client);
}

void WireFeed::moved(const Client& client, const RingTraffic& traffic) {
    if (isSoundWanted()) putSound(client, traffic);
    RingSums& sums = connectionOf(client).sums;
    sums.add(traffic);
    if (sums.isDue()) putSums(client);
}

void WireFeed::putSums(const Client& client) {
    for (const trace::RingSummary& summary : connectionOf(client).sums.take()) {
        Record record = recordOf(client, Kind::Ring);
        append(record.bytes, summary);
        put(record);
    }
}

void WireFeed::putSound(const Client& client, const RingTraffic& traffic) {
    std::uint64_t position = traffic.begin;
    for (auto rest = traffic.bytes; !rest.empty();) {
        const auto piece = rest.first(std::min(rest.size(), trace::MAXIMUM_SOUND));
        const bool isRead = traffic.event == trace::RingEvent::Read;
        const auto direction = isRead ? trace::Direction::ToServer : trace::Direction::ToClient;
        Record record = recordOf(client, Kind::Sound);
        append(record.bytes,
               trace::SoundHeader{position, static_cast<std::uint32_t>(direction), 0});
        record.bytes.insert(record.bytes.end(), piece.begin(), piece.end());
        put(record);
        position += piece.size();
        rest = rest.subspan(piece.size());
    }
}

bool WireFeed::isSoundWanted() const {
    return (mFile && mIsSoundInFile) ||
           std::any_of(mReaders.begin(), mReaders.end(),
                       [](const auto& reader) { return reader->wantsSound(); });
}

WireFeed::Connection& WireFeed::connectionOf(const Client& client) {
    Connection& connection = mConnections[&client];
    if (connection.number == 0) connection.number = ++mLastNumber;
    return connection;
}

trace::Record WireFeed::recordOf(const Client& client, Kind kind) {
    Record record;
    record.timeNs = trace::nanosecondsNow();
    record.kind = kind;
    record.connection = connectionOf(client).number;
    record.pid = client.process();
    if (client.handle() != 0) record.type = client.type();
    return record;
}

void WireFeed::put(const Record& record) {
    const auto block = trace::blockOf(record);
    for (const auto& reader : mReaders)
        if (record.kind != Kind::Sound || reader->wantsSound()) reader->add(block);
    if (mFile && (record.kind != Kind::Sound || mIsSoundInFile)) write(block);
}

/// Flushed at once: a killed server leaves a whole capture.
void WireFeed::write(std::span<const std::uint8_t> block) {
    try {
        mFile->write(block);
        mFile->flush();
    } catch (const trace::Error& error) {
        log::error("%s; the trace ends here", error.what());
        mFile.reset();
    }
}

void WireFeed::end() {
    if (isWatching()) {
        for (const auto& client : mClients)
            if (client->isOpen()) disconnected(*client);
    }
    std::vector<Outflow*> outflows;
    for (const auto& reader : mReaders) {
        reader->finish();
        outflows.push_back(&reader->outflow());
    }
    Outflow::drain(outflows);
    mReaders.clear();
    mFile.reset();
}

void WireFeed::removeGone() {
    std::erase_if(mReaders, [](const auto& reader) { return reader->isGone(); });
    mOnClosed();
}

}  // namespace cabinaudio::server
