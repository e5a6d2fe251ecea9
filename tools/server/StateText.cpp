// SPDX-License-Identifier: Apache-2.0
#include "tools/server/StateText.h"

#include "devkit/text/Printable.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <vector>

namespace cabinaudio::tool {

namespace {

using Row = std::array<std::string, 8>;

std::string valueOf(const Json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end() || found->is_null()) return "-";
    return text::printable(found->is_string() ? found->get<std::string>() : found->dump());
}

std::string formatOf(const Json& stream) {
    std::string text = valueOf(stream, "rate_hz") + " Hz x" + valueOf(stream, "channels");
    const std::string codec = valueOf(stream, "codec");
    if (codec != "-" && codec != "pcm") return text + " " + codec;
    return text + " " + valueOf(stream, "bits") + " bit";
}

/// An input's name, or for a sink whether it is the source of the output.
std::string sourceOf(const Json& stream) {
    return valueOf(stream, stream.contains("input") ? "input" : "source");
}

Row rowOf(const Json& stream) {
    return {valueOf(stream, "name"), valueOf(stream, "kind"),
            valueOf(stream, "tag"),  valueOf(stream, "state"),
            formatOf(stream),        valueOf(stream, "frames"),
            sourceOf(stream),        valueOf(stream, "ring_bytes")};
}

/// "\noutput  lost for 1.2 s, since ...: pulse: Connection refused; tries again", or nothing.
std::string lossOf(const std::string& what, const Json& device) {
    if (valueOf(device, "state") != "lost") return {};
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%.1f", device.value("lost_ms", 0.0) / 1000);
    return "\n" + what + "  lost for " + seconds + " s, since " + valueOf(device, "since") + ": " +
           valueOf(device, "problem") + "; tries again";
}

/// ", dropped frames 480": nothing for a count of 0.
std::string countOf(const Json& output, const char* key, const char* name) {
    const std::string count = valueOf(output, key);
    return count == "-" || count == "0" ? "" : std::string(", ") + name + " " + count;
}

std::string outputText(const Json& output) {
    std::string text = "output  " + valueOf(output, "name") + ", " + valueOf(output, "rate_hz") +
                       " Hz x" + valueOf(output, "channels") + " " + valueOf(output, "format") +
                       ", late periods " + valueOf(output, "late_periods") + ", clipped samples " +
                       valueOf(output, "clipped_samples") +
                       countOf(output, "dropped_frames", "dropped frames") +
                       countOf(output, "losses", "losses") + lossOf("output", output);
    const std::string warning = valueOf(output, "warning");
    return warning == "-" ? text : text + "\nwarning  " + warning;
}

std::string tableOf(const std::vector<Row>& rows) {
    std::array<std::size_t, std::tuple_size_v<Row>> widths = {};
    for (const Row& row : rows)
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], text::columnsOf(row[i]));
    std::string text;
    for (const Row& row : rows) {
        text += '\n';
        for (std::size_t i = 0; i + 1 < row.size(); ++i)
            text += row[i] + std::string(widths[i] - text::columnsOf(row[i]) + 2, ' ');
        text += row.back();
    }
    return text;
}

}  // namespace

std::string stateText(const Json& state) {
    std::string text = outputText(state.value("output", Json::object()));
    for (const Json& input : state.value("inputs", Json::array()))
        text += lossOf("microphone", input);
    const Json streams = state.value("streams", Json::array());
    if (streams.empty()) return text + "\nno streams";
    std::vector<Row> rows = {
        {"stream", "kind", "tag", "state", "format", "frames", "source", "ring bytes"}};
    for (const Json& stream : streams)
        rows.push_back(rowOf(stream));
    return text + tableOf(rows);
}

}  // namespace cabinaudio::tool
