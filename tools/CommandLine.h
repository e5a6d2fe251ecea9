// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/CommonOptions.h"
#include "tools/doctor/Doctor.h"
#include "tools/play/Play.h"
#include "tools/record/Record.h"
#include "tools/server/Server.h"
#include "tools/version/Version.h"

#include <optional>
#include <variant>

namespace cabinaudio::tool {

/// What the command line asks for. A new sub-command adds its options here, run() for them, and its
/// words in CommandLine.cpp.
struct Command {
    CommonOptions common;
    std::variant<PlayOptions, RecordOptions, VersionOptions, DoctorOptions, ServerOptions> options;
};

/// @return none when help or version was asked for and has been printed
/// @throws Failure with ExitCode::Usage
[[nodiscard]] std::optional<Command> parseCommandLine(int argc, char** argv);

}  // namespace cabinaudio::tool
