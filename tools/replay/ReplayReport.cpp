// SPDX-License-Identifier: Apache-2.0
#include "tools/replay/ReplayReport.h"

#include "devkit/text/Printable.h"
#include "tools/JUnit.h"
#include "tools/Json.h"
#include "tools/Terminal.h"

#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <utility>

namespace cabinaudio::tool {

namespace {

constexpr char REPLAY_CLASS[] = "cabinaudio.replay";

std::string counted(std::uint64_t count, const std::string& one) {
    return std::to_string(count) + " " + one + (count == 1 ? "" : "s");
}

std::string verdictOf(const replay::Result& result) {
    const std::size_t count = result.differences.size();
    return count == 0 ? "as recorded" : counted(count, "difference");
}

std::string summaryOf(const replay::Result& result) {
    return counted(result.connections, "connection") + ", " + counted(result.requests, "request") +
           ", " + counted(result.notifications, "notification") + ", " +
           counted(result.soundBytes, "byte") + " played, " + counted(result.heardBytes, "byte") +
           " recorded: " + verdictOf(result);
}

/// How the application has ended; empty when it was successful, or was not started.
std::string programText(const std::optional<int>& status) {
    if (!status || (WIFEXITED(*status) && WEXITSTATUS(*status) == 0)) return "";
    if (WIFSIGNALED(*status))
        return std::string("the application was ended by ") + strsignal(WTERMSIG(*status));
    return "the application ended with status " + std::to_string(WEXITSTATUS(*status));
}

Json toJson(const std::optional<int>& status) {
    if (!status) return nullptr;
    return WIFSIGNALED(*status) ? -WTERMSIG(*status) : WEXITSTATUS(*status);
}

Json numberOrNull(std::uint64_t number) {
    return number != 0 ? Json(number) : Json(nullptr);
}

Json toJson(const replay::Difference& difference) {
    return {{"record", numberOrNull(difference.record)},
            {"connection", numberOrNull(difference.connection)},
            {"client", difference.client},
            {"operation", difference.operation},
            {"field", orNull(difference.field)},
            {"recorded", difference.recorded},
            {"got", difference.got},
            {"text", difference.text()}};
}

Json toJson(const replay::Result& result, const ReplayOptions& options) {
    Json differences = Json::array();
    for (const replay::Difference& difference : result.differences)
        differences.push_back(toJson(difference));
    Json json = {{"file", options.file},
                 {"as", options.asServer ? "server" : "client"},
                 {"timing", options.keepsTiming ? "kept" : "answered"},
                 {"connections", result.connections},
                 {"requests", result.requests},
                 {"notifications", result.notifications},
                 {"played_bytes", result.soundBytes},
                 {"recorded_bytes", result.heardBytes},
                 {"application_status", toJson(result.programStatus)},
                 {"warnings", result.warnings},
                 {"equal", result.differences.empty()},
                 {"differences", std::move(differences)}};
    addEnd(json, codeOf(result), verdictOf(result));
    return json;
}

JUnitCase caseOf(const replay::Result& result, std::uint32_t number, const std::string& name) {
    JUnitCase one{REPLAY_CLASS, name, JUnitCase::Result::Met, {}, {}, 0};
    for (const replay::Difference& difference : result.differences) {
        if (difference.connection != number) continue;
        one.result = JUnitCase::Result::Failure;
        one.message += (one.message.empty() ? "" : "\n") + difference.text();
    }
    return one;
}

}  // namespace

ExitCode codeOf(const replay::Result& result) {
    return result.differences.empty() ? ExitCode::Done : ExitCode::CheckNotMet;
}

void printReport(const replay::Result& result, const ReplayOptions& options, bool json) {
    if (json) {
        printJson(toJson(result, options));
        return;
    }
    for (const std::string& warning : result.warnings)
        complain(warning);
    if (const std::string text = programText(result.programStatus); !text.empty()) complain(text);
    for (const replay::Difference& difference : result.differences)
        say(text::printable(difference.text()));
    say(summaryOf(result));
}

void writeJUnit(const std::string& path, const replay::Conversation& conversation,
                const replay::Result& result) {
    JUnitSuite suite{conversation.file, {}, {}};
    for (const replay::RecordedConnection& connection : conversation.connections)
        suite.cases.push_back(caseOf(result, connection.number, connection.title()));
    const bool hasSurplus = std::any_of(result.differences.begin(), result.differences.end(),
                                        [](const auto& one) { return one.connection == 0; });
    if (hasSurplus) suite.cases.push_back(caseOf(result, 0, "connections that were not recorded"));
    writeJUnit(path, suite);
}

void writeJUnitError(const std::string& path, const std::string& file, const std::string& error) {
    writeJUnit(
        path,
        JUnitSuite{file, {{REPLAY_CLASS, "replay", JUnitCase::Result::Error, error, {}, 0}}, {}});
}

}  // namespace cabinaudio::tool
