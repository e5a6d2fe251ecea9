// SPDX-License-Identifier: Apache-2.0
#include "tools/version/Version.h"

#include "tools/Duration.h"
#include "tools/Json.h"
#include "tools/Names.h"
#include "tools/ServerQuery.h"
#include "tools/ServerSocket.h"
#include "tools/Terminal.h"

#include <cstdio>

namespace cabinaudio::tool {

namespace {

struct Conclusion {
    ExitCode code;
    const char* name;  // in JSON
    std::string text;  // for stderr
};

Conclusion judge(const ServerQuery& query, const VersionOptions& options) {
    switch (query.reach) {
        case Reach::Answered:
            return {ExitCode::Done, "answered", ""};
        case Reach::NoServer:
            return {ExitCode::NoServer, "no_server", noServerText()};
        case Reach::Silent:
            return {ExitCode::TimedOut, "timed_out",
                    "timed out after " + secondsText(options.timeout) +
                        " waiting for the server's version"};
        case Reach::Refused:
            return {ExitCode::Failed, "refused",
                    "the server did not register this client; see 'cabinaudio doctor'"};
        case Reach::Failed:
            return {ExitCode::Failed, "failed",
                    "the version query failed: " + statusText(query.status)};
        case Reach::Crashed:
            break;
    }
    return {ExitCode::Failed, "crashed", "the library crashed in the version query"};
}

void printRow(const char* name, const std::string& client, const std::string& server) {
    std::printf("%-8s%-12s%s\n", name, client.c_str(), server.c_str());
}

void printTable(const ServerQuery& query) {
    const auto& client = query.client;
    const auto& server = query.server;
    const std::string none = "-";
    printRow("", "client", "server");
    printRow("first", client ? dotted(client->first) : none, server ? dotted(server->first) : none);
    printRow("second", client ? dotted(client->second) : none,
             server ? dotted(server->second) : none);
    printRow("third", none, server ? std::to_string(server->third) : none);
}

Json toJson(const ServerQuery& query, const Conclusion& conclusion) {
    Json json;
    json["client"] = nullptr;
    if (query.client)
        json["client"] = {{"first", query.client->first}, {"second", query.client->second}};
    json["server"] = nullptr;
    if (query.server)
        json["server"] = {{"first", query.server->first},
                          {"second", query.server->second},
                          {"third", query.server->third}};
    json["ended"] = conclusion.name;
    json["status"] = query.status;
    json["status_name"] = statusName(query.status);
    json["answer_ms"] = nullptr;
    if (query.reach == Reach::Answered)
        json["answer_ms"] = static_cast<double>(query.took.count()) / 1000;
    addEnd(json, conclusion.code, conclusion.text);
    return json;
}

}  // namespace

ExitCode run(const VersionOptions& options, const CommonOptions& common) {
    const ServerQuery query = queryServer(options.timeout);
    const Conclusion conclusion = judge(query, options);
    if (common.json)
        printJson(toJson(query, conclusion));
    else
        printTable(query);
    if (conclusion.code != ExitCode::Done) complain(conclusion.text);
    return conclusion.code;
}

}  // namespace cabinaudio::tool
