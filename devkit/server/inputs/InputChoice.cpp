// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/inputs/InputChoice.h"

#include <cabinaudio/foundation/AudioTypes.h>

#include <array>
#include <charconv>
#include <optional>
#include <set>
#include <stdexcept>
#include <utility>

namespace cabinaudio::server {
namespace {

constexpr std::string_view TONE = "tone:";
// Before the event loop runs.
constexpr std::chrono::seconds CHECK_PATIENCE{20};
constexpr double LOWEST_TONE = 1;
constexpr double HIGHEST_TONE = 96000;

bool isTone(const std::string& text) {
    return text.rfind(TONE, 0) == 0;
}

/// The frequency in Hz; empty when the text is not a frequency.
std::optional<double> frequencyOf(const std::string& text) {
    double frequency = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data() + TONE.size(), end, frequency);
    if (error != std::errc() || rest != end) return std::nullopt;
    if (!(frequency >= LOWEST_TONE && frequency <= HIGHEST_TONE)) return std::nullopt;
    return frequency;
}

/// The tag before "="; empty if there is none, because a file name may contain "=".
std::optional<std::uint32_t> tagOf(const std::string& name) {
    for (const AudioTagType tag : {AUDIO_TAG_INPUT0, AUDIO_TAG_UPLINK, AUDIO_TAG_INPUT1,
                                   AUDIO_TAG_INPUT2, AUDIO_TAG_INPUT_FRONT_FEEDBACK}) {
        if (name == AudioTypes::getTag(tag)) return tag;
    }
    return std::nullopt;
}

std::string complaint(const std::string& text) {
    if (text.empty()) return "an input needs a file, tone:HZ, silence or mic";
    if (isTone(text) && !frequencyOf(text)) return "not a tone of 1 to 96000 Hz: " + text;
    return {};
}

std::unique_ptr<InputSource> openUnconverted(const std::string& text, std::uint32_t rate,
                                             std::chrono::milliseconds patience) {
    if (text == "silence") return makeSilence(rate);
    if (text == "mic") return openMicrophone(patience);
    if (isTone(text)) return makeTone(frequencyOf(text).value(), rate);
    return openInputFile(text);
}

}  // namespace

std::string InputChoice::add(const std::string& text) {
    const auto equals = text.find('=');
    const auto tag = tagOf(text.substr(0, equals));
    const bool isOfTag = tag && equals != std::string::npos;
    const std::string what = isOfTag ? text.substr(equals + 1) : text;
    if (std::string problem = complaint(what); !problem.empty()) return problem;
    if (isOfTag)
        mByTag[*tag] = what;
    else
        mForAll = what;
    return {};
}

const std::string& InputChoice::of(std::uint32_t tag) const {
    const auto found = mByTag.find(tag);
    return found != mByTag.end() ? found->second : mForAll;
}

void InputChoice::check() const {
    std::set<std::string> texts = {mForAll};
    for (const auto& [tag, text] : mByTag)
        texts.insert(text);
    for (const std::string& text : texts)
        openInput(text, 48000, 2, CHECK_PATIENCE);
}

std::unique_ptr<InputSource> openInput(const std::string& text, std::uint32_t rate,
                                       unsigned channels, std::chrono::milliseconds patience) {
    if (const std::string problem = complaint(text); !problem.empty())
        throw std::runtime_error(problem);
    return convertInput(openUnconverted(text, rate, patience), rate, channels);
}

}  // namespace cabinaudio::server
