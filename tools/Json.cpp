// SPDX-License-Identifier: Apache-2.0
#include "tools/Json.h"

#include "devkit/text/Output.h"
#include "devkit/text/Printable.h"

#include <cmath>

namespace cabinaudio::tool {

Json orNull(const std::string& text) {
    return text.empty() ? Json(nullptr) : Json(text);
}

Json orNull(const std::optional<double>& ms) {
    return ms ? Json(roundedMs(*ms)) : Json(nullptr);
}

std::string textAt(const Json& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->get<std::string>() : "";
}

double roundedMs(double ms) {
    return std::round(ms * 1000) / 1000;
}

const char* endName(ExitCode code) {
    switch (code) {
        case ExitCode::Done:
            return "done";
        case ExitCode::Usage:
            return "wrong_usage";
        case ExitCode::NoServer:
            return "no_server";
        case ExitCode::TimedOut:
            return "timed_out";
        case ExitCode::CheckNotMet:
            return "check_not_met";
        case ExitCode::Failed:
            break;
    }
    return "failed";
}

void addEnd(Json& report, ExitCode code, const std::string& error) {
    report["error"] = code == ExitCode::Done ? Json(nullptr) : Json(error);
    report["exit"] = static_cast<int>(code);
}

void printEnd(ExitCode code, const std::string& error) {
    Json report = {{"ended", endName(code)}};
    addEnd(report, code, error);
    printJson(report);
}

void printJson(const Json& value) {
    // File names are bytes; a name that is not UTF-8 must not make the whole report fail.
    const std::string line =
        text::printableJson(value.dump(-1, ' ', false, Json::error_handler_t::replace)) + "\n";
    text::print(line);
}

}  // namespace cabinaudio::tool
