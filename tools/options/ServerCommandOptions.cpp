// SPDX-License-Identifier: Apache-2.0
// Commands that a server is sent.
#include "tools/options/CommandOptions.h"
#include "tools/options/OptionParts.h"

namespace cabinaudio::tool {

namespace {

/// One server command: its words, and an argument unless `argument` is null.
CLI::App& addServerCommand(CLI::App& parent, const std::string& word, const std::string& words,
                           const char* what, ServerOptions& options, CommonOptions& common) {
    CLI::App& command = *parent.add_subcommand(word, what);
    command.callback([&options, words] { options.command.insert(0, words); });
    addTimeout(command, options.timeout, "Time limit for the server's answer");
    addCommon(command, common);
    return command;
}

CLI::Option& addArgument(CLI::App& command, ServerOptions& options, const char* what) {
    return *command
                .add_option_function<std::string>(
                    "NAME", [&options](const std::string& name) { options.command = " " + name; },
                    what)
                ->type_name("")
                ->check(check(argumentFault, "name"));
}

void addServerStreams(CLI::App& server, ServerOptions& options, CommonOptions& common) {
    CLI::App& source = *server.add_subcommand("source", "The source of the main output");
    source.require_subcommand(1);
    for (const auto& [word, what] : {std::pair{"activate", "Make a sink the main source"},
                                     std::pair{"withdraw", "Take the main output from a sink"}})
        addArgument(
            addServerCommand(source, word, std::string("source ") + word, what, options, common),
            options, "The sink's name")
            .required();
    CLI::App& stream = *server.add_subcommand("stream", "The streams of the clients");
    stream.require_subcommand(1);
    addArgument(
        addServerCommand(stream, "remove", "stream remove", "Remove a stream", options, common),
        options, "The stream's name")
        .required();
    CLI::App& rings = *server.add_subcommand("ring", "The rings of the streams");
    rings.require_subcommand(1);
    addArgument(addServerCommand(rings, "announce", "ring announce",
                                 "Announce a stream's ring again", options, common),
                options, "The stream's name")
        .required();
    CLI::App& uplink = *server.add_subcommand("uplink", "The uplink of a call");
    uplink.require_subcommand(1);
    CLI::App& ring =
        *uplink.add_subcommand("ring", "The uplink's ring; without it, recordings are silent");
    ring.require_subcommand(1);
    for (const auto& [word, what] : {std::pair{"on", "Announce the rings of uplinks"},
                                     std::pair{"off", "Withdraw the rings of uplinks"}})
        addArgument(
            addServerCommand(ring, word, std::string("uplink ring ") + word, what, options, common),
            options, "Of this uplink only");
}

/// The arguments of a command are put together in the order of these calls.
CLI::Option& addMilliseconds(CLI::App& command, ServerOptions& options, const char* what) {
    return *command
                .add_option_function<std::int64_t>(
                    "MS",
                    [&options](const std::int64_t& ms) {
                        options.command += " " + std::to_string(ms);
                    },
                    what)
                ->type_name("")
                ->check(range(0, 86'400'000));
}

CLI::Option& addWord(CLI::App& command, ServerOptions& options, const char* name,
                     const char* what) {
    return *command
                .add_option_function<std::string>(
                    name, [&options](const std::string& word) { options.command += " " + word; },
                    what)
                ->type_name("")
                ->check(check(argumentFault, "argument"));
}

/// A command that is answered when it is done.
CLI::App& addLongCommand(CLI::App& parent, const std::string& word, const std::string& words,
                         const char* what, ServerOptions& options, CommonOptions& common) {
    CLI::App& command = *parent.add_subcommand(word, what);
    command.callback([&options, words] {
        options.command.insert(0, words);
        options.isLong = true;
    });
    addTimeout(command, options.longTimeout, "Time limit for the server's answer");
    addCommon(command, common);
    return command;
}

void addServerTime(CLI::App& server, ServerOptions& options, CommonOptions& common) {
    CLI::App& time = addServerCommand(
        server, "time", "time", "Show how far time is and what it waits for", options, common);
    time.require_subcommand(0, 1);
    time.callback([&options, &time] {
        if (!time.get_subcommands().empty()) return;
        options.command = "time";
        options.answer = ServerOptions::Answer::Time;
    });
    addMilliseconds(addLongCommand(time, "run", "time run", "Let time pass, and wait until it has",
                                   options, common),
                    options, "So much time, in milliseconds")
        .required();
    addMilliseconds(addServerCommand(time, "stop", "time stop", "Let time stand", options, common),
                    options, "When time is there; without it, at once");
    addServerCommand(time, "go", "time go", "Let time pass again", options, common);
    CLI::App& await =
        addServerCommand(time, "await", "time await",
                         "Let time not pass before a stream is started", options, common);
    addWord(await, options, "NAME", "The stream's name").required();
    addMilliseconds(await, options, "Nor the stream be heard earlier; without it, now");
    CLI::App& hold =
        addServerCommand(time, "hold", "time hold",
                         "Let time begin when so many streams are started", options, common);
    addWord(hold, options, "N", "Number of streams").required()->check(CLI::Range(0, 1000));
    addLongCommand(time, "settle", "time settle", "Wait until no stream can write more", options,
                   common);
    CLI::App& at =
        addServerCommand(server, "at", "at", "Run a server command at a time", options, common);
    addMilliseconds(at, options, "When time is there").required();
    at.add_option_function<std::vector<std::string>>(
          "COMMAND",
          [&options](const std::vector<std::string>& words) {
              for (const std::string& word : words)
                  options.command += " " + word;
          },
          "The command's words")
        ->type_name("")
        ->required()
        ->check(check(argumentFault, "word"));
}

void addServerFaults(CLI::App& server, ServerOptions& options, CommonOptions& common) {
    CLI::App& fault = *server.add_subcommand("fault", "Damage the next reply to a program");
    fault.require_subcommand(1);
    for (const auto& [word, what] : {std::pair{"short-reply", "Half of the reply is missing"},
                                     std::pair{"wrong-magic", "The reply's first word is wrong"}}) {
        CLI::App& command =
            addServerCommand(fault, word, std::string("fault ") + word, what, options, common);
        addWord(command, options, "REQUEST", "The request, for example start; or any").required();
        addWord(command, options, "NAME", "Of this stream only");
    }
}

}  // namespace

void addServer(CLI::App& app, ServerOptions& options, CommonOptions& common) {
    CLI::App& server =
        *app.add_subcommand("server", "Send a command to a running cabinaudio-server");
    server.require_subcommand(1);
    addServerCommand(server, "state", "state", "Show its streams; --json shows all of it", options,
                     common)
        .callback([&options] {
            options.command = "state";
            options.answer = ServerOptions::Answer::State;
        });
    addServerStreams(server, options, common);
    addServerTime(server, options, common);
    addServerFaults(server, options, common);
    CLI::App& stall =
        addServerCommand(server, "stall", "stall", "Block the server for a while", options, common);
    stall
        .add_option_function<int>(
            "MS", [&options](const int& ms) { options.command = " " + std::to_string(ms); },
            "Milliseconds, 1 to 60000")
        ->type_name("")
        ->required()
        ->check(range(1, 60000));
    addServerCommand(server, "crash", "crash", "Abort the server at once", options, common);
}

}  // namespace cabinaudio::tool
