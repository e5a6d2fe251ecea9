// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/hear/Phrase.h"
#include "devkit/hear/Range.h"
#include "devkit/hear/Recording.h"

#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace cabinaudio::hear {

/// The part of a sound that a check looks at.
struct View {
    const Sound& sound;
    std::size_t begin;  // frames
    std::size_t end;    // behind the last frame; not before begin, and within the sound
    std::optional<unsigned> channel;

    [[nodiscard]] std::size_t frames() const { return end - begin; }
    [[nodiscard]] double seconds(std::size_t frame) const {
        return static_cast<double>(frame) / sound.rate;
    }
    /// Channels that are looked at: [firstChannel(), lastChannel())
    [[nodiscard]] unsigned firstChannel() const { return channel.value_or(0); }
    [[nodiscard]] unsigned lastChannel() const { return channel ? *channel + 1 : sound.channels; }
    [[nodiscard]] float at(std::size_t frame, unsigned ofChannel) const {
        return sound.samples[frame * sound.channels + ofChannel];
    }
};

/// What a check found.
struct Outcome {
    bool isMet = false;
    std::string measured;
    std::string required;
    std::optional<double> at;  // seconds
};

/// A check whose text was understood.
struct Check {
    std::string text;
    Range range;
    std::optional<unsigned> channel;
    bool endsWithTheSound = true;   // a range beyond the end of the sound is a fault
    bool readsSamples = true;       // of the mix: they must be numbers
    std::optional<double> seconds;  // of sound that it needs, besides its range
    std::function<Outcome(const Recording&, const View&)> make;
};

/// A kind of check: the first word of its text.
struct Kind {
    const char* name;
    const char* form;  // for a person: "level DB [tol=DB] [on CHANNEL] [FROM..TO]"
    bool takesRange;
    bool takesChannel;
    void (*parse)(Phrase& phrase, Check& check);
};

/// @throws Error when the text is no check
[[nodiscard]] Check checkOf(const std::string& text);

}  // namespace cabinaudio::hear
