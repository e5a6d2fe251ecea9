// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/clients/Client.h"
#include "devkit/server/control/ChangeList.h"
#include "devkit/server/outputs/Output.h"
#include "devkit/server/settings/Settings.h"
#include "devkit/server/streams/CaptureRegistry.h"
#include "devkit/server/streams/Mixer.h"
#include "devkit/server/streams/StreamRegistry.h"
#include "devkit/server/time/TimeLine.h"
#include "devkit/server/time/TimeOptions.h"

#include <nlohmann/json_fwd.hpp>

#include <memory>
#include <string>
#include <vector>

namespace cabinaudio::server {

/// Sources of the state and of the report.
struct Reported {
    const StreamRegistry& streams;
    const CaptureRegistry& captures;
    const Mixer& mixer;
    const Output& output;
    const OutputFormat& format;
    const Settings& settings;
    const std::string& requestedOutput;  // as on the command line
    const TimeLine& time;
    const TimeOptions& timeOptions;
    const ChangeList* changes;  // null without a report
};

/// The server's present state: output, clients, streams, settings.
nlohmann::json stateOf(const Reported& reported,
                       const std::vector<std::unique_ptr<Client>>& clients);

/// The settings, and the streams that play, for subscribers to changes.
nlohmann::json watchedOf(const Settings& settings, const StreamRegistry& streams);

/// Everything played since the start, with the position in the output of every run of frames. Where
/// frames alone decide what is heard, equal runs have equal reports: the streams are sorted, and
/// have no process.
nlohmann::json reportOf(const Reported& reported);

/// @throws std::runtime_error when the file cannot be written
void writeFile(const std::string& path, const nlohmann::json& json);

/// On one line; invalid UTF-8 in names is replaced.
std::string textOf(const nlohmann::json& json);

}  // namespace cabinaudio::server
