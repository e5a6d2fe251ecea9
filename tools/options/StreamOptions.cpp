// SPDX-License-Identifier: Apache-2.0
// Commands that play and record.
#include "tools/Names.h"
#include "tools/options/CommandOptions.h"
#include "tools/options/OptionParts.h"

namespace cabinaudio::tool {

namespace {

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

}  // namespace

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

namespace {

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

}  // namespace

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

void completeFormat(const CLI::App& command, RecordOptions& options) {
    const bool isUplink = options.tag == AUDIO_TAG_UPLINK;
    if (command.count("--rate") == 0) options.format.rate = isUplink ? 16000 : 48000;
    if (command.count("--channels") == 0) options.format.channels = isUplink ? 1 : 2;
}

}  // namespace cabinaudio::tool
