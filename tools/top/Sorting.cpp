// SPDX-License-Identifier: Apache-2.0
#include "tools/top/Sorting.h"

#include <algorithm>

namespace cabinaudio::tool::top {

namespace {

double numberOf(const std::optional<double>& number) {
    return number.value_or(2 * SILENCE_DB);
}

bool isBefore(const Stream& left, const Stream& right, Column column) {
    switch (column) {
        case Column::Pid:
            return left.pid < right.pid;
        case Column::Program:
            return left.program < right.program;
        case Column::Tag:
            return left.tag < right.tag;
        case Column::Type:
            return left.type < right.type;
        case Column::State:
            return left.state < right.state;
        case Column::Format:
            return left.format < right.format;
        case Column::Volume:
            return numberOf(left.volumeDb) > numberOf(right.volumeDb);
        case Column::Level:
        case Column::Bar:
            return numberOf(left.levelDb) > numberOf(right.levelDb);
        case Column::Queue:
            return numberOf(left.queuedMs) > numberOf(right.queuedMs);
        case Column::Lapses:
            return left.lapses.value_or(-1) > right.lapses.value_or(-1);
        case Column::Latency:
            return numberOf(left.latencyMs) > numberOf(right.latencyMs);
        case Column::LoweredBy:
            return loweredBy(left) > loweredBy(right);
        case Column::Name:
            break;
    }
    return left.name < right.name;
}

}  // namespace

void sort(std::vector<Stream>& streams, const Order& order) {
    std::stable_sort(streams.begin(), streams.end(), [&](const Stream& left, const Stream& right) {
        const Stream& first = order.isReversed ? right : left;
        const Stream& second = order.isReversed ? left : right;
        return isBefore(first, second, order.column);
    });
}

}  // namespace cabinaudio::tool::top
