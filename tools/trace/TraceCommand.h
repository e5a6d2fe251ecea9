// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/CommonOptions.h"
#include "tools/ExitCode.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace cabinaudio::tool {

enum class TraceFormat { Text, JsonLines, Pcapng };

struct TraceOptions {
    std::string file;                         // empty: the running server
    std::optional<TraceFormat> format;        // empty: text, or as --json says
    std::string output = "-";                 // "-" is standard output
    bool sound = false;                       // with the sound
    bool absolute = false;                    // lines of text begin with the date
    std::optional<std::uint32_t> connection;  // of this number only
    std::optional<std::string> name;          // of clients of this name only
    std::string type;                         // of this type only; empty: all
    std::optional<double> seconds;            // of a running server; empty: until interrupted
    std::chrono::milliseconds timeout{5000};  // for the server's answer
};

/// @return why these options conflict; empty when they do not
[[nodiscard]] std::string optionFault(const TraceOptions& options, const CommonOptions& common);

/// Shows what goes over the wire of the running development server, or the contents of a capture.
[[nodiscard]] ExitCode run(const TraceOptions& options, const CommonOptions& common);

}  // namespace cabinaudio::tool
