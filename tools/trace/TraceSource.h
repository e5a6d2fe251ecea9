// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/trace/Record.h"
#include "tools/Interruption.h"
#include "tools/StreamEnd.h"
#include "tools/trace/TraceCommand.h"

#include <memory>
#include <optional>

namespace cabinaudio::tool {

/// Where the records of a trace come from.
class TraceSource {
public:
    TraceSource() = default;
    virtual ~TraceSource() = default;
    TraceSource(const TraceSource&) = delete;
    TraceSource& operator=(const TraceSource&) = delete;

    /// Waits for the next record. @return empty at the end
    /// @throws trace::Error  what follows is no capture
    [[nodiscard]] virtual std::optional<trace::Record> next() = 0;
    /// Whether next() must wait.
    [[nodiscard]] virtual bool isIdle() const { return false; }
    /// Why there are no more records.
    [[nodiscard]] virtual Ending ending() const = 0;
};

/// @throws Failure        the server cannot be asked, or refuses
/// @throws trace::Error  the file cannot be read
[[nodiscard]] std::unique_ptr<TraceSource> openSource(const TraceOptions& options,
                                                      const Interruption& interruption);

}  // namespace cabinaudio::tool
