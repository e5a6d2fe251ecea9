// SPDX-License-Identifier: Apache-2.0
// The only file that includes CLI11, which takes long to compile.
#include "tools/CommandLine.h"

#include "devkit/board/Names.h"
#include "tools/Failure.h"
#include "tools/Names.h"
#include "tools/ProgramVersion.h"
#include "tools/Terminal.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <memory>
#include <sstream>
#include <string>

namespace cabinaudio::tool {

namespace {

constexpr char kFooter[] =
    "Exit status: 0 done, 1 failed, 2 wrong usage, 3 no server, 4 timed out,\n"
    "5 a check was not met.";

/// A name is also that of a shared-memory object, and is cut to 63 characters.
std::string streamNameFault(const std::string& name) {
    if (name.empty() || name.size() > 63) return "must have 1 to 63 characters";
    if (name.find('/') != std::string::npos) return "must not contain '/'";
    return "";
}

std::string instanceFault(const std::string& name) {
    if (board::isInstanceName(name.c_str())) return "";
    return "must be 1 to 32 of A-Z a-z 0-9 _ -";
}

std::string tagFault(const std::string& tag) {
    const auto& names = trackTagNames();
    if (std::find(names.begin(), names.end(), tag) != names.end()) return "";
    std::string all;
    for (const std::string& name : names)
        all += (all.empty() ? "" : ", ") + name;
    return "must be one of " + all;
}

CLI::Validator check(std::string (*fault)(const std::string&), const char* name) {
    return CLI::Validator([fault](std::string& text) { return fault(text); }, "", name);
}

CLI::Validator range(double lowest, double highest) {
    const auto fault = [=](const std::string& text) {
        double number = 0;
        if (CLI::detail::lexical_cast(text, number) && number >= lowest && number <= highest)
            return std::string();
        std::ostringstream why;
        why << "must be a number from " << lowest << " to " << highest;
        return why.str();
    };
    return CLI::Validator(fault, "", "range");
}

void addCommon(CLI::App& command, CommonOptions& common) {
    command.add_flag("--json", common.json, "Print JSON instead of text, one value a line");
    command.add_option("--instance", common.instance, "Use the server of this instance")
        ->type_name("NAME")
        ->check(check(instanceFault, "instance"));
    command.add_flag_callback(
        "--no-board", [&common] { common.board = false; },
        "Never run through cabinaudio-run, the stand-in for the board");
    command.add_flag("-v,--verbose", common.verbose, "Show the library's log on stderr");
    command.add_option("--log", common.logFile, "Append the library's log to a file")
        ->type_name("FILE");
}

/// Seconds with a fraction, stored as milliseconds.
void addTimeout(CLI::App& command, std::chrono::milliseconds& timeout, const char* what) {
    command
        .add_option_function<double>(
            "--timeout",
            [&timeout](const double& seconds) {
                timeout = std::chrono::milliseconds(std::llround(seconds * 1000));
            },
            what)
        ->type_name("SECONDS")
        ->check(range(0.01, 86400))
        ->default_str(std::to_string(timeout.count() / 1000));
}

void addPlay(CLI::App& app, PlayOptions& options, CommonOptions& common) {
    CLI::App& command = *app.add_subcommand("play", "Play audio files: WAV, FLAC, Ogg and more");
    command.add_option("FILE", options.files, "What to play, in this order; - is standard input")
        ->type_name("")
        ->required();
    command
        .add_option_function<std::string>(
            "--tag",
            [&options](const std::string& tag) {
                std::string text = tag;
                options.tag = AudioTypes::getTagType(text);
            },
            "What the stream is for: alternative, auxiliary,\noutput_input0_invocation or "
            "output_uplink_invocation")
        ->type_name("TAG")
        ->check(check(tagFault, "tag"))
        ->default_str("alternative");
    command.add_option("--name", options.name, "Name of the stream; must be unique on the machine")
        ->type_name("NAME")
        ->check(check(streamNameFault, "name"));
    command.add_flag_callback(
        "--block", [&options] { options.block = true; },
        "Let the library wait for free space (this is the default)");
    command.add_flag_callback(
        "--no-block", [&options] { options.block = false; },
        "Write what fits and sleep half of what is queued");
    command.add_option("--key-shift", options.keyShift, "Pitch, 0.8 to 1.2; not on alternative")
        ->type_name("KEY")
        ->check(range(0.8, 1.2));
    command
        .add_option("--stream-param", options.streamParam,
                    "Stream parameter, handed to the server as it is")
        ->type_name("NUMBER");
    addTimeout(command, options.timeout, "How long to wait for anything that does not move");
    addCommon(command, common);
}

void addVersion(CLI::App& app, VersionOptions& options, CommonOptions& common) {
    CLI::App& command =
        *app.add_subcommand("version", "Print the versions of library and server side by side");
    addTimeout(command, options.timeout, "How long to wait for the server's answer");
    addCommon(command, common);
}

void addDoctor(CLI::App& app, DoctorOptions& options, CommonOptions& common) {
    CLI::App& command = *app.add_subcommand(
        "doctor", "Look for whatever could keep sound from playing, and name the cure");
    addTimeout(command, options.timeout, "How long to wait for the server's answer");
    addCommon(command, common);
}

/// The words that were left over tell more than the parser's own sentence.
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
    app.set_version_flag("--version", programVersion, "Print the version and exit");
    app.get_formatter()->column_width(28);
    app.get_formatter()->label("OPTIONS", "options");
    app.get_formatter()->label("SUBCOMMAND", "sub-command");
    app.footer(kFooter);
}

}  // namespace

std::optional<Command> parseCommandLine(int argc, char** argv) {
    CLI::App app("Plays sound through the cabin audio server and looks after it.");
    configure(app);
    Command command;
    PlayOptions play;
    VersionOptions version;
    DoctorOptions doctor;
    addPlay(app, play, command.common);
    addVersion(app, version, command.common);
    addDoctor(app, doctor, command.common);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& asked) {  // help or version
        app.exit(asked);
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        refuse(app, explain(app, error));
    }
    if (app.got_subcommand("play")) {
        if (play.keyShift && play.tag == AUDIO_TAG_ALTERNATIVE)
            refuse(app, "--key-shift does nothing on an alternative stream; add --tag auxiliary");
        command.options = play;
    } else if (app.got_subcommand("version")) {
        command.options = version;
    } else {
        command.options = doctor;
    }
    return command;
}

}  // namespace cabinaudio::tool
