// SPDX-License-Identifier: Apache-2.0
#include "tools/options/CommandOptions.h"
#include "tools/options/OptionParts.h"

namespace cabinaudio::tool {

void addView(CLI::App& app, ViewOptions& options, CommonOptions& common) {
    CLI::App& command =
        *app.add_subcommand("view", "Show the cabin in a browser, or draw a picture of it");
    command.add_option("--port", options.port, "Port of the page; without it, any that is free")
        ->type_name("PORT")
        ->check(range(1, 65535));
    command.add_flag("!--no-open", options.mayOpen, "Open no browser, only print the address");
    command
        .add_option("--export", options.exportFile,
                    "Only draw the picture of the moment into this file, as .svg or\n.png")
        ->type_name("FILE");
    command.add_flag("--dark", options.isDark, "With --export: a dark background");
    addTimeout(command, options.timeout, "Time limit for each of the server's answers");
    addCommon(command, common);
}

}  // namespace cabinaudio::tool
