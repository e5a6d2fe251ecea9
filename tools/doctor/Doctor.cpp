// SPDX-License-Identifier: Apache-2.0
#include "tools/doctor/Doctor.h"

#include "devkit/text/Printable.h"
#include "tools/ServerQuery.h"
#include "tools/Terminal.h"
#include "tools/doctor/Check.h"

#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

namespace cabinaudio::tool {

namespace {

std::vector<Check> examine(const DoctorOptions& options) {
    const ServerQuery query = queryServer(options.timeout);
    return {checkServer(query, options.timeout),
            checkRealTime(),
            checkLogLibrary(),
            checkSharedMemory(),
            checkPhysicalMemory(),
            checkCache(),
            checkCLibrary(),
            checkDescriptors(options.closedDescriptors),
            checkVersions(query)};
}

std::string mark(bool ok, bool colour) {
    const std::string word = ok ? "ok  " : "FAIL";
    if (!colour) return word;
    return (ok ? "\033[32m" : "\033[31m") + word + "\033[0m";
}

std::string line(const Check& check, bool colour) {
    constexpr std::size_t NAME_WIDTH = 17;
    std::string text = mark(check.ok, colour) + "  " + check.name;
    text.append(NAME_WIDTH - std::min(NAME_WIDTH, check.name.size()), ' ');
    text += text::printable(check.detail);
    if (!check.cure.empty()) text += " -> " + text::printable(check.cure);
    return text;
}

Json toJson(const Check& check) {
    Json json = {{"name", check.name}, {"ok", check.ok}, {"value", check.value}};
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
    const std::vector<Check> checks = examine(options);
    print(checks, common.json);
    const bool fine =
        std::all_of(checks.begin(), checks.end(), [](const Check& check) { return check.ok; });
    return fine ? ExitCode::Done : ExitCode::Failed;
}

}  // namespace cabinaudio::tool
