// SPDX-License-Identifier: Apache-2.0
// The only file that includes CLI11, which is slow to compile.
#include "tools/CommandLine.h"

#include "devkit/board/Names.h"
#include "devkit/text/Output.h"
#include "tools/Failure.h"
#include "tools/Names.h"
#include "tools/ProgramVersion.h"
#include "tools/Terminal.h"
#include "tools/settings/Value.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cmath>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>

namespace cabinaudio::tool {

namespace {

constexpr char FOOTER[] =
    "Exit status: 0 done, 1 failed, 2 wrong usage, 3 no server, 4 timed out,\n"
    "5 a check was not met.";

/// The name is also used for a shared-memory object, and is cut to 63 characters.
std::string streamNameFault(const std::string& name) {
    if (name.empty() || name.size() > 63) return "must have 1 to 63 characters";
    if (name.find('/') != std::string::npos) return "must not contain '/'";
    return "";
}

std::string instanceFault(const std::string& name) {
    if (board::isInstanceName(name.c_str())) return "";
    return "must be 1 to 32 of A-Z a-z 0-9 _ -";
}

/// A command is one line, and its argument extends to the end of the line.
std::string argumentFault(const std::string& name) {
    if (name.empty() || name.size() > 63) return "must have 1 to 63 characters";
    if (name.find('\n') != std::string::npos) return "must not contain a line end";
    return "";
}

std::string reportFault(const std::string& file) {
    constexpr std::string_view END = ".tar.gz";
    if (file.size() > END.size() && std::string_view(file).ends_with(END)) return "";
    return "must be a file name that ends in .tar.gz";
}

CLI::Validator oneOf(const std::vector<std::string>& names) {
    const auto fault = [names](const std::string& text) {
        if (std::find(names.begin(), names.end(), text) != names.end()) return std::string();
        std::string all;
        for (const std::string& name : names)
            all += (all.empty() ? "" : ", ") + name;
        return "must be one of " + all;
    };
    return CLI::Validator(fault, "", "one of");
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
    command
        .add_option_function<double>(
            "--wait",
            [&common](const double& seconds) {
                common.wait = std::chrono::milliseconds(std::llround(seconds * 1000));
            },
            "First wait for a server to listen, so long at most")
        ->type_name("SECONDS")
        ->check(range(0, 86400));
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

void addInterval(CLI::App& command, std::chrono::milliseconds& interval, const char* what) {
    command
        .add_option_function<int>(
            "--interval", [&interval](const int& ms) { interval = std::chrono::milliseconds(ms); },
            what)
        ->type_name("MS")
        ->check(range(1, 3600000))
        ->default_str(std::to_string(interval.count()));
}

void addTag(CLI::App& command, AudioTagType& tag, const std::vector<std::string>& names,
            const char* what) {
    command
        .add_option_function<std::string>(
            "--tag",
            [&tag](const std::string& name) {
                std::string text = name;
                tag = AudioTypes::getTagType(text);
            },
            what)
        ->type_name("TAG")
        ->check(oneOf(names))
        ->default_str(names.front());
}

void addName(CLI::App& command, std::string& name) {
    command.add_option("--name", name, "Name of the stream; must be unique on the machine")
        ->type_name("NAME")
        ->check(check(streamNameFault, "name"));
}

void addBlock(CLI::App& command, bool& block, const char* ifBlocking, const char* ifNot) {
    command.add_flag_callback(
        "--block", [&block] { block = true; }, ifBlocking);
    command.add_flag_callback(
        "--no-block", [&block] { block = false; }, ifNot);
}

void addStreamParam(CLI::App& command, int& streamParam) {
    command
        .add_option("--stream-param", streamParam,
                    "Stream parameter, passed to the server unchanged")
        ->type_name("NUMBER");
}

/// An option whose value is a name of a table; the first one is the default.
template <typename Value, std::size_t SIZE>
CLI::Option& addChoice(CLI::App& command, const char* option, Value& value,
                       const std::pair<const char*, Value> (&table)[SIZE], const char* what) {
    std::vector<std::string> names;
    for (const auto& row : table)
        names.emplace_back(row.first);
    return *command
                .add_option_function<std::string>(
                    option,
                    [&value, &table](const std::string& name) {
                        value =
                            std::find_if(std::begin(table), std::end(table), [&](const auto& row) {
                                return name == row.first;
                            })->second;
                    },
                    what)
                ->type_name("NAME")
                ->check(oneOf(names))
                ->default_str(names.front());
}

constexpr std::pair<const char*, RawFormat::Samples> RAW_SAMPLES[] = {
    {"s16", RawFormat::Samples::S16},     {"u8", RawFormat::Samples::U8},
    {"s24", RawFormat::Samples::S24},     {"s32", RawFormat::Samples::S32},
    {"float", RawFormat::Samples::Float}, {"double", RawFormat::Samples::Double}};

void addRawFormat(CLI::App& command, RawFormat& format, std::optional<RawFormat>& raw) {
    auto* const flag = command.add_flag_callback(
        "--raw", [&] { raw.emplace(); }, "The files are samples without a header, little-endian");
    command.add_option("--rate", format.rate, "Sample rate of --raw (48000)")
        ->type_name("HZ")
        ->check(range(8000, 192000))
        ->needs(flag);
    command.add_option("--channels", format.channels, "Channels of --raw (2)")
        ->type_name("N")
        ->check(range(1, 6))
        ->needs(flag);
    addChoice(command, "--format", format.samples, RAW_SAMPLES,
              "Samples of --raw: s16, u8, s24, s32, float or double")
        .needs(flag);
}

void addPlay(CLI::App& app, PlayOptions& options, RawFormat& raw, CommonOptions& common) {
    CLI::App& command = *app.add_subcommand("play", "Play audio files: WAV, FLAC, Ogg and more");
    command.add_option("FILE", options.files, "Files to play, in this order; - is standard input")
        ->type_name("")
        ->required();
    addRawFormat(command, raw, options.raw);
    addTag(
        command, options.tag, playbackTagNames(),
        "Purpose of the stream: alternative, auxiliary,\nmain, output_input0_invocation or "
        "output_uplink_invocation.\nOn main the server may withdraw the source; the data of that\n"
        "time is discarded and counted");
    addName(command, options.name);
    addBlock(command, options.block, "Let the library wait for free space (this is the default)",
             "Write what fits, then sleep for half of the queued time");
    command
        .add_option("--key-shift", options.keyShift,
                    "Pitch, 0.8 to 1.2; not on alternative or main")
        ->type_name("KEY")
        ->check(range(0.8, 1.2));
    addStreamParam(command, options.streamParam);
    addTimeout(command, options.timeout, "Time limit of each wait without progress");
    addCommon(command, common);
}

constexpr std::pair<const char*, RecordCodec> CODECS[] = {{"pcm", RecordCodec::Pcm},
                                                          {"opus", RecordCodec::Opus},
                                                          {"msbc", RecordCodec::Msbc},
                                                          {"aac", RecordCodec::Aac}};
constexpr std::pair<const char*, AudioBitDepthType> DEPTHS[] = {{"s16", AUDIO_BIT_DEPTH_16},
                                                                {"u8", AUDIO_BIT_DEPTH_8},
                                                                {"s24", AUDIO_BIT_DEPTH_24},
                                                                {"s32", AUDIO_BIT_DEPTH_32}};

void addRecordFormat(CLI::App& command, RecordFormat& format) {
    command.add_option("--rate", format.rate, "Sample rate (48000; of an uplink 16000)")
        ->type_name("HZ")
        ->check(range(8000, 192000));
    command.add_option("--channels", format.channels, "Channels (2; of an uplink 1)")
        ->type_name("N")
        ->check(range(1, 6));
    addChoice(command, "--format", format.depth, DEPTHS, "Samples of PCM: s16, u8, s24 or s32");
    addChoice(command, "--codec", format.codec, CODECS,
              "Codec of an uplink: pcm, opus, msbc or aac");
    command
        .add_option(
            "--codec-param", format.codecParam,
            "Codec parameter, passed to the server unchanged;\nfor cabinaudio-server the bit "
            "rate")
        ->type_name("NUMBER");
}

void addRecord(CLI::App& app, RecordOptions& options, CommonOptions& common) {
    CLI::App& command =
        *app.add_subcommand("record", "Record what the server captures, or the uplink of a call");
    command
        .add_option(
            "FILE", options.file,
            "Output file: .wav or .flac, for Opus .opus, for AAC .loas;\n- is standard output, "
            "unchanged")
        ->type_name("")
        ->required();
    addTag(command, options.tag, captureTagNames(),
           "Source to record: input0, input1, input2, input_front_feedback\nor uplink");
    command.add_option("--seconds", options.seconds, "Duration; without it until SIGINT")
        ->type_name("N")
        ->check(range(0.001, 1e6));
    addRecordFormat(command, options.format);
    command.add_flag("--raw", options.raw, "Store the stream's data unchanged");
    command.add_option("--volume", options.volume, "Capture volume, 0 to 100; not of an uplink")
        ->type_name("N")
        ->check(range(0, 100));
    addName(command, options.name);
    addBlock(command, options.block, "Let the library wait for data (this is the default)",
             "Read the available data, then sleep; PCM only");
    addStreamParam(command, options.streamParam);
    addTimeout(command, options.timeout, "Time limit of each wait without progress");
    addCommon(command, common);
}

/// Sets the defaults, which depend on the tag and the codec.
void completeFormat(const CLI::App& command, RecordOptions& options) {
    const bool isUplink = options.tag == AUDIO_TAG_UPLINK;
    if (command.count("--rate") == 0) options.format.rate = isUplink ? 16000 : 48000;
    if (command.count("--channels") == 0) options.format.channels = isUplink ? 1 : 2;
}

int loudspeakerOf(const std::string& text) {
    for (int i = 0; i < static_cast<int>(std::size(LOUDSPEAKERS)); ++i)
        if (text == LOUDSPEAKERS[i] || text == std::to_string(i)) return i;
    return -1;
}

std::string loudspeakerFault(const std::string& text) {
    return loudspeakerOf(text) >= 0 ? "" : "must be LF, RF, LS, RS, CF or L1, or 0 to 5";
}

void addListen(CLI::App& app, ListenOptions& options, CommonOptions& common) {
    CLI::App& command =
        *app.add_subcommand("listen", "Record what a running cabinaudio-server plays");
    command
        .add_option("FILE", options.file,
                    "Output file: .wav or .flac; - is standard output, samples\nwithout a header")
        ->type_name("")
        ->required();
    command
        .add_option("--stream", options.stream,
                    "This stream only, after its volumes and mutes; waits\nuntil it exists")
        ->type_name("NAME")
        ->check(check(argumentFault, "name"));
    command
        .add_option_function<std::string>(
            "--loudspeaker",
            [&options](const std::string& text) { options.loudspeaker = loudspeakerOf(text); },
            "This loudspeaker only: LF, RF, LS, RS, CF or L1, or 0 to 5")
        ->type_name("NAME")
        ->check(check(loudspeakerFault, "loudspeaker"));
    command
        .add_option("--seconds", options.seconds,
                    "Duration of the sound; without it until SIGINT. Time without\nany stream is "
                    "left out")
        ->type_name("N")
        ->check(range(0.001, 1e6));
    command
        .add_option("--format", options.format,
                    "Samples: s16, s24 or s32; without it as the output has them")
        ->type_name("NAME")
        ->check(oneOf({"s16", "s24", "s32"}));
    command.add_flag("--raw", options.raw, "Store the samples without a header");
    addTimeout(command, options.timeout, "Time limit for the answer, and for the stream to exist");
    addCommon(command, common);
}

/// The channels of a file may be more than the loudspeakers.
int channelOf(const std::string& text) {
    constexpr char LAST = '7';
    const bool isNumber = text.size() == 1 && text[0] >= '0' && text[0] <= LAST;
    return isNumber ? text[0] - '0' : loudspeakerOf(text);
}

std::string channelFault(const std::string& text) {
    return channelOf(text) >= 0 ? "" : "must be LF, RF, LS, RS, CF or L1, or 0 to 7";
}

void addCheckFiles(CLI::App& command, CheckOptions& options) {
    command.add_option("--report", options.reportFile, "What --report of the server has written")
        ->type_name("FILE");
    command
        .add_option("--stems", options.stemDirectory,
                    "Where the server's stems are, if not where the report says")
        ->type_name("DIR");
    command
        .add_option("--checks", options.checksFile,
                    "More checks, one a line; lines that begin with '#' are\nignored")
        ->type_name("FILE");
    command.add_option("--junit", options.junitFile, "Write the results as XML of JUnit")
        ->type_name("FILE");
    command
        .add_option("--picture", options.pictureFile, "Draw the sound; what is wrong in it is red")
        ->type_name("FILE.png");
}

void addCheck(CLI::App& app, CheckOptions& options, CommonOptions& common) {
    CLI::App& command = *app.add_subcommand(
        "check", "Check what cabinaudio-server has played: tones, levels, ducking and more");
    command
        .add_option("FILE CHECK", options.words,
                    "The sound, then checks such as 'tone 440 level=-12 [0.5..2]'")
        ->type_name("");
    command.add_flag("--live", options.isLive, "Without FILE: what a running server plays");
    command
        .add_option("--seconds", options.seconds,
                    "Duration of --live; without it as long as the checks need")
        ->type_name("N")
        ->check(range(0.001, 3600));
    command
        .add_option_function<std::string>(
            "--channel", [&options](const std::string& text) { options.channel = channelOf(text); },
            "For checks without 'on': LF, RF, LS, RS, CF or L1, or 0 to 7")
        ->type_name("NAME")
        ->check(check(channelFault, "channel"));
    addCheckFiles(command, options);
    addTimeout(command, options.timeout, "Time limit of --live for each wait without sound");
    addCommon(command, common);
}

void addTop(CLI::App& app, TopOptions& options, CommonOptions& common) {
    CLI::App& command = *app.add_subcommand(
        "top", "Show the streams of a running cabinaudio-server, levels and load");
    command.add_flag("--once", options.once, "Print one table, without a terminal");
    addInterval(command, options.interval, "Milliseconds between two tables");
    command.add_option("--count", options.count, "End after this number of tables")
        ->type_name("N")
        ->check(range(1, 1e9));
    addTimeout(command, options.timeout, "Time limit for each answer of the server");
    addCommon(command, common);
}

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

constexpr char NAMES[] =
    "Names of settings, or patterns such as 'volume.*'; see\n'cabinaudio list'";

CLI::App& addSettings(CLI::App& app, const char* word, const char* what, SettingsOptions& options,
                      CommonOptions& common) {
    CLI::App& command = *app.add_subcommand(word, what);
    addTimeout(command, options.timeout, "Time limit for each answer of the server");
    addCommon(command, common);
    return command;
}

void addGet(CLI::App& app, GetOptions& options, CommonOptions& common) {
    CLI::App& command =
        addSettings(app, "get", "Print settings as lines that set accepts", options, common);
    command.add_option("NAME", options.names, std::string(NAMES) + "; all without any")
        ->type_name("");
    command.add_flag("--steps", options.inSteps, "Volumes in steps, where the server has them");
    command.add_flag("--value", options.valueOnly, "Print the values only");
}

void addSet(CLI::App& app, SetOptions& options, CommonOptions& common) {
    CLI::App& command =
        addSettings(app, "set", "Change settings; nothing is changed if a name or value is wrong",
                    options, common);
    CLI::Option* assignments =
        command
            .add_option("NAME=VALUE", options.assignments,
                        "In this order; - reads lines from standard input.\nLines that begin with "
                        "'#' are ignored. NAME=3dB+, NAME=5-, NAME=10%+,\nNAME+=3dB and "
                        "NAME=toggle change the present value")
            ->type_name("");
    CLI::Option* file =
        command.add_option("--file", options.files, "Read lines from a file, after all others")
            ->type_name("FILE")
            ->expected(1);
    command.callback([assignments, file] {
        if (assignments->count() + file->count() == 0)
            throw CLI::RequiredError("NAME=VALUE or --file");
    });
}

void addList(CLI::App& app, ListOptions& options, CommonOptions& common) {
    CLI::App& command =
        addSettings(app, "list", "List the settings, or find them by a word such as navigation",
                    options, common);
    command
        .add_option("WORD", options.words,
                    "Only those with this in their name or description,\nor whose name matches "
                    "the pattern")
        ->type_name("");
    command.add_flag("--names", options.namesOnly, "Print the names only");
    command.add_flag("--readable", options.readable, "Only those that can be read");
    command.add_flag("--settable", options.settable, "Only those that can be set");
}

void addDescribe(CLI::App& app, DescribeOptions& options, CommonOptions& common) {
    CLI::App& command = addSettings(
        app, "describe", "Describe settings: range, unit, functions, an example", options, common);
    command.add_option("NAME", options.names, NAMES)->type_name("")->required();
    command.add_flag("--values", options.valuesOnly,
                     "Print words that the values can be, one a line");
}

void addMonitor(CLI::App& app, MonitorOptions& options, CommonOptions& common) {
    CLI::App& command = addSettings(app, "monitor", "Print settings when they change, until Ctrl-C",
                                    options, common);
    command.add_option("NAME", options.names, std::string(NAMES) + "; all but meters without any")
        ->type_name("");
    addInterval(command, options.interval,
                "Milliseconds between two polls of what the server does\nnot notify");
    command.add_option("--count", options.count, "End after this number of changes")
        ->type_name("N")
        ->check(range(1, 1e9));
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
