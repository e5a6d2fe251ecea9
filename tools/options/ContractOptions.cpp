// SPDX-License-Identifier: Apache-2.0
#include "tools/options/CommandOptions.h"
#include "tools/options/OptionParts.h"

#include <cmath>

namespace cabinaudio::tool {

namespace {

void addPatterns(CLI::App& command, const char* option, std::vector<std::string>& patterns,
                 const char* what) {
    command.add_option(option, patterns, what)->type_name("PATTERN")->allow_extra_args(false);
}

}  // namespace

void addCheckServer(CLI::App& app, CheckServerOptions& options, CommonOptions& common) {
    CLI::App& command = *app.add_subcommand(
        "check-server", "Check which rules of the protocol the running server keeps");
    addPatterns(command, "--only", options.only,
                "Rules to check, as a pattern of the shell; may be repeated");
    addPatterns(command, "--skip", options.skip, "Rules to leave out; may be repeated");
    command.add_flag("--safe", options.isSafe,
                     "Only rules that read: no setting is changed, no stream is\ncreated, nothing "
                     "malformed is sent");
    command.add_flag("--write-only", options.writeOnly,
                     "Also send settings that cannot be read, and so not be set\nback; they get "
                     "the defaults of cabinaudio-server");
    command.add_flag("--list", options.isList, "Print the rules, and check none");
    command.add_option("--junit", options.junitFile, "Write the results as XML of JUnit")
        ->type_name("FILE");
    command
        .add_option_function<double>(
            "--patience",
            [&options](const double& seconds) {
                options.timeout = std::chrono::milliseconds(std::llround(seconds * 1000));
            },
            "Time limit for each wait for the server")
        ->type_name("SECONDS")
        ->check(range(0.01, 86400))
        ->default_str("5");
    addCommon(command, common);
}

}  // namespace cabinaudio::tool
