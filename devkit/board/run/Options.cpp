// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/run/Options.h"

#include "devkit/board/Names.h"
#include "devkit/board/run/Refusal.h"

#include <getopt.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <string_view>

namespace cabinaudio::run {
namespace {

constexpr char HELP[] =
    R"(Usage: cabinaudio-run [options] [--] PROGRAM [ARGUMENT...]

Runs PROGRAM on a desktop as if it were on the board: physical memory, cache
device, diagnostics file, real-time threads. 32-bit ARM programs run in qemu-arm.

  -i, --instance NAME    share sockets, memory and names only with programs of the
                         same instance (A-Z a-z 0-9 _ -, at most 32; default: the
                         environment's CABINAUDIO_INSTANCE, or the common one)
      --private          a new instance for this run; its remaining objects are
                         removed when PROGRAM ends
      --config-dir DIR   directory of the diagnostics file audio_config
      --board-lib PATH   use this libcabinaudio-board.so
      --trace FILE       record PROGRAM's messages with the server, and events of its
                         rings, in FILE (pcapng; see 'cabinaudio trace')
      --trace-sound      record the sound that goes through the rings, too
      --no-board         with --trace: PROGRAM uses this machine's own devices, as on
                         a board
      --timeout SECONDS  time limit for loading PROGRAM's libraries (default 30)
      --wait SECONDS     first wait for a server of the instance to listen, so long
                         at most
      --clean            remove objects that programs of the instance have left in
                         /dev/shm, and links to libraries that no longer exist;
                         run no program
  -v, --verbose          print each step
  -h, --help             this text
  -V, --version          the version

The exit status is PROGRAM's; 1: refused, 2: wrong usage, 4: no server came
within --wait, 126: PROGRAM is not executable, 127: PROGRAM or a library of it
is not found.
)";

constexpr int PRIVATE = 256;
constexpr int CONFIG_DIRECTORY = 257;
constexpr int BOARD_LIBRARY = 258;
constexpr int TIMEOUT = 259;
constexpr int CLEAN = 260;
constexpr int WAIT = 261;
constexpr int TRACE = 262;
constexpr int TRACE_SOUND = 263;
constexpr int NO_BOARD = 264;

const option LONG_OPTIONS[] = {
    {"instance", required_argument, nullptr, 'i'},
    {"private", no_argument, nullptr, PRIVATE},
    {"config-dir", required_argument, nullptr, CONFIG_DIRECTORY},
    {"board-lib", required_argument, nullptr, BOARD_LIBRARY},
    {"timeout", required_argument, nullptr, TIMEOUT},
    {"clean", no_argument, nullptr, CLEAN},
    {"verbose", no_argument, nullptr, 'v'},
    {"help", no_argument, nullptr, 'h'},
    {"version", no_argument, nullptr, 'V'},
    {"wait", required_argument, nullptr, WAIT},
    {"trace", required_argument, nullptr, TRACE},
    {"trace-sound", no_argument, nullptr, TRACE_SOUND},
    {"no-board", no_argument, nullptr, NO_BOARD},
    {nullptr, 0, nullptr, 0},
};

[[noreturn]] void refuseUsage(const std::string& what) {
    throw Refusal(what + " (try 'cabinaudio-run --help')", USAGE);
}

std::string instanceArgument(const char* name) {
    if (!board::isInstanceName(name))
        refuseUsage(std::string("'") + name + "' is not an instance name");
    return name;
}

std::string pathArgument(const char* option, const char* path) {
    if (path[0] == '\0') refuseUsage(std::string(option) + " needs a path");
    return path;
}

std::chrono::seconds timeoutArgument(std::string_view text) {
    int seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (error != std::errc() || end != text.data() + text.size() || seconds < 1 ||
        seconds > 86400) {
        refuseUsage("--timeout needs a number of seconds from 1 to 86400");
    }
    return std::chrono::seconds(seconds);
}

std::chrono::milliseconds waitArgument(std::string_view text) {
    double seconds = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
    if (error != std::errc() || end != text.data() + text.size() ||
        !(seconds >= 0 && seconds <= 86400)) {
        refuseUsage("--wait needs a number of seconds from 0 to 86400");
    }
    return std::chrono::milliseconds(std::llround(seconds * 1000));
}

void take(int found, const char* argument, Options& options) {
    switch (found) {
        case 'i':
            options.instance = instanceArgument(argument);
            break;
        case PRIVATE:
            options.isPrivate = true;
            break;
        case CONFIG_DIRECTORY:
            options.configDirectory = pathArgument("--config-dir", argument);
            break;
        case BOARD_LIBRARY:
            options.boardLibrary = pathArgument("--board-lib", argument);
            break;
        case TIMEOUT:
            options.timeout = timeoutArgument(argument);
            break;
        case WAIT:
            options.wait = waitArgument(argument);
            break;
        case TRACE:
            options.traceFile = pathArgument("--trace", argument);
            break;
        case TRACE_SOUND:
            options.traceSound = true;
            break;
        case NO_BOARD:
            options.hasBoard = false;
            break;
        case CLEAN:
            options.task = Options::Task::Clean;
            break;
        case 'v':
            options.verbose = true;
            break;
        case 'h':
            options.task = Options::Task::Help;
            break;
        case 'V':
            options.task = Options::Task::Version;
            break;
    }
}

/// getopt moves past a bad long option, but stays inside a group of short options.
std::string badOption(char** argv) {
    if (optopt != 0 && optopt < PRIVATE) return std::string("-") + static_cast<char>(optopt);
    return argv[optind - 1];
}

void check(const Options& options) {
    if (options.isPrivate && !options.instance.empty())
        refuseUsage("--private and --instance exclude each other");
    if (options.traceSound && options.traceFile.empty()) refuseUsage("--trace-sound needs --trace");
    if (!options.hasBoard && options.traceFile.empty())
        refuseUsage("--no-board needs --trace, or nothing is loaded into the program");
    if (!options.hasBoard && (options.isPrivate || !options.instance.empty() ||
                              !options.configDirectory.empty() || !options.boardLibrary.empty()))
        refuseUsage("--no-board excludes the options of the board's stand-in");
    if (options.task == Options::Task::Clean &&
        (options.isPrivate || !options.traceFile.empty() || !options.program.empty()))
        refuseUsage("--clean takes an instance and nothing else");
    if (options.task == Options::Task::RunProgram && options.program.empty())
        refuseUsage("no program given");
}

}  // namespace

Options parseOptions(int argc, char** argv) {
    Options options;
    opterr = 0;
    int found;
    // '+': the first word that is not an option is the program. ':': report missing arguments.
    while ((found = getopt_long(argc, argv, "+:i:vVh", LONG_OPTIONS, nullptr)) != -1) {
        if (found == '?') refuseUsage("unknown option '" + badOption(argv) + "'");
        if (found == ':')
            refuseUsage("option '" + std::string(argv[optind - 1]) + "' needs an argument");
        take(found, optarg, options);
        if (options.task == Options::Task::Help || options.task == Options::Task::Version)
            return options;
    }
    options.program.assign(argv + optind, argv + argc);
    check(options);
    return options;
}

void printHelp() {
    std::fputs(HELP, stdout);
}

void printVersion() {
    std::puts("cabinaudio-run " CABINAUDIO_VERSION);
}

}  // namespace cabinaudio::run
