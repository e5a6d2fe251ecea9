// SPDX-License-Identifier: Apache-2.0
// Commands that listen to a server and look at it.
#include "tools/options/CommandOptions.h"
#include "tools/options/OptionParts.h"

namespace cabinaudio::tool {

namespace {

int loudspeakerOf(const std::string& text) {
    for (int i = 0; i < static_cast<int>(std::size(LOUDSPEAKERS)); ++i)
        if (text == LOUDSPEAKERS[i] || text == std::to_string(i)) return i;
    return -1;
}

std::string loudspeakerFault(const std::string& text) {
    return loudspeakerOf(text) >= 0 ? "" : "must be LF, RF, LS, RS, CF or L1, or 0 to 5";
}

}  // namespace

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

namespace {

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

}  // namespace

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

}  // namespace cabinaudio::tool
