// SPDX-License-Identifier: Apache-2.0
#include "tools/top/Layout.h"

#include "devkit/text/Printable.h"
#include "tools/top/Table.h"

#include <algorithm>
#include <cstdio>
#include <string>

namespace cabinaudio::tool::top {

namespace {

constexpr std::size_t WIDEST_BAR = 40;

std::string oneDigit(double number) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", number);
    return text;
}

Line headLine(const Figures& figures, const View& view) {
    Line line = {{"cabinaudio top", Style::Bold}, {"  " + view.time}};
    if (!view.waitingFor.empty()) {
        line.push_back({"  " + view.waitingFor, Style::Bad});
        return line;
    }
    if (figures.mixPercent)
        line.push_back({"  mix " + oneDigit(*figures.mixPercent) + " % of " +
                        oneDigit(figures.periodMs) + " ms, longest " +
                        oneDigit(figures.longestMixMs) + " ms"});
    line.push_back({"  server " + figures.version, Style::Dim});
    return line;
}

void addDevice(const char* title, const Device& device, std::vector<Line>& lines) {
    Line line = {{std::string(title) + " ", Style::Dim}, {device.name, Style::Bold}};
    if (device.isLost)
        line.push_back({"  lost since " + device.since + ": " + device.problem, Style::Bad});
    if (!device.format.empty()) line.push_back({"  " + device.format});
    for (const std::string& counter : device.counters)
        line.push_back({"  " + counter, Style::Dim});
    lines.push_back(std::move(line));
    if (!device.warning.empty()) lines.push_back({{"  " + device.warning, Style::Loud}});
}

Line loudspeakerLine(const Loudspeaker& loudspeaker, std::size_t columns, Glyphs glyphs) {
    const std::string level = fit(decibelText(loudspeaker.peakDb), 7, glyphs, true);
    Line line = {{"  " + fit(loudspeaker.name, 4, glyphs) + level + " dB ", Style::Plain}};
    const std::size_t used = columnsOf(line) + 8;
    line.push_back(
        {barOf(loudspeaker.peakDb, std::min(WIDEST_BAR, columns - std::min(columns, used)), glyphs),
         Style::Good});
    if (loudspeaker.isMuted) line.push_back({" muted", Style::Loud});
    return line;
}

std::vector<Line> headOf(const Figures& figures, const View& view, std::size_t columns,
                         Glyphs glyphs) {
    std::vector<Line> lines = {headLine(figures, view)};
    if (!view.waitingFor.empty()) return lines;
    addDevice("output", figures.output, lines);
    for (const Device& input : figures.inputs)
        addDevice("input ", input, lines);
    for (const Loudspeaker& loudspeaker : figures.loudspeakers)
        lines.push_back(loudspeakerLine(loudspeaker, columns, glyphs));
    return lines;
}

std::string describe(const Stream& stream) {
    std::string text =
        stream.name + ": " + stream.kind + " of process " + std::to_string(stream.pid);
    if (!stream.program.empty()) text += " " + stream.program;
    text += ", " + stream.tag + " " + stream.type + ", " + stream.format;
    if (stream.latencyMs) text += ", latency " + oneDigit(*stream.latencyMs) + " ms";
    return text;
}

/// "samples -6.0 dB, track -12.0, ducking -20.0 (navi), heard -38.0 dB", without the stages that
/// change nothing.
std::string chainOf(const Stream& stream) {
    std::string text = "samples " + decibelText(stream.peakDb) + " dB";
    for (const Gain& gain : stream.gains) {
        if (gain.db == 0 && !gain.isMuted) continue;
        text += ", " + gain.stage + " " + (gain.isMuted ? "muted" : decibelText(gain.db));
        if (!gain.by.empty()) text += " (" + gain.by + ")";
    }
    return text + ", heard " + decibelText(stream.levelDb) + " dB";
}

/// Adds a text of parts with commas, in as many lines as it needs.
void addWrapped(const std::string& text, Style style, std::size_t columns,
                std::vector<Line>& lines) {
    std::string line;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t comma = text.find(", ", begin);
        const std::size_t end = comma == std::string::npos ? text.size() : comma + 2;
        const std::string part = text.substr(begin, end - begin);
        if (!line.empty() && text::columnsOf(line + part) > columns) {
            lines.push_back({{line, style}});
            line = "  ";
        }
        line += part;
        begin = end;
    }
    lines.push_back({{line, style}});
}

