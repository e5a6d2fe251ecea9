// SPDX-License-Identifier: Apache-2.0
#include "tools/options/CommandLine.h"

#include "devkit/text/Output.h"
#include "tools/Failure.h"
#include "tools/ProgramVersion.h"
#include "tools/options/CommandOptions.h"
#include "tools/options/OptionParts.h"

#include <algorithm>
#include <sstream>
#include <string_view>

namespace cabinaudio::tool {

namespace {

constexpr char FOOTER[] =
    "Exit status: 0 done, 1 failed, 2 wrong usage, 3 no server, 4 timed out,\n"
    "5 a check was not met.";

std::string reportFault(const std::string& file) {
    constexpr std::string_view END = ".tar.gz";
    if (file.size() > END.size() && std::string_view(file).ends_with(END)) return "";
    return "must be a file name that ends in .tar.gz";
}

void addVersion(CLI::App& app, VersionOptions& options, CommonOptions& common) {
    CLI::App& command =
        *app.add_subcommand("version", "Print the versions of library and server side by side");
    addTimeout(command, options.timeout, "Time limit for the server's answer");
    addCommon(command, common);
}

void addDoctor(CLI::App& app, DoctorOptions& options, CommonOptions& common) {
    CLI::App& command =
        *app.add_subcommand("doctor", "Check for causes of missing sound, and name the remedies");
    command
        .add_option("--report", options.reportFile,
                    "Pack findings, versions, state, settings and logs for a ticket\ninto a new "
                    "file, and list what is in it")
        ->type_name("FILE.tar.gz")
        ->check(check(reportFault, "report"));
    addTimeout(command, options.timeout, "Time limit for the server's answer");
    addCommon(command, common);
}

/// It has its own server, so the options for connecting to one do not apply.
void addScenario(CLI::App& app, ScenarioOptions& options, CommonOptions& common) {
    CLI::App& command = *app.add_subcommand(
        "scenario", "Run programs against a server of their own, and judge them");
    command.add_option("FILE", options.file, "Programs, times, actions and expectations")
        ->type_name("")
        ->required();
    command.add_option("--junit", options.junitFile, "Write the results as JUnit's XML")
        ->type_name("FILE");
    command
        .add_option("--keep", options.keepDirectory,
                    "Keep sound, report, stems, trace and logs in this directory;\nwithout it, "
                    "they are kept of a failure only")
        ->type_name("DIR");
    command.add_flag("--json", common.json, "Print JSON instead of text, one value a line");
}

/// The unparsed words give a better message than the parser's own text.
std::string explain(const CLI::App& app, const CLI::ParseError& error) {
    for (const std::string& word : app.remaining(true)) {
        if (word == "--") continue;
        const bool isOption = word.size() > 1 && word.front() == '-';
        if (isOption) return "unknown option '" + word + "'";
        return (app.get_subcommands().empty() ? "unknown sub-command '" : "unknown argument '") +
               word + "'";
    }
    std::string text = error.what();
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

[[noreturn]] void refuse(const CLI::App& app, const std::string& why) {
    std::string help = "cabinaudio";
    for (const CLI::App* command : app.get_subcommands())
        help += " " + command->get_name();
    throw Failure(why + " (try '" + help + " --help')", ExitCode::Usage);
}

void configure(CLI::App& app) {
    app.name("cabinaudio");
    app.require_subcommand(1);
    app.set_version_flag("-V,--version", programVersion,
                         "Print the version, compiler and libraries, and exit");
    app.get_formatter()->column_width(28);
    app.get_formatter()->label("OPTIONS", "options");
    app.get_formatter()->label("SUBCOMMAND", "sub-command");
    app.footer(FOOTER);
}

}  // namespace

std::optional<Command> parseCommandLine(int argc, char** argv) {
    CLI::App app("Plays and records sound through the cabin audio server and looks after it.");
    configure(app);
    Command command;
    PlayOptions play;
    RawFormat raw;
    RecordOptions record;
    GetOptions get;
    SetOptions set;
    ListOptions list;
    DescribeOptions describe;
    MonitorOptions monitor;
    VersionOptions version;
    DoctorOptions doctor;
    ServerOptions server;
    ListenOptions listen;
    TopOptions top;
    ScenarioOptions scenario;
    CheckOptions checks;
    addPlay(app, play, raw, command.common);
    addRecord(app, record, command.common);
    addListen(app, listen, command.common);
    addTop(app, top, command.common);
    addScenario(app, scenario, command.common);
    addCheck(app, checks, command.common);
    addGet(app, get, command.common);
    addSet(app, set, command.common);
    addList(app, list, command.common);
    addDescribe(app, describe, command.common);
    addMonitor(app, monitor, command.common);
    addVersion(app, version, command.common);
    addDoctor(app, doctor, command.common);
    addServer(app, server, command.common);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& asked) {  // help or version
        std::ostringstream printed;
        app.exit(asked, printed, printed);
        text::print(printed.str());
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        refuse(app, explain(app, error));
    }
    if (app.got_subcommand("play")) {
        if (play.raw) play.raw = raw;
        if (const std::string fault = optionFault(play); !fault.empty()) refuse(app, fault);
        command.options = play;
    } else if (app.got_subcommand("record")) {
        completeFormat(*app.get_subcommand("record"), record);
        if (const std::string fault = optionFault(record, command.common); !fault.empty())
            refuse(app, fault);
        command.options = record;
    } else if (app.got_subcommand("listen")) {
        if (const std::string fault = optionFault(listen, command.common); !fault.empty())
            refuse(app, fault);
        command.options = listen;
    } else if (app.got_subcommand("check")) {
        if (const std::string fault = optionFault(checks); !fault.empty()) refuse(app, fault);
        command.options = checks;
    } else if (app.got_subcommand("top")) {
        if (const std::string fault = optionFault(top, command.common); !fault.empty())
            refuse(app, fault);
        command.options = top;
    } else if (app.got_subcommand("scenario")) {
        command.options = scenario;
    } else if (app.got_subcommand("server")) {
        command.options = server;
    } else if (app.got_subcommand("get")) {
        command.options = get;
    } else if (app.got_subcommand("set")) {
        command.options = set;
    } else if (app.got_subcommand("list")) {
        command.options = list;
    } else if (app.got_subcommand("describe")) {
        command.options = describe;
    } else if (app.got_subcommand("monitor")) {
        command.options = monitor;
    } else if (app.got_subcommand("version")) {
        command.options = version;
    } else {
        command.options = doctor;
    }
    return command;
}

}  // namespace cabinaudio::tool
