// SPDX-License-Identifier: Apache-2.0
#include "devkit/trace/Words.h"

#include "devkit/trace/Describe.h"
#include "wire/Settings.h"
#include "wire/StreamOperations.h"

#include <cstring>
#include <map>
#include <tuple>
#include <utility>

namespace cabinaudio::trace {
namespace {

using Table = std::map<std::pair<std::uint32_t, std::uint32_t>, Words>;

template <typename Record>
std::string describeBytes(std::span<const std::uint8_t> bytes) {
    Record record;
    std::memcpy(&record, bytes.data(), sizeof record);
    return describe(record);
}

/// @param row  of a catalogue in wire/
template <typename Row>
void add(Table& table, audio_connect_type connection, const Row& row) {
    using Request = typename Row::Request;
    using Reply = typename Row::Reply;
    table[{connection, static_cast<std::uint32_t>(Row::ID)}] = {
        row.name, sizeof(Request), sizeof(Reply), &describeBytes<Request>, &describeBytes<Reply>};
}

template <typename Connections, typename... Rows>
void addStreams(Table& table, const Connections& connections, const std::tuple<Rows...>& rows) {
    for (const audio_connect_type connection : connections)
        std::apply([&](const Rows&... row) { (add(table, connection, row), ...); }, rows);
}

Table makeTable() {
    Table table;
    addStreams(table, wire::SINK_CONNECTIONS, wire::SINK_OPERATIONS);
    addStreams(table, wire::TRACK_CONNECTIONS, wire::TRACK_OPERATIONS);
    addStreams(table, wire::CAPTURE_CONNECTIONS, wire::CAPTURE_OPERATIONS);
    addStreams(table, wire::UPLINK_CONNECTIONS, wire::UPLINK_OPERATIONS);
    wire::forEachSetting([&](const auto& setting) { add(table, setting.CONNECTION, setting); });
    return table;
}

}  // namespace

const Words* wordsOf(std::uint32_t type, std::uint32_t function) {
    static const Table table = makeTable();
    const auto found = table.find({type, function});
    return found != table.end() ? &found->second : nullptr;
}

}  // namespace cabinaudio::trace
