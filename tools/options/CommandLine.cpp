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

/// Where the options of all commands are stored while the command line is parsed.
struct AllOptions {
    PlayOptions play;
    RawFormat raw;
    RecordOptions record;
    ListenOptions listen;
    TopOptions top;
    ScenarioOptions scenario;
    CheckOptions check;
    TraceOptions trace;
    GetOptions get;
    SetOptions set;
    ListOptions list;
    DescribeOptions describe;
    MonitorOptions monitor;
    VersionOptions version;
    DoctorOptions doctor;
    ServerOptions server;
};

/// In the order of the help.
void addCommands(CLI::App& app, AllOptions& all, CommonOptions& common) {
    addPlay(app, all.play, all.raw, common);
    addRecord(app, all.record, common);
    addListen(app, all.listen, common);
    addTop(app, all.top, common);
    addScenario(app, all.scenario, common);
    addCheck(app, all.check, common);
    addTrace(app, all.trace, common);
    addGet(app, all.get, common);
    addSet(app, all.set, common);
    addList(app, all.list, common);
    addDescribe(app, all.describe, common);
    addMonitor(app, all.monitor, common);
    addVersion(app, all.version, common);
    addDoctor(app, all.doctor, common);
    addServer(app, all.server, common);
}

/// @return false when help or version was requested and has been printed
bool parse(CLI::App& app, int argc, char** argv) {
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& asked) {  // help or version
        std::ostringstream printed;
        app.exit(asked, printed, printed);
        text::print(printed.str());
        return false;
    } catch (const CLI::ParseError& error) {
        refuse(app, explain(app, error));
    }
    return true;
}

/// What depends on several options.
void complete(const CLI::App& app, AllOptions& all) {
    if (all.play.raw) all.play.raw = all.raw;
    if (app.got_subcommand("record")) completeFormat(*app.get_subcommand("record"), all.record);
}

/// What is wrong with the options of the command that was given, "" if nothing is.
std::string faultOf(const CLI::App& app, const AllOptions& all, const CommonOptions& common) {
    if (app.got_subcommand("play")) return optionFault(all.play);
    if (app.got_subcommand("record")) return optionFault(all.record, common);
    if (app.got_subcommand("listen")) return optionFault(all.listen, common);
    if (app.got_subcommand("check")) return optionFault(all.check);
    if (app.got_subcommand("top")) return optionFault(all.top, common);
    if (app.got_subcommand("trace")) return optionFault(all.trace, common);
    return "";
}

/// Keeps the options of the command that was given.
void choose(const CLI::App& app, const AllOptions& all, Command& command) {
    const auto option = [&](const char* name, const auto& options) {
        if (app.got_subcommand(name)) command.options = options;
    };
    option("play", all.play);
    option("record", all.record);
    option("listen", all.listen);
    option("top", all.top);
    option("scenario", all.scenario);
    option("check", all.check);
    option("trace", all.trace);
    option("get", all.get);
    option("set", all.set);
    option("list", all.list);
    option("describe", all.describe);
    option("monitor", all.monitor);
    option("version", all.version);
    option("doctor", all.doctor);
    option("server", all.server);
}

}  // namespace

std::optional<Command> parseCommandLine(int argc, char** argv) {
    CLI::App app("Plays and records sound through the cabin audio server and looks after it.");
    configure(app);
    AllOptions all;
    Command command;
    addCommands(app, all, command.common);
    if (!parse(app, argc, argv)) return std::nullopt;
    complete(app, all);
    if (const std::string fault = faultOf(app, all, command.common); !fault.empty())
        refuse(app, fault);
    choose(app, all, command);
    return command;
}

}  // namespace cabinaudio::tool
