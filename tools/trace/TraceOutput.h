// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/trace/Conversations.h"
#include "devkit/trace/Record.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace cabinaudio::tool {

/// Where the records of a trace go, in one of the formats.
class TraceOutput {
public:
    TraceOutput() = default;
    virtual ~TraceOutput() = default;
    TraceOutput(const TraceOutput&) = delete;
    TraceOutput& operator=(const TraceOutput&) = delete;

    /// @throws Failure  the file cannot be written
    virtual void add(const trace::Record& record) = 0;
    /// No more records follow for now: hands over what there is.
    virtual void flush() = 0;
    /// The trace is over.
    virtual void end() = 0;
};

/// Makes one line, without its end, of what has happened; an empty line is left out.
using LineMaker = std::function<std::string(const trace::Happening&)>;
/// Takes a line with its end.
using LineTaker = std::function<void(const std::string&)>;

[[nodiscard]] std::unique_ptr<TraceOutput> makeLines(LineMaker maker, LineTaker taker);
/// @param file  "-" is standard output
/// @throws Failure  the file cannot be written
[[nodiscard]] std::unique_ptr<TraceOutput> makeCapture(const std::string& file);

}  // namespace cabinaudio::tool
