// SPDX-License-Identifier: Apache-2.0
#include "tools/ServerQuery.h"

#include <cabinaudio/client/ClientVersionSetting.h>

#include "tools/ChildProcess.h"
#include "tools/LibraryLog.h"
#include "tools/ServerSocket.h"
#include "tools/StandardDescriptors.h"

#include <unistd.h>

namespace cabinaudio::tool {

namespace {

using Clock = std::chrono::steady_clock;

// The library answers this without a server, so only an overloaded machine needs the limit.
constexpr std::chrono::seconds OWN_VERSION_BOUND{30};

/// The child's record about the server.
struct ServerRecord {
    bool registered;
    bool listens;  // checked when registration or query failed
    std::int32_t status;
    ServerVersions versions;
    std::int64_t durationUs;
};

/// The library accepts no socket whose number is that of a standard descriptor. While all three are
/// closed, clients cannot connect: their constructors return soon, whatever the server does. One
/// closed descriptor is not enough: under a sanitizer, a starting thread opens two for a moment.
class NoConnections {
public:
    NoConnections() {
        for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            close(standard);
    }
    ~NoConnections() { fillStandardDescriptors(); }
    NoConnections(const NoConnections&) = delete;
    NoConnections& operator=(const NoConnections&) = delete;
};

ClientVersions askLibrary() {
    const SilencedLibraryLog silenced;
    const NoConnections unconnected;
    ClientVersionSetting setting;
    ClientVersions versions = {};
    setting.getClientVersions(versions.first.data(), versions.second.data());
    return versions;
}

ServerRecord queryVersions() {
    ServerRecord record = {};
    const Clock::time_point start = Clock::now();
    ClientVersionSetting setting;
    record.status = setting.initCheck();
    record.registered = record.status == AUDIO_NO_ERROR;
    if (record.registered)
        record.status = setting.getServerVersions(
            record.versions.first.data(), record.versions.second.data(), &record.versions.third);
    if (!record.registered || record.status == UNANSWERED) record.listens = serverListens();
    record.durationUs =
        std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start).count();
    return record;
}

template <auto ASK>
void sendAnswer(int answers) {
    const auto record = ASK();
    answer(answers, &record, sizeof record);
}

Reach reached(const ServerRecord& record) {
    const bool isAnswered = record.registered && record.status != UNANSWERED;
    if (!isAnswered && !record.listens) return Reach::NoServer;
    if (!record.registered) return Reach::Refused;
    return record.status == AUDIO_NO_ERROR ? Reach::Answered : Reach::Failed;
}

}  // namespace

std::string dotted(const VersionTriple& triple) {
    return std::to_string(triple[0]) + "." + std::to_string(triple[1]) + "." +
           std::to_string(triple[2]);
}

ServerQuery queryServer(std::chrono::milliseconds bound) {
    ServerQuery query;
    // A separate child: the time limit applies to the server only.
    ChildResult child = runInChild(OWN_VERSION_BOUND, sendAnswer<askLibrary>);
    ClientVersions client;
    if (takeRecord(child.output, client)) query.client = client;

    child = runInChild(bound, sendAnswer<queryVersions>);
    query.reach = child.end == ChildEnd::Overdue ? Reach::Silent : Reach::Crashed;
    ServerRecord server;
    if (takeRecord(child.output, server)) {
        query.status = server.status;
        query.took = std::chrono::microseconds(server.durationUs);
        // The server listens, but the library's wait has timed out.
        const bool isSilent = server.listens && query.took >= bound;
        query.reach = isSilent ? Reach::Silent : reached(server);
        // A request that did not go through left the versions unset.
        if (server.registered && server.status != UNANSWERED) query.server = server.versions;
    }
    return query;
}

}  // namespace cabinaudio::tool
