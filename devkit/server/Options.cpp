// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/Options.h"

#include "devkit/board/Names.h"
#include "devkit/server/BuiltWith.h"
#include "devkit/server/base/ExitStatus.h"
#include "devkit/server/outputs/OutputFactory.h"
#include "devkit/server/time/Description.h"
#include "devkit/text/Output.h"
#include "devkit/text/Printable.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <grp.h>

#include <charconv>
#include <cstdio>
#include <optional>
#include <sstream>
#include <string_view>
#include <vector>

namespace cabinaudio::server {
namespace {

constexpr int LONGEST_DELAY_MS = 60000;

std::string checkInstance(const std::string& name) {
    return board::isInstanceName(name.c_str()) ? "" : "not an instance name: " + name;
}

void describeOutput(CLI::App& app, Options& options) {
    app.add_option("--output", options.output,
                   "Output: auto, pulse, alsa[:DEVICE], wav:FILE or null. auto, the default, "
                   "is the first of pulse and alsa that works, or null until one works")
        ->type_name("WHERE")
        ->check([](const std::string& text) { return checkOutput(text); });
    app.add_option("--rate", options.format.rate, "Sample rate of the output (48000)")
        ->type_name("HZ")
        ->check(CLI::Range(8000, 192000));
    app.add_option("--channels", options.format.channels, "Channels of the output (2)")
        ->type_name("N")
        ->check(CLI::Range(1, 8));
    app.add_option_function<std::string>(
           "--format",
           [&options](const std::string& name) { options.format.type = *sampleTypeOf(name); },
           "Sample format of the output: s16, s24, s32 or float (s16)")
        ->type_name("TYPE")
        ->check([](const std::string& name) {
            return sampleTypeOf(name) ? "" : "no such samples: " + name;
        });
}

void describeStreams(CLI::App& app, Options& options) {
    app.add_flag_callback(
        "--fast", [&options] { options.time.mode = TimeMode::Fast; },
        "Play as fast as clients write instead of in real time (wav and null only)");
    app.add_option("--ring-periods", options.ringPeriods,
                   "Size of a stream's ring in periods of 16 ms (8)")
        ->type_name("N")
        ->check(CLI::Range(2, 256));
    app.add_option_function<int>(
           "--ring-delay",
           [&options](const int& ms) { options.ringDelay = std::chrono::milliseconds(ms); },
           "Delay before the ring of a track or sink is announced to its client (0)")
        ->type_name("MS")
        ->check(CLI::Range(0, LONGEST_DELAY_MS));
}

/// "NAME" or "NAME@MS"; a name may contain the character.
Await awaitOf(const std::string& text) {
    const auto place = text.rfind('@');
    if (place == std::string::npos) return {text, 0};
    const auto ms = timeIn(std::string_view(text).substr(place + 1));
    if (!ms || place == 0) throw CLI::ValidationError("--await", "not NAME or NAME@MS: " + text);
    return {text.substr(0, place), *ms};
}

TimedCommand commandOf(const std::string& text) {
    const auto place = text.find(':');
    const auto ms = timeIn(std::string_view(text).substr(0, place));
    if (place == std::string::npos || !ms || place + 1 == text.size())
        throw CLI::ValidationError("--at", "not MS:COMMAND: " + text);
    return {*ms, text.substr(place + 1)};
}

void describeEvents(CLI::App& app, TimeOptions& time) {
    app.add_option_function<std::vector<std::string>>(
           "--await",
           [&time](const std::vector<std::string>& texts) {
               for (const std::string& text : texts)
                   time.awaits.push_back(awaitOf(text));
           },
           "Time does not pass MS (0) before the stream NAME is started and ready, and NAME is not "
           "heard earlier. May be repeated (lockstep and stepped only, as the following)")
        ->type_name("NAME[@MS]")
        ->allow_extra_args(false);
    app.add_option_function<std::vector<std::string>>(
           "--at",
           [&time](const std::vector<std::string>& texts) {
               for (const std::string& text : texts)
                   time.commands.push_back(commandOf(text));
           },
           "Run a command of the control socket when time is at MS. May be repeated")
        ->type_name("MS:COMMAND")
        ->allow_extra_args(false);
}

void describeTime(CLI::App& app, TimeOptions& time) {
    app.add_option_function<std::string>(
           "--time", [&time](const std::string& name) { time.mode = *timeModeOf(name); },
           "How time passes. real, the default: by the clock; fast: as fast as clients write; "
           "lockstep: when everybody who plays or records is ready; stepped: as lockstep, but only "
           "as far as commands say (all but real: wav and null only)")
        ->type_name("MODE")
        ->check([](const std::string& name) {
            return timeModeOf(name) ? "" : "no such mode of time: " + name;
        });
    app.add_option("--hold", time.hold, "Time begins when N streams are started (0)")
        ->type_name("N")
        ->check(CLI::Range(0, 1000));
    describeEvents(app, time);
    const auto addMs = [&app](const char* name, std::chrono::milliseconds& value, const char* text,
                              int least) {
        app.add_option_function<int>(
               name, [&value](const int& ms) { value = std::chrono::milliseconds(ms); }, text)
            ->type_name("MS")
            ->check(CLI::Range(least, 1000 * 60 * 60));
    };
    addMs("--patience", time.patience, "Real time for every wait; then time passes without (5000)",
          1000);
    addMs("--tail", time.tail,
          "Real time after which an alternative stream that does not write is silent (250)", 1);
    app.add_flag("--strict", time.isStrict,
                 "Requests that can be heard are errors while time passes for other streams");
}

void addInput(Options& options, const std::string& text) {
    if (const std::string problem = options.inputs.add(text); !problem.empty())
        throw CLI::ValidationError("--input", problem);
}

void setUplinkDelay(Options& options, const std::string& text) {
    if (text == "never") {
        options.uplinkDelay.reset();
        return;
    }
    int ms = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, ms);
    if (error != std::errc() || rest != end || ms < 0 || ms > LONGEST_DELAY_MS)
        throw CLI::ValidationError("--uplink-delay", "neither 0 to 60000 nor never: " + text);
    options.uplinkDelay = std::chrono::milliseconds(ms);
}

void describeCapture(CLI::App& app, Options& options) {
    app.add_option_function<std::vector<std::string>>(
           "--input",
           [&options](const std::vector<std::string>& texts) {
               for (const std::string& text : texts)
                   addInput(options, text);
           },
           "Input for recordings: a sound file, which is looped, tone:HZ, silence or mic; with "
           "TAG= in "
           "front, only for streams of that tag. May be repeated (tone:440)")
        ->type_name("[TAG=]WHAT")
        ->allow_extra_args(false);
    app.add_option_function<std::string>(
           "--uplink-delay", [&options](const std::string& text) { setUplinkDelay(options, text); },
           "Delay between the start of an uplink and the announcement of its ring; never: it is "
           "announced on command only (0)")
        ->type_name("MS|never");
}

void describeRecords(CLI::App& app, Options& options) {
    app.add_option("--stems", options.stemDirectory,
                   "Also write the data of each stream, as DIR/<tag>-<name>.wav; the directory is "
                   "made if it does not exist")
        ->type_name("DIR")
        ->check([](const std::string& path) { return path.empty() ? "no directory given" : ""; });
    app.add_option("--report", options.reportFile,
                   "At the end write the played streams and their places in the output, as JSON")
        ->type_name("FILE");
    app.add_option("--state", options.stateFile,
                   "Keep the settings in FILE, as JSON: read at the start, written after changes")
        ->type_name("FILE");
    app.add_flag("--trace", options.isTraced, "Show every request and notification on stdout");
    CLI::Option* const file =
        app.add_option("--trace-to", options.traceFile,
                       "Record every message, and summaries of the rings, in FILE, as pcapng for "
                       "'cabinaudio trace' and Wireshark")
            ->type_name("FILE");
    app.add_flag("--trace-sound", options.isSoundTraced, "With --trace-to: record the sound, too")
        ->needs(file);
}

std::string addGroup(AllowedUsers& allowed, const std::string& name) {
    if (const struct group* const found = getgrnam(name.c_str())) {
        allowed.groups.push_back(found->gr_gid);
        return {};
    }
    return "no such group: " + name;
}

void describeUsers(CLI::App& app, Options& options) {
    app.add_option_function<std::vector<std::string>>(
           "--allow-group",
           [&options](const std::vector<std::string>& names) {
               for (const std::string& name : names)
                   if (const auto problem = addGroup(options.allowed, name); !problem.empty())
                       throw CLI::ValidationError("--allow-group", problem);
           },
           "Also serve the members of this group, besides root and the user that the server runs "
           "as. May be repeated")
        ->type_name("NAME")
        ->allow_extra_args(false);
    app.add_flag("--allow-all", options.allowed.includesEverybody,
                 "Serve every user of this machine");
}

void describeProgram(CLI::App& app, Options& options) {
    app.add_option("--instance", options.instance,
                   "Serve the clients of this instance (default: $CABINAUDIO_INSTANCE)")
        ->type_name("NAME")
        ->check(checkInstance);
    app.add_option("--ready-fd", options.readyFd,
                   "Write \"ready\" to this descriptor when clients are served, and close it")
        ->type_name("N")
        ->check(CLI::Range(0, 1 << 20));
    app.add_flag_callback(
        "-v,--verbose", [&options] { options.logLevel = log::Level::Debug; },
        "Log more, including the library's log");
    app.add_flag_callback(
        "-q,--quiet", [&options] { options.logLevel = log::Level::Error; }, "Log errors only");
    app.set_version_flag("-V,--version", versionText);
}

/// A problem with the time options; empty if there is none.
std::string timeProblem(const CLI::App& app, const Options& options) {
    const TimeOptions& time = options.time;
    const bool isAsFast = app.count("--fast") > 0;
    if (isAsFast && app.count("--time") > 0) return "--fast excludes --time";
    const std::string mode = isAsFast ? "--fast" : std::string("--time ") + nameOf(time.mode);
    if (time.mode != TimeMode::Real && !runsWithoutClock(options.output))
        return mode + " needs --output wav:FILE or null";
    if (time.isOwned() && options.ringPeriods < 3) return mode + " needs --ring-periods 3 or more";
    if (time.isOwned())
        return time.tail < time.patience ? "" : "--tail must be less than --patience";
    for (const char* option : {"--hold", "--await", "--at", "--patience", "--tail", "--strict"})
        if (app.count(option) > 0) return std::string(option) + " needs --time lockstep or stepped";
    return {};
}

int usage(const std::string& problem) {
    std::fprintf(stderr, "cabinaudio-server: %s (try --help)\n", text::printable(problem).c_str());
    return EXIT_USAGE;
}

}  // namespace

std::variant<Options, int> parseOptions(int argc, const char* const* argv) {
    Options options;
    CLI::App app("A small audio server for the programs that play and record through cabinaudio.",
                 "cabinaudio-server");
    describeOutput(app, options);
    describeStreams(app, options);
    describeTime(app, options.time);
    describeCapture(app, options);
    describeRecords(app, options);
    describeUsers(app, options);
    describeProgram(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& success) {
        std::ostringstream printed;  // help or version
        const int status = app.exit(success, printed, printed);
        text::print(printed.str());
        return status;
    } catch (const CLI::ParseError& error) {
        return usage(error.what());
    }
    if (const std::string problem = timeProblem(app, options); !problem.empty())
        return usage(problem);
    return options;
}

}  // namespace cabinaudio::server
