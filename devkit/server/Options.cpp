// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/Options.h"

#include "devkit/board/Names.h"
#include "devkit/server/BuiltWith.h"
#include "devkit/server/base/ExitStatus.h"
#include "devkit/server/outputs/OutputFactory.h"
#include "devkit/text/Output.h"
#include "devkit/text/Printable.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>
#include <grp.h>

#include <charconv>
#include <cstdio>
#include <sstream>
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
    app.add_flag("--fast", options.isFast,
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
    if (options.isFast && !runsWithoutClock(options.output))
        return usage("--fast needs --output wav:FILE or null");
    return options;
}

}  // namespace cabinaudio::server
