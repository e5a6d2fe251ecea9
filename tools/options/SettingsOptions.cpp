// SPDX-License-Identifier: Apache-2.0
// Commands that read and change settings.
#include "tools/options/CommandOptions.h"
#include "tools/options/OptionParts.h"

namespace cabinaudio::tool {

namespace {

constexpr char NAMES[] =
    "Names of settings, or patterns such as 'volume.*'; see\n'cabinaudio list'";

CLI::App& addSettings(CLI::App& app, const char* word, const char* what, SettingsOptions& options,
                      CommonOptions& common) {
    CLI::App& command = *app.add_subcommand(word, what);
    addTimeout(command, options.timeout, "Time limit for each answer of the server");
    addCommon(command, common);
    return command;
}

}  // namespace

void addGet(CLI::App& app, GetOptions& options, CommonOptions& common) {
    CLI::App& command =
        addSettings(app, "get", "Print settings as lines that set accepts", options, common);
    command.add_option("NAME", options.names, std::string(NAMES) + "; all without any")
        ->type_name("");
    command.add_flag("--steps", options.inSteps, "Volumes in steps, where the server has them");
    command.add_flag("--value", options.valueOnly, "Print the values only");
}

void addSet(CLI::App& app, SetOptions& options, CommonOptions& common) {
    CLI::App& command =
        addSettings(app, "set", "Change settings; nothing is changed if a name or value is wrong",
                    options, common);
    CLI::Option* assignments =
        command
            .add_option("NAME=VALUE", options.assignments,
                        "In this order; - reads lines from standard input.\nLines that begin with "
                        "'#' are ignored. NAME=3dB+, NAME=5-, NAME=10%+,\nNAME+=3dB and "
                        "NAME=toggle change the present value")
            ->type_name("");
    CLI::Option* file =
        command.add_option("--file", options.files, "Read lines from a file, after all others")
            ->type_name("FILE")
            ->expected(1);
    command.callback([assignments, file] {
        if (assignments->count() + file->count() == 0)
            throw CLI::RequiredError("NAME=VALUE or --file");
    });
}

void addList(CLI::App& app, ListOptions& options, CommonOptions& common) {
    CLI::App& command =
        addSettings(app, "list", "List the settings, or find them by a word such as navigation",
                    options, common);
    command
        .add_option("WORD", options.words,
                    "Only those with this in their name or description,\nor whose name matches "
                    "the pattern")
        ->type_name("");
    command.add_flag("--names", options.namesOnly, "Print the names only");
    command.add_flag("--readable", options.readable, "Only those that can be read");
    command.add_flag("--settable", options.settable, "Only those that can be set");
}

void addDescribe(CLI::App& app, DescribeOptions& options, CommonOptions& common) {
    CLI::App& command = addSettings(
        app, "describe", "Describe settings: range, unit, functions, an example", options, common);
    command.add_option("NAME", options.names, NAMES)->type_name("")->required();
    command.add_flag("--values", options.valuesOnly,
                     "Print words that the values can be, one a line");
}

void addMonitor(CLI::App& app, MonitorOptions& options, CommonOptions& common) {
    CLI::App& command = addSettings(app, "monitor", "Print settings when they change, until Ctrl-C",
                                    options, common);
    command.add_option("NAME", options.names, std::string(NAMES) + "; all but meters without any")
        ->type_name("");
    addInterval(command, options.interval,
                "Milliseconds between two polls of what the server does\nnot notify");
    command.add_option("--count", options.count, "End after this number of changes")
        ->type_name("N")
        ->check(range(1, 1e9));
}

}  // namespace cabinaudio::tool
