// SPDX-License-Identifier: Apache-2.0
#include "tools/doctor/Doctor.h"

#include "devkit/text/Printable.h"
#include "tools/ServerQuery.h"
#include "tools/Terminal.h"
#include "tools/doctor/Check.h"
#include "tools/doctor/ServerState.h"
#include "tools/doctor/SoundChecks.h"

#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace cabinaudio::tool {

namespace {

void append(std::vector<Check> more, std::vector<Check>& checks) {
    std::move(more.begin(), more.end(), std::back_inserter(checks));
}

/// Only of a server that answers.
std::vector<Check> examineSound(std::chrono::milliseconds timeout, const std::string& instance) {
    ServerState server = readState(timeout);
    server.instance = instance;
    server.settings = readSettings(timeout);
    std::vector<Check> checks = {
        checkOutput(server),  checkOutputErrors(server),
        checkMutes(server),   checkVolumes(server),
        checkSources(server), checkRings(server, [timeout] {
                                                                      return readState(timeout); }),
        checkRates(server)};
    append(checkStreams(server), checks);
    return checks;
}

std::vector<Check> examine(const DoctorOptions& options, const CommonOptions& common) {
    const ServerQuery query = queryServer(options.timeout);
    std::vector<Check> checks = {checkServer(query, options.timeout)};
    if (query.reach != Reach::NoServer) checks.push_back(checkServerUser(query));
    if (query.reach == Reach::Answered)
        append(examineSound(options.timeout, common.instance), checks);
    append({checkRealTime(), checkLogLibrary(), checkSharedMemory(), checkPhysicalMemory(),
            checkCache(), checkCLibrary(), checkDescriptors(options.closedDescriptors),
            checkVersions(query)},
           checks);
    return checks;
}

const char* levelOf(const Check& check) {
    if (!check.ok) return "failed";
    return check.warning ? "warning" : "ok";
}

std::string mark(const Check& check, bool colour) {
    const std::string word = !check.ok ? "FAIL" : check.warning ? "warn" : "ok  ";
    if (!colour) return word;
    const char* const code = !check.ok ? "\033[31m" : check.warning ? "\033[33m" : "\033[32m";
    return code + word + "\033[0m";
}

std::string line(const Check& check, bool colour) {
    constexpr std::size_t NAME_WIDTH = 17;
    std::string text = mark(check, colour) + "  " + check.name;
    text.append(NAME_WIDTH - std::min(NAME_WIDTH, check.name.size()), ' ');
    text += text::printable(check.detail);
    if (!check.cure.empty()) text += " -> " + text::printable(check.cure);
    return text;
}

Json toJson(const Check& check) {
    Json json = {
        {"name", check.name}, {"ok", check.ok}, {"level", levelOf(check)}, {"value", check.value}};
    json.update(check.more);
    json["detail"] = check.detail;
    json["cure"] = nullptr;
    if (!check.cure.empty()) json["cure"] = check.cure;
    return json;
}

void print(const std::vector<Check>& checks, bool json) {
    if (json) {
        Json array = Json::array();
        for (const Check& check : checks)
            array.push_back(toJson(check));
        printJson(array);
        return;
    }
    const bool colour = mayColour(STDOUT_FILENO);
    for (const Check& check : checks)
        say(line(check, colour));
}

}  // namespace

ExitCode run(const DoctorOptions& options, const CommonOptions& common) {
    const std::vector<Check> checks = examine(options, common);
    print(checks, common.json);
    const bool fine =
        std::all_of(checks.begin(), checks.end(), [](const Check& check) { return check.ok; });
    return fine ? ExitCode::Done : ExitCode::Failed;
}

}  // namespace cabinaudio::tool