std::vector<Line> footOf(const Figures& figures, const View& view, std::size_t columns) {
    std::vector<Line> lines;
    if (!figures.streams.empty() && view.waitingFor.empty()) {
        const Stream& stream = figures.streams[selectedRow(view, figures.streams)];
        addWrapped(describe(stream), Style::Plain, columns, lines);
        addWrapped(chainOf(stream), Style::Dim, columns, lines);
    }
    lines.push_back(view.message.empty()
                        ? Line{{"q quit  h help  m mute  + - volume  w withdraw  a activate  "
                                "N P L Q U ... sort",
                                Style::Dim}}
                        : Line{{view.message, Style::Loud}});
    return lines;
}

std::vector<Line> helpLines() {
    std::vector<Line> lines = {
        {{"Keys", Style::Bold}},
        {{"  up, down, j, k, Home, End   select a stream"}},
        {{"  m       mute the stream: its volume becomes silence, and again what it was;"}},
        {{"          if its path is muted, that is opened instead"}},
        {{"  +, -    its volume, by 1 dB"}},
        {{"  w, a    withdraw the source from a sink, or activate it"}},
        {{"  h, ?    this page"}},
        {{"  q       quit"}},
        {{"  R       reverse the order; or press the sorting key again"}},
    };
    std::string keys = "  sort by";
    for (const ColumnShape& shape : columnShapes()) {
        if (shape.key == 0) continue;
        const std::string word = std::string("  ") + shape.key + " " + shape.title;
        if (keys.size() + word.size() > 76) {
            lines.push_back({{keys}});
            keys = "         ";
        }
        keys += word;
    }
    lines.push_back({{keys}});
    return lines;
}

/// Rows of the table, scrolled so that the selected one is among them.
void addRows(const Figures& figures, View& view, const Table& table, std::size_t room,
             std::vector<Line>& lines) {
    const std::size_t count = figures.streams.size();
    const std::size_t selected = selectedRow(view, figures.streams);
    view.scroll = std::min(view.scroll, count - std::min(count, room));
    if (selected < view.scroll) view.scroll = selected;
    if (room > 0 && selected >= view.scroll + room) view.scroll = selected + 1 - room;
    for (std::size_t i = view.scroll; i < std::min(count, view.scroll + room); ++i)
        lines.push_back(table.row(figures.streams[i], i == selected));
}

void cutAll(std::vector<Line>& lines, std::size_t columns, Glyphs glyphs) {
    for (Line& line : lines)
        cut(line, columns, glyphs);
}

}  // namespace

std::vector<Line> screenOf(const Figures& figures, View& view, Size size, Glyphs glyphs) {
    std::vector<Line> lines = headOf(figures, view, size.columns, glyphs);
    const std::vector<Line> foot = footOf(figures, view, size.columns);
    if (view.isHelpShown) {
        for (Line& line : helpLines())
            lines.push_back(std::move(line));
    } else if (view.waitingFor.empty()) {
        const Table table(size.columns, glyphs, figures.streams);
        lines.push_back(table.heading(view.order));
        const std::size_t used = lines.size() + foot.size();
        addRows(figures, view, table, size.rows - std::min(size.rows, used), lines);
        if (figures.streams.empty()) lines.push_back({{"no streams", Style::Dim}});
    }
    // At the bottom, if there is room.
    while (lines.size() + foot.size() < size.rows)
        lines.emplace_back();
    lines.insert(lines.end(), foot.begin(), foot.end());
    if (lines.size() > size.rows) lines.resize(size.rows);
    cutAll(lines, size.columns, glyphs);
    return lines;
}

std::vector<Line> listOf(const Figures& figures, const View& view, std::size_t columns,
                         Glyphs glyphs) {
    std::vector<Line> lines = headOf(figures, view, columns, glyphs);
    const Table table(columns, glyphs, figures.streams);
    if (figures.streams.empty())
        lines.push_back({{"no streams"}});
    else
        lines.push_back(table.heading(view.order));
    for (const Stream& stream : figures.streams)
        lines.push_back(table.row(stream, false));
    cutAll(lines, columns, glyphs);
    return lines;
}

}  // namespace cabinaudio::tool::top
