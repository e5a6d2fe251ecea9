// SPDX-License-Identifier: Apache-2.0
#include "tools/top/Table.h"

#include "devkit/text/Printable.h"

#include <algorithm>
#include <cmath>

namespace cabinaudio::tool::top {

namespace {

constexpr double LOUD_DB = -9;
constexpr double ALMOST_CLIPPED_DB = -1;

std::string millisecondsText(const std::optional<double>& ms) {
    return ms ? std::to_string(std::llround(*ms)) : "-";
}

std::string cellOf(const Stream& stream, Column column) {
    switch (column) {
        case Column::Name:
            return stream.name;
        case Column::Pid:
            return std::to_string(stream.pid);
        case Column::Program:
            return stream.program.empty() ? "-" : stream.program;
        case Column::Tag:
            return stream.tag;
        case Column::Type:
            return stream.type;
        case Column::State:
            return stream.state;
        case Column::Format:
            return stream.format;
        case Column::Volume:
            return decibelText(stream.volumeDb);
        case Column::Level:
            return decibelText(stream.levelDb);
        case Column::Queue:
            return millisecondsText(stream.queuedMs);
        case Column::Lapses:
            return stream.lapses ? std::to_string(*stream.lapses) : "-";
        case Column::Latency:
            return millisecondsText(stream.latencyMs);
        case Column::LoweredBy:
            return loweredBy(stream);
        case Column::Bar:
            break;
    }
    return "";
}

Style styleOf(const Stream& stream, Column column) {
    if (column == Column::Bar || column == Column::Level) {
        if (stream.levelDb.value_or(SILENCE_DB) > ALMOST_CLIPPED_DB) return Style::Bad;
        return stream.levelDb.value_or(SILENCE_DB) > LOUD_DB ? Style::Loud : Style::Good;
    }
    if (column == Column::Lapses && stream.lapses.value_or(0) > 0) return Style::Loud;
    if (column == Column::LoweredBy) return Style::Loud;
    return stream.state == "active" ? Style::Plain : Style::Dim;
}

std::size_t widthOf(const std::vector<ColumnShape>& columns) {
    std::size_t width = columns.size() - 1;
    for (const ColumnShape& shape : columns)
        width += shape.width;
    return width;
}

}  // namespace

const std::vector<ColumnShape>& columnShapes() {
    static const std::vector<ColumnShape> shapes = {
        {Column::Name, "NAME", 'N', 12, 32, false, 0},
        {Column::Pid, "PID", 'P', 7, 7, true, 2},
        {Column::Program, "PROGRAM", 'G', 9, 20, false, 8},
        {Column::Tag, "TAG", 'T', 5, 24, false, 6},
        {Column::Type, "TYPE", 'Y', 10, 16, false, 9},
        {Column::State, "STATE", 'S', 6, 6, false, 5},
        {Column::Format, "FORMAT", 'F', 10, 16, false, 10},
        {Column::Volume, "VOL dB", 'V', 6, 6, true, 1},
        {Column::Level, "LEVEL", 'L', 6, 6, true, 0},
        {Column::Bar, "", 0, 8, 24, false, 4},
        {Column::Queue, "QUEUE", 'Q', 5, 5, true, 3},
        {Column::Lapses, "UNDER", 'U', 5, 6, true, 2},
        {Column::Latency, "LATE", 'A', 5, 5, true, 7},
        {Column::LoweredBy, "LOWERED BY", 'B', 10, 28, false, 1},
    };
    return shapes;
}

Table::Table(std::size_t width, Glyphs glyphs, const std::vector<Stream>& streams)
    : mColumns(columnShapes()), mGlyphs(glyphs) {
    while (mColumns.size() > 1 && widthOf(mColumns) > width)
        mColumns.erase(std::max_element(mColumns.begin(), mColumns.end(),
                                        [](const ColumnShape& left, const ColumnShape& right) {
                                            return left.rank < right.rank;
                                        }));
    widen(width - std::min(width, widthOf(mColumns)), streams);
}

/// Columns whose texts are cut get the room that is left, the bar what then remains.
void Table::widen(std::size_t room, const std::vector<Stream>& streams) {
    const auto grow = [&](ColumnShape& shape, std::size_t wanted) {
        const std::size_t more =
            std::min(room, std::clamp(wanted, shape.width, shape.widest) - shape.width);
        shape.width += more;
        room -= more;
    };
    for (ColumnShape& shape : mColumns)
        for (const Stream& stream : streams)
            grow(shape, text::columnsOf(cellOf(stream, shape.column)));
    for (ColumnShape& shape : mColumns)
        if (shape.column == Column::Bar) grow(shape, shape.widest);
}

Line Table::heading(const Order& order) const {
    Line line;
    for (const ColumnShape& shape : mColumns) {
        if (!line.empty()) line.push_back({" ", Style::Heading});
        line.push_back({fit(shape.title, shape.width, mGlyphs, shape.isRight),
                        shape.column == order.column ? Style::SortHeading : Style::Heading});
    }
    return line;
}

Line Table::row(const Stream& stream, bool isSelected) const {
    Line line;
    for (const ColumnShape& shape : mColumns) {
        const auto style = [&](Style wanted) { return isSelected ? Style::Selected : wanted; };
        if (!line.empty()) line.push_back({" ", style(Style::Plain)});
        const std::string text =
            shape.column == Column::Bar
                ? barOf(stream.levelDb, shape.width, mGlyphs)
                : fit(cellOf(stream, shape.column), shape.width, mGlyphs, shape.isRight);
        line.push_back({text, style(styleOf(stream, shape.column))});
    }
    return line;
}

}  // namespace cabinaudio::tool::top
