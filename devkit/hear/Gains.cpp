// SPDX-License-Identifier: Apache-2.0
#include "devkit/hear/Gains.h"

#include "devkit/hear/Placed.h"
#include "devkit/hear/Streams.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

namespace cabinaudio::hear {
namespace {

// Mean square of -70 dBFS. Below, rounding of 16-bit samples disturbs the gain.
constexpr double LEAST_POWER = 1e-7;
// Smallest part of a stream's energy that the other streams must not explain.
constexpr double LEAST_INDEPENDENCE = 1e-3;

using Row = std::vector<double>;

double product(const Sound& a, const Sound& b, std::size_t begin, std::size_t end) {
    const auto first = static_cast<std::ptrdiff_t>(begin * a.channels);
    const auto last = static_cast<std::ptrdiff_t>(end * a.channels);
    return std::inner_product(a.samples.begin() + first, a.samples.begin() + last,
                              b.samples.begin() + first, 0.0);
}

/// Solves a symmetric positive system; the last column of each row is the right side.
/// @return empty when the rows depend on each other
std::optional<Row> solved(std::vector<Row> rows) {
    const std::size_t size = rows.size();
    Row energies;
    for (std::size_t i = 0; i < size; ++i)
        energies.push_back(rows[i][i]);
    for (std::size_t i = 0; i < size; ++i) {
        // What is left of the diagonal is the energy that the rows before do not explain.
        if (rows[i][i] <= energies[i] * LEAST_INDEPENDENCE) return {};
        for (std::size_t j = i + 1; j < size; ++j) {
            const double factor = rows[j][i] / rows[i][i];
            for (std::size_t k = i; k <= size; ++k)
                rows[j][k] -= factor * rows[i][k];
        }
    }
    Row result(size);
    for (std::size_t i = size; i-- > 0;) {
        double rest = rows[i][size];
        for (std::size_t k = i + 1; k < size; ++k)
            rest -= rows[i][k] * result[k];
        result[i] = rest / rows[i][i];
    }
    return result;
}

}  // namespace

Gains::Gains(const Recording& recording) : mHeard(recording.heard) {
    for (const StreamReport& stream : recording.report.streams) {
        if (stream.segments.empty()) continue;
        Sound sound = placed(stream, stemOf(recording, stream), recording.heard);
        mStreams.push_back({stream.name, std::move(sound)});
    }
}

std::optional<double> Gains::of(const std::string& name, std::size_t begin, std::size_t end) const {
    const double least = LEAST_POWER * static_cast<double>((end - begin) * mHeard.channels);
    std::vector<const Stream*> audible;
    for (const Stream& stream : mStreams)
        if (product(stream.sound, stream.sound, begin, end) >= least) audible.push_back(&stream);
    // The stream in question is the last row, so that its independence of all others is known.
    const auto wanted = std::stable_partition(
        audible.begin(), audible.end(), [&](const Stream* stream) { return stream->name != name; });
    if (audible.end() - wanted != 1) return {};
    std::vector<Row> rows;
    for (const Stream* one : audible) {
        Row row;
        for (const Stream* other : audible)
            row.push_back(product(one->sound, other->sound, begin, end));
        row.push_back(product(one->sound, mHeard, begin, end));
        rows.push_back(std::move(row));
    }
    const std::optional<Row> gains = solved(std::move(rows));
    if (!gains) return {};
    return gains->back();
}

}  // namespace cabinaudio::hear
