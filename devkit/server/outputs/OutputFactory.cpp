// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/outputs/OutputFactory.h"

#include "devkit/server/cards/SoundCard.h"
#include "devkit/server/outputs/CardOutput.h"
#include "devkit/server/outputs/NullOutput.h"
#include "devkit/server/outputs/WavOutput.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <vector>

namespace cabinaudio::server {
namespace {

CardOpener pulseOpener(const OutputFormat& format) {
    return [format](Spawn spawn) { return openPulse(format, spawn); };
}

CardOpener alsaOpener(const std::string& device, const OutputFormat& format) {
    return [name = device.empty() ? "default" : device, format](Spawn) {
        return openAlsa(name, format);
    };
}

/// The first sound card that works, else nothing: sound should be audible by default.
std::unique_ptr<Output> makeAuto(const std::string&, const OutputFormat& format) {
    return std::make_unique<CardOutput>(
        std::vector<CardOpener>{pulseOpener(format), alsaOpener("", format)}, format, true);
}

std::unique_ptr<Output> makePulse(const std::string&, const OutputFormat& format) {
    return std::make_unique<CardOutput>(std::vector<CardOpener>{pulseOpener(format)}, format);
}

std::unique_ptr<Output> makeAlsa(const std::string& device, const OutputFormat& format) {
    return std::make_unique<CardOutput>(std::vector<CardOpener>{alsaOpener(device, format)},
                                        format);
}

std::unique_ptr<Output> makeWav(const std::string& path, const OutputFormat& format) {
    return std::make_unique<WavOutput>(path, format);
}

std::unique_ptr<Output> makeNull(const std::string&, const OutputFormat&) {
    return std::make_unique<NullOutput>();
}

enum class Argument { None, Optional, Required };

struct OutputKind {
    const char* name;
    Argument argument;
    bool hasClock;
    std::unique_ptr<Output> (*make)(const std::string& argument, const OutputFormat& format);
};

constexpr std::array KINDS = {
    OutputKind{"auto", Argument::None, true, makeAuto},
    OutputKind{"pulse", Argument::None, true, makePulse},
    OutputKind{"alsa", Argument::Optional, true, makeAlsa},
    OutputKind{"wav", Argument::Required, false, makeWav},
    OutputKind{"null", Argument::None, false, makeNull},
};

struct Request {
    const OutputKind* kind;  // null when unknown
    std::string argument;
};

Request parse(const std::string& text) {
    const auto colon = text.find(':');
    const std::string name = text.substr(0, colon);
    const auto kind = std::find_if(KINDS.begin(), KINDS.end(), [&](const OutputKind& candidate) {
        return candidate.name == name;
    });
    return {kind != KINDS.end() ? kind : nullptr,
            colon == std::string::npos ? std::string() : text.substr(colon + 1)};
}

}  // namespace

std::string checkOutput(const std::string& text) {
    const auto [kind, argument] = parse(text);
    if (kind == nullptr) return "no such output: " + text;
    if (kind->argument == Argument::Required && argument.empty())
        return "output " + text + " needs a file: wav:FILE";
    if (kind->argument == Argument::None && text != kind->name)
        return std::string("output ") + kind->name + " takes no argument";
    return {};
}

bool runsWithoutClock(const std::string& text) {
    const OutputKind* kind = parse(text).kind;
    return kind != nullptr && !kind->hasClock;
}

std::unique_ptr<Output> makeOutput(const std::string& text, const OutputFormat& format) {
    if (const std::string problem = checkOutput(text); !problem.empty())
        throw std::runtime_error(problem);
    const auto [kind, argument] = parse(text);
    return kind->make(argument, format);
}

}  // namespace cabinaudio::server
