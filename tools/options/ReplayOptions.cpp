// SPDX-License-Identifier: Apache-2.0
#include "tools/options/CommandOptions.h"
#include "tools/options/OptionParts.h"

#include <cmath>

namespace cabinaudio::tool {

namespace {

void addPatience(CLI::App& command, ReplayOptions& options) {
    command
        .add_option_function<double>(
            "--patience",
            [&options](const double& seconds) {
                options.timeout = std::chrono::milliseconds(std::llround(seconds * 1000));
            },
            "Time limit for each step of the other side")
        ->type_name("SECONDS")
        ->check(range(0.01, 86400))
        ->default_str("10");
}

}  // namespace

void addReplay(CLI::App& app, ReplayOptions& options, CommonOptions& common) {
    CLI::App& command = *app.add_subcommand(
        "replay", "Play one side of a recorded conversation, and compare the other side");
    command
        .add_option("FILE", options.file,
                    "The capture; behind --, as a server, the application to start\nand its "
                    "arguments")
        ->type_name("")
        ->required();
    static constexpr std::pair<const char*, bool> ROLES[] = {{"client", false}, {"server", true}};
    addChoice(command, "--as", options.asServer, ROLES,
              "client: the recorded application, against the server that runs;\nserver: the "
              "recorded server, for one application");
    static constexpr std::pair<const char*, bool> TIMINGS[] = {{"answered", false}, {"kept", true}};
    addChoice(command, "--timing", options.keepsTiming, TIMINGS,
              "answered: as fast as the other side answers; kept: with the\nrecorded gaps");
    command
        .add_option("--ignore", options.ignored,
                    "Do not compare this field, such as levels or\ngetMasterVolume.gain; may be "
                    "given again")
        ->type_name("FIELD")
        ->allow_extra_args(false);
    command.add_option("--junit", options.junitFile, "Write the results as XML of JUnit")
        ->type_name("FILE");
    addPatience(command, options);
    addCommon(command, common);
}

}  // namespace cabinaudio::tool
