// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/trace/Record.h"
#include "tools/Json.h"
#include "tools/StreamEnd.h"
#include "tools/trace/TraceCommand.h"

#include <cstdint>
#include <set>
#include <string>

namespace cabinaudio::tool {

/// Counts of a trace, and how it has ended.
struct TraceReport {
    std::uint64_t records = 0;  // without those about losses
    std::set<std::uint32_t> connections;
    std::uint64_t lostRecords = 0;  // that the server has dropped
    Ending ending;

    void count(const trace::Record& record);
};

/// @param file  of the output; "-" is standard output
[[nodiscard]] Json reportJson(const TraceReport& report, const std::string& file);

/// "trace.pcapng: 120 records of 3 connections; the server ended"
[[nodiscard]] std::string lineOf(const TraceReport& report, const std::string& file);

}  // namespace cabinaudio::tool
