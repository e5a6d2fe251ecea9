// SPDX-License-Identifier: Apache-2.0
#include "demo/Envelope.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>

namespace cabinaudio::demo {
namespace {

constexpr std::size_t COLUMNS = 1200;

void writeEnvelope(std::ostream& out, const hear::Sound& sound) {
    for (std::size_t column = 0; column < COLUMNS; ++column) {
        const std::size_t begin = sound.frames() * column / COLUMNS;
        const std::size_t end = sound.frames() * (column + 1) / COLUMNS;
        if (begin == end) continue;
        const auto [low, high] = std::minmax_element(sound.samples.data() + begin * sound.channels,
                                                     sound.samples.data() + end * sound.channels);
        out << static_cast<double>(begin) / sound.rate << ' ' << *low << ' ' << *high << '\n';
    }
    out << "\n\n";
}

}  // namespace

void writeEnvelopes(const std::string& path, const std::vector<const hear::Sound*>& sounds) {
    std::ofstream file(path);
    for (const hear::Sound* sound : sounds)
        writeEnvelope(file, *sound);
    file.close();
    if (!file) throw std::runtime_error(path + " cannot be written");
}

}  // namespace cabinaudio::demo
