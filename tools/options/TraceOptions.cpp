// SPDX-License-Identifier: Apache-2.0
#include "devkit/trace/ConnectType.h"
#include "tools/options/CommandOptions.h"
#include "tools/options/OptionParts.h"

namespace cabinaudio::tool {

namespace {

constexpr std::pair<const char*, TraceFormat> FORMATS[] = {
    {"text", TraceFormat::Text}, {"json", TraceFormat::JsonLines}, {"pcapng", TraceFormat::Pcapng}};

std::vector<std::string> formatNames() {
    std::vector<std::string> names;
    for (const auto& [name, format] : FORMATS)
        names.emplace_back(name);
    return names;
}

TraceFormat formatOf(const std::string& text) {
    return std::find_if(std::begin(FORMATS), std::end(FORMATS),
                        [&](const auto& row) { return text == row.first; })
        ->second;
}

void addFilters(CLI::App& command, TraceOptions& options) {
    command.add_option("--connection", options.connection, "The connection of this number only")
        ->type_name("N")
        ->check(range(1, 4294967295.0));
    command.add_option("--name", options.name, "Clients of this name only")->type_name("NAME");
    command
        .add_option("--type", options.type,
                    "Connections of this type only: main, alternative, ...,\nvolume, source, app, "
                    "mixer, version")
        ->type_name("NAME")
        ->check(oneOf(trace::connectTypeNames()));
}

}  // namespace

void addTrace(CLI::App& app, TraceOptions& options, CommonOptions& common) {
    CLI::App& command = *app.add_subcommand(
        "trace", "Show requests, replies, notifications and rings by name, live or of a capture");
    command
        .add_option("FILE", options.file,
                    "A capture (pcapng); without it, what goes over the wire of the\nrunning "
                    "cabinaudio-server, until Ctrl-C")
        ->type_name("");
    command
        .add_option_function<std::string>(
            "--format", [&options](const std::string& text) { options.format = formatOf(text); },
            "text, json (one object a line) or pcapng; text without it")
        ->type_name("NAME")
        ->check(oneOf(formatNames()));
    command.add_option("--output", options.output, "Write to this file; - is standard output")
        ->type_name("FILE")
        ->default_str("-");
    command.add_flag("--sound", options.sound, "With the sound that goes through the rings");
    command.add_flag("--absolute", options.absolute,
                     "Begin lines of text with date and time of UTC");
    addFilters(command, options);
    command.add_option("--for", options.seconds, "End after this time; not with FILE")
        ->type_name("SECONDS")
        ->check(range(0.001, 1e6));
    addTimeout(command, options.timeout, "Time limit for the server's answer");
    addCommon(command, common);
}

}  // namespace cabinaudio::tool
