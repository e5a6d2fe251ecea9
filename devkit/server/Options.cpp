// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/Options.h"

#include "devkit/board/Names.h"
#include "devkit/server/ExitStatus.h"
#include "devkit/server/OutputFactory.h"
#include "devkit/server/Version.h"

#include <CLI/App.hpp>
#include <CLI/Config.hpp>
#include <CLI/Formatter.hpp>

#include <cstdio>

namespace cabinaudio::server {
namespace {

std::string versionText() {
    return "cabinaudio-server " + std::to_string(SERVER_VERSION[0]) + "." +
           std::to_string(SERVER_VERSION[1]) + "." + std::to_string(SERVER_VERSION[2]);
}

std::string checkInstance(const std::string& name) {
    return board::isInstanceName(name.c_str()) ? "" : "not an instance name: " + name;
}

void describeOutput(CLI::App& app, Options& options) {
    app.add_option(
           "--output", options.output,
           "Where to play: auto, pulse, alsa[:DEVICE], wav:FILE or null. auto, the default, "
           "is the first of pulse, alsa and null that works")
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
           "Samples of the output: s16, s24, s32 or float (s16)")
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
           "Wait before a physical ring is announced to its client (0)")
        ->type_name("MS")
        ->check(CLI::Range(0, 60000));
}

void describeRecords(CLI::App& app, Options& options) {
    app.add_option("--stems", options.stemDirectory,
                   "Also write what each stream delivers, as DIR/<tag>-<name>.wav")
        ->type_name("DIR")
        ->check(CLI::ExistingDirectory.description(""));
    app.add_option("--report", options.reportFile,
                   "At the end write what was played, and where in the output it lies, as JSON")
        ->type_name("FILE");
    app.add_flag("--trace", options.isTraced, "Show every request and notification on stdout");
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
        "Say more, the library's log included");
    app.add_flag_callback(
        "-q,--quiet", [&options] { options.logLevel = log::Level::Error; }, "Say errors only");
    app.set_version_flag("--version", versionText());
}

int usage(const std::string& problem) {
    std::fprintf(stderr, "cabinaudio-server: %s (try --help)\n", problem.c_str());
    return EXIT_USAGE;
}

}  // namespace

std::variant<Options, int> parseOptions(int argc, const char* const* argv) {
    Options options;
    CLI::App app("A small audio server for the programs that play through cabinaudio.",
                 "cabinaudio-server");
    describeOutput(app, options);
    describeStreams(app, options);
    describeRecords(app, options);
    describeProgram(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& success) {
        return app.exit(success);  // prints help or version
    } catch (const CLI::ParseError& error) {
        return usage(error.what());
    }
    if (options.isFast && !runsWithoutClock(options.output)) {
        return usage("--fast needs --output wav:FILE or null");
    }
    return options;
}

}  // namespace cabinaudio::server
