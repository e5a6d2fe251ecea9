// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/options/CommandLine.h"

namespace CLI {  // NOLINT(readability-identifier-naming): as CLI11 spells it
class App;
}

/// The options of each command. They are stored where the arguments say while the command line is
/// parsed.
namespace cabinaudio::tool {

/// @param raw  format of `--raw`, which the options take over if that is given
void addPlay(CLI::App& app, PlayOptions& options, RawFormat& raw, CommonOptions& common);
void addRecord(CLI::App& app, RecordOptions& options, CommonOptions& common);
/// Sets the defaults that depend on the tag, after parsing.
void completeFormat(const CLI::App& command, RecordOptions& options);

void addListen(CLI::App& app, ListenOptions& options, CommonOptions& common);
void addCheck(CLI::App& app, CheckOptions& options, CommonOptions& common);
void addTrace(CLI::App& app, TraceOptions& options, CommonOptions& common);
void addTop(CLI::App& app, TopOptions& options, CommonOptions& common);

void addServer(CLI::App& app, ServerOptions& options, CommonOptions& common);

void addGet(CLI::App& app, GetOptions& options, CommonOptions& common);
void addSet(CLI::App& app, SetOptions& options, CommonOptions& common);
void addList(CLI::App& app, ListOptions& options, CommonOptions& common);
void addDescribe(CLI::App& app, DescribeOptions& options, CommonOptions& common);
void addMonitor(CLI::App& app, MonitorOptions& options, CommonOptions& common);

}  // namespace cabinaudio::tool
