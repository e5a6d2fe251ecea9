// SPDX-License-Identifier: Apache-2.0
#include "tools/check/CheckReport.h"

#include "devkit/text/Printable.h"
#include "tools/Json.h"
#include "tools/Terminal.h"

#include <algorithm>
#include <cmath>

namespace cabinaudio::tool {

namespace {

std::string verdictLine(const hear::Verdict& verdict) {
    return (verdict.isMet ? "ok      " : "NOT MET ") + text::printable(verdict.text);
}

double rounded(double seconds) {
    return std::round(seconds * 1e6) / 1e6;
}

Json toJson(const hear::Verdict& verdict) {
    return {{"check", verdict.check},
            {"from", rounded(verdict.from)},
            {"to", rounded(verdict.to)},
            {"met", verdict.isMet},
            {"measured", verdict.measured},
            {"required", verdict.required},
            {"at", verdict.at ? Json(rounded(*verdict.at)) : Json(nullptr)},
            {"text", verdict.text}};
}

Json toJson(const CheckReport& report) {
    Json checks = Json::array();
    for (const hear::Verdict& verdict : report.verdicts)
        checks.push_back(toJson(verdict));
    Json json = {{"file", report.file},
                 {"rate_hz", report.rate},
                 {"channels", report.channels},
                 {"frames", report.frames},
                 {"met", report.failures() == 0},
                 {"checks", std::move(checks)},
                 {"picture", orNull(report.picture)}};
    addEnd(json, report.code(),
           std::to_string(report.failures()) + " of " + std::to_string(report.verdicts.size()) +
               " checks not met");
    return json;
}

}  // namespace

std::size_t CheckReport::failures() const {
    return static_cast<std::size_t>(
        std::count_if(verdicts.begin(), verdicts.end(),
                      [](const hear::Verdict& verdict) { return !verdict.isMet; }));
}

ExitCode CheckReport::code() const {
    return failures() == 0 ? ExitCode::Done : ExitCode::CheckNotMet;
}

void printReport(const CheckReport& report, bool json) {
    if (json) {
        printJson(toJson(report));
        return;
    }
    for (const hear::Verdict& verdict : report.verdicts)
        say(verdictLine(verdict));
}

}  // namespace cabinaudio::tool
