// SPDX-License-Identifier: Apache-2.0
#include "tools/doctor/Doctor.h"

#include "devkit/text/Printable.h"
#include "tools/ServerQuery.h"
#include "tools/Terminal.h"
#include "tools/doctor/Check.h"
#include "tools/doctor/Report.h"
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

struct Examination {
    ServerQuery query;
    ServerState server = {};  // empty unless it answers
    std::vector<Check> checks = {};
};

std::vector<Check> checkSound(const ServerState& server, std::chrono::milliseconds timeout) {
    std::vector<Check> checks = {
        checkOutput(server),  checkOutputErrors(server),
        checkMutes(server),   checkVolumes(server),
        checkSources(server), checkRings(server, [timeout] { return readState(timeout); }),
        checkRates(server)};
    append(checkStreams(server), checks);
    return checks;
}

/// Only of a server that answers.
void examineSound(std::chrono::milliseconds timeout, const std::string& instance,
                  Examination& all) {
    all.server = readState(timeout);
    all.server.settings = readSettings(timeout);
    all.server.instance = instance;
    try {
        append(checkSound(all.server, timeout), all.checks);
    } catch (const Json::exception& error) {
        all.checks.push_back({"state", false, "unreadable",
                              std::string("the server's state cannot be read: ") + error.what(),
                              "install server and tool of one version"});
    }
}

Examination examine(const DoctorOptions& options, const CommonOptions& common) {
    Examination all{queryServer(options.timeout)};
    all.checks.push_back(checkServer(all.query, options.timeout));
    if (all.query.reach != Reach::NoServer) all.checks.push_back(checkServerUser(all.query));
    if (all.query.reach == Reach::Answered) examineSound(options.timeout, common.instance, all);
    append({checkRealTime(), checkLogLibrary(), checkSharedMemory(), checkPhysicalMemory(),
            checkCache(), checkCLibrary(), checkDescriptors(options.closedDescriptors),
            checkVersions(all.query), checkAlsaPlugin(), checkGStreamerPlugin()},
           all.checks);
    return all;
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

Json toJson(const std::vector<Check>& checks) {
    Json array = Json::array();
    for (const Check& check : checks)
        array.push_back(toJson(check));
    return array;
}

std::string linesOf(const std::vector<Check>& checks, bool colour) {
    std::string text;
    for (const Check& check : checks)
        text += line(check, colour) + "\n";
    return text;
}

void print(const std::vector<Check>& checks, bool json) {
    if (json) {
        printJson(toJson(checks));
        return;
    }
    std::string text = linesOf(checks, mayColour(STDOUT_FILENO));
    text.pop_back();  // the last line's end
    say(text);
}

/// The user must know the content before the report leaves the machine.
void printContent(const std::string& file, const std::vector<Member>& members, bool json,
                  ExitCode code) {
    if (json) {
        Json list = Json::array();
        for (const Member& member : members)
            list.push_back({{"name", member.name},
                            {"bytes", member.content.size()},
                            {"content", member.what}});
        Json content = {{"report", file}, {"members", list}};
        addEnd(content, code, "checks have failed");
        printJson(content);
        return;
    }
    say(text::printable(file) + ", for your ticket, contains:");
    for (const Member& member : members)
        say("  " + member.name + ", " + std::to_string(member.content.size()) +
            " bytes: " + text::printable(member.what));
}

void report(const Examination& all, const DoctorOptions& options, const CommonOptions& common,
            ExitCode code) {
    const std::vector<Member> members = membersOf(
        {all.query, all.server, linesOf(all.checks, false), toJson(all.checks)}, common.logFile);
    writeReport(options.reportFile, archiveOf("cabinaudio-report", members));
    printContent(options.reportFile, members, common.json, code);
}

}  // namespace

ExitCode run(const DoctorOptions& options, const CommonOptions& common) {
    if (!options.reportFile.empty()) requireAbsent(options.reportFile);
    const Examination all = examine(options, common);
    print(all.checks, common.json);
    const bool fine = std::all_of(all.checks.begin(), all.checks.end(),
                                  [](const Check& check) { return check.ok; });
    const ExitCode code = fine ? ExitCode::Done : ExitCode::Failed;
    if (!options.reportFile.empty()) report(all, options, common, code);
    return code;
}

}  // namespace cabinaudio::tool
