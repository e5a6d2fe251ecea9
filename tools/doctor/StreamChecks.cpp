// SPDX-License-Identifier: Apache-2.0
//
// Streams that wait, for their source or for a reader.
#include "tools/doctor/SoundChecks.h"

#include <algorithm>
#include <thread>

namespace cabinaudio::tool {

namespace {

using namespace std::chrono_literals;

constexpr auto PATIENCE = 500ms;
constexpr auto PAUSE = 20ms;
constexpr std::uint64_t PERIOD_MS = 16;

std::uint64_t numberOf(const Json& stream, const char* key) {
    const auto found = stream.find(key);
    return found != stream.end() && found->is_number_unsigned() ? found->get<std::uint64_t>() : 0;
}

std::string nameOf(const Json& stream) {
    return stream.value("name", "");
}

bool isPlayback(const Json& stream) {
    return stream.contains("underruns");
}

/// "'voice' (program recorder, process 4711)"
std::string ownerText(const Json& stream) {
    const auto program = stream.value("program", Json());
    return nameOf(stream) + " (" +
           (program.is_string() ? "program " + program.get<std::string>() + ", " : "") +
           "process " + stream.value("process", Json()).dump() + ")";
}

/// Whether less than a period of the server has room.
bool isFull(const Json& stream) {
    const std::uint64_t size = numberOf(stream, "ring_bytes");
    const std::uint64_t frame = numberOf(stream, "channels") * numberOf(stream, "bits") / 8;
    const std::uint64_t used = isPlayback(stream) ? numberOf(stream, "queued_frames") * frame
                                                  : numberOf(stream, "queued_bytes");
    const std::uint64_t period = numberOf(stream, "rate_hz") * PERIOD_MS / 1000 * frame;
    return size > 0 && used + period >= size;
}

const Json* find(const Json& streams, const Json& wanted) {
    const auto found = std::find_if(streams.begin(), streams.end(), [&](const Json& stream) {
        return stream.at("name") == wanted.at("name") &&
               stream.value("tag", Json()) == wanted.value("tag", Json());
    });
    return found != streams.end() ? &*found : nullptr;
}

/// A program that plays keeps its ring full, so a ring is stuck only if the server takes nothing
/// from it for a while.
bool isStuck(const Json& before, const std::function<ServerState()>& again) {
    const auto deadline = std::chrono::steady_clock::now() + PATIENCE;
    while (std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(PAUSE);
        const ServerState server = again();
        if (server.state.is_null()) return false;
        const Json streams = server.state.value("streams", Json::array());
        const Json* const now = find(streams, before);
        if (now == nullptr || numberOf(*now, "frames") != numberOf(before, "frames")) return false;
    }
    return true;
}

/// Why the ring stays full; empty when it does not.
std::string troubleOf(const Json& stream, const std::function<ServerState()>& again) {
    if (!isFull(stream)) return "";
    if (!isPlayback(stream))
        return ownerText(stream) +
               " does not read: " + std::to_string(numberOf(stream, "overruns")) + " overruns";
    if (stream.value("state", "") != "active")
        return ownerText(stream) + " is stopped with a full ring";
    return isStuck(stream, again) ? "the server takes nothing from " + ownerText(stream) : "";
}

}  // namespace

Check checkSources(const ServerState& server) {
    if (server.state.is_null()) return withoutState("sources", server);
    Check check{"sources", true, Json::array(), "no sink waits for its source"};
    std::vector<std::string> waiting;
    std::string owner;
    for (const Json& stream : server.state.value("streams", Json::array())) {
        const auto source = stream.value("source", "");
        if (source == "active") owner = nameOf(stream);
        if (source == "withdrawn") waiting.push_back(nameOf(stream));
    }
    if (waiting.empty()) return check;
    check.value = waiting;
    check.warning = true;
    check.detail = joined(waiting) + (waiting.size() > 1 ? " wait" : " waits") + " for the source" +
                   (owner.empty() ? "" : ", which " + owner + " has");
    check.cure = server.command("server source activate") + " " + shellWord(waiting.front());
    return check;
}

Check checkRings(const ServerState& server, const std::function<ServerState()>& again) {
    if (server.state.is_null()) return withoutState("rings", server);
    Check check{"rings", true, Json::array(), "no ring is full for long"};
    std::vector<std::string> troubles;
    for (const Json& stream : server.state.value("streams", Json::array())) {
        const std::string trouble = troubleOf(stream, again);
        if (trouble.empty()) continue;
        check.value.push_back(nameOf(stream));
        troubles.push_back(trouble);
    }
    if (troubles.empty()) return check;
    check.warning = true;
    check.detail = joined(troubles);
    check.cure = "look at these programs: one that records must read, one that plays must start";
    return check;
}

}  // namespace cabinaudio::tool
