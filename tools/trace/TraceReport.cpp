// SPDX-License-Identifier: Apache-2.0
#include "tools/trace/TraceReport.h"

#include "devkit/trace/Load.h"

namespace cabinaudio::tool {

namespace {

std::string counted(std::uint64_t count, const char* one) {
    return std::to_string(count) + " " + one + (count == 1 ? "" : "s");
}

}  // namespace

void TraceReport::count(const trace::Record& record) {
    if (record.kind == trace::Kind::Lost) {
        lostRecords += trace::load<trace::LostRecords>(record.bytes).count;
        return;
    }
    ++records;
    connections.insert(record.connection);
}

Json reportJson(const TraceReport& report, const std::string& file) {
    const bool isDone = report.ending.kind == StreamEnd::Done;
    Json json = {
        {"file", file == "-" ? Json(nullptr) : Json(file)}, {"records", report.records},
        {"connections", report.connections.size()},         {"lost_records", report.lostRecords},
        {"ended", endName(report.ending.kind, "traced")},   {"text", report.ending.text}};
    addEnd(json, exitCode(report.ending.kind), isDone ? "" : report.ending.text);
    return json;
}

std::string lineOf(const TraceReport& report, const std::string& file) {
    const std::string name = file == "-" ? "standard output" : file;
    return name + ": " + counted(report.records, "record") + " of " +
           counted(report.connections.size(), "connection") + "; " + report.ending.text;
}

}  // namespace cabinaudio::tool
