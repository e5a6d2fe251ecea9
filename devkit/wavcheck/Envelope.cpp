// SPDX-License-Identifier: Apache-2.0
#include "devkit/wavcheck/Envelope.h"

#include <algorithm>
#include <ostream>

namespace cabinaudio::wavcheck {

void writeEnvelope(std::ostream& out, const Sound& sound, std::size_t columns) {
    const auto channels = static_cast<std::size_t>(sound.channels);
    for (std::size_t column = 0; column < columns; ++column) {
        const std::size_t begin = sound.frames() * column / columns;
        const std::size_t end = sound.frames() * (column + 1) / columns;
        if (begin == end) continue;
        const auto [low, high] = std::minmax_element(&sound.samples[begin * channels],
                                                     sound.samples.data() + end * channels);
        out << static_cast<double>(begin) / sound.rate << ' ' << *low << ' ' << *high << '\n';
    }
    out << "\n\n";
}

}  // namespace cabinaudio::wavcheck
