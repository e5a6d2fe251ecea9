// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/hear/Recording.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::hear {

/// Gains of the streams in a mix, over time: the factors with which the stems, at their places, add
/// up to what was heard.
class Gains {
public:
    /// @throws Error when there is no report, or a stem is missing
    explicit Gains(const Recording& recording);

    /// The gain of a stream in a part of the mix, as least squares give it.
    /// @return empty: the stream is silent there, or cannot be told from the others
    [[nodiscard]] std::optional<double> of(const std::string& name, std::size_t begin,
                                           std::size_t end) const;

private:
    struct Stream {
        std::string name;
        Sound sound;  // at its place
    };

    const Sound& mHeard;
    std::vector<Stream> mStreams;
};

}  // namespace cabinaudio::hear
