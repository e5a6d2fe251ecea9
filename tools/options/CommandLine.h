// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/CommonOptions.h"
#include "tools/check/CheckCommand.h"
#include "tools/doctor/Doctor.h"
#include "tools/listen/Listen.h"
#include "tools/play/Play.h"
#include "tools/record/Record.h"
#include "tools/scenario/ScenarioCommand.h"
#include "tools/server/Server.h"
#include "tools/settings/Describe.h"
#include "tools/settings/Get.h"
#include "tools/settings/List.h"
#include "tools/settings/Monitor.h"
#include "tools/settings/Set.h"
#include "tools/top/Top.h"
#include "tools/trace/TraceCommand.h"
#include "tools/version/Version.h"

#include <optional>
#include <variant>

namespace cabinaudio::tool {

/// The parsed command line. A new sub-command adds its options here, a run() for them, and its
/// words in CommandOptions.h.
struct Command {
    CommonOptions common;
    std::variant<PlayOptions, RecordOptions, GetOptions, SetOptions, ListOptions, DescribeOptions,
                 MonitorOptions, VersionOptions, DoctorOptions, ServerOptions, ListenOptions,
                 TopOptions, CheckOptions, ScenarioOptions, TraceOptions>
        options;
};

/// @return empty when help or version was requested and has been printed
/// @throws Failure with ExitCode::Usage
[[nodiscard]] std::optional<Command> parseCommandLine(int argc, char** argv);

}  // namespace cabinaudio::tool
