// SPDX-License-Identifier: Apache-2.0
#include "tools/record/Target.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <optional>

namespace cabinaudio::tool {

namespace {

std::string extensionOf(const std::string& file) {
    std::string extension = std::filesystem::path(file).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return extension;
}

/// @return empty when the extension is unknown
std::optional<TargetKind> kindOf(const std::string& file, RecordCodec codec, bool raw) {
    if (raw || file == "-") return TargetKind::Raw;
    const std::string extension = extensionOf(file);
    if (extension == ".wav") return TargetKind::Wav;
    if (extension == ".flac") return TargetKind::Flac;
    if (extension == ".opus") return TargetKind::OggOpus;
    const bool isLoas = extension == ".loas" || extension == ".latm";
    if (codec == RecordCodec::Aac && isLoas) return TargetKind::Raw;
    return std::nullopt;
}

bool isSound(TargetKind kind) {
    return kind == TargetKind::Wav || kind == TargetKind::Flac;
}

/// Suggested file type for each codec.
const char* suggestionFor(RecordCodec codec) {
    switch (codec) {
        case RecordCodec::Opus:
            return "FILE.opus, or any file with --raw";
        case RecordCodec::Aac:
            return "FILE.loas or FILE.latm, or any file with --raw";
        case RecordCodec::Pcm:
        case RecordCodec::Msbc:
            break;
    }
    return "FILE.wav or FILE.flac, or any file with --raw";
}

bool canHold(TargetKind kind, RecordCodec codec) {
    switch (codec) {
        case RecordCodec::Opus:
            return kind == TargetKind::Raw || kind == TargetKind::OggOpus;
        case RecordCodec::Aac:
            return kind == TargetKind::Raw;
        case RecordCodec::Pcm:
        case RecordCodec::Msbc:
            break;
    }
    return kind == TargetKind::Raw || isSound(kind);
}

}  // namespace

std::string targetFault(const std::string& file, const RecordFormat& format, bool raw) {
    const auto kind = kindOf(file, format.codec, raw);
    if (!kind || !canHold(*kind, format.codec))
        return "cannot tell how to store " + std::string(codecName(format.codec)) + " in '" + file +
               "'; use " + suggestionFor(format.codec);
    if (*kind == TargetKind::Flac && format.codec == RecordCodec::Pcm &&
        format.depth == AUDIO_BIT_DEPTH_32)
        return "FLAC has 24 bits at most; use --format s24, or FILE.wav";
    return "";
}

std::unique_ptr<Target> openTarget(const std::string& file, const RecordFormat& format, bool raw) {
    const TargetKind kind = kindOf(file, format.codec, raw).value_or(TargetKind::Raw);
    if (kind == TargetKind::Raw) return openRawTarget(file, format);
    if (kind == TargetKind::OggOpus) return openOpusTarget(file, format);
    if (format.codec == RecordCodec::Msbc)
        return decodeMsbcFor(openSoundTarget(file, kind, format));
    return openSoundTarget(file, kind, format);
}

}  // namespace cabinaudio::tool
