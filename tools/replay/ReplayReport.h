// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/replay/Conversation.h"
#include "devkit/replay/Result.h"
#include "tools/ExitCode.h"
#include "tools/replay/Replay.h"

#include <string>

namespace cabinaudio::tool {

[[nodiscard]] ExitCode codeOf(const replay::Result& result);

/// A line for each difference and one for the whole, or one JSON object.
void printReport(const replay::Result& result, const ReplayOptions& options, bool json);

/// Writes a file for continuous integration: a suite for the capture, a case for each connection.
/// @throws Failure
void writeJUnit(const std::string& path, const replay::Conversation& conversation,
                const replay::Result& result);

/// The same for a replay that could not be made.
void writeJUnitError(const std::string& path, const std::string& file, const std::string& error);

}  // namespace cabinaudio::tool
