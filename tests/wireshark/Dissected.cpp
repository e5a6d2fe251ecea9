// SPDX-License-Identifier: Apache-2.0
#include "tests/wireshark/Dissected.h"

#include "devkit/trace/CaptureWriter.h"
#include "tests/support/Files.h"
#include "tests/support/Process.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <sstream>
#include <utility>

namespace cabinaudio::test {
namespace {

const std::string EXPERT = "cabinaudio.expert.";

/// Output of tshark with the tree's dissector and nobody's settings.
std::string tshark(const std::string& capture, const Words& arguments) {
    const TemporaryDirectory home;
    Start start;
    start.words = {CABINAUDIO_TEST_TSHARK, "-X", "lua_script:" CABINAUDIO_TEST_DISSECTOR, "-r",
                   capture};
    start.words.insert(start.words.end(), arguments.begin(), arguments.end());
    start.variables = {{"HOME", home.path().string()}, {"LC_ALL", "C.UTF-8"}, {"LD_PRELOAD", ""}};
    Outcome outcome = runProgram(start);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(outcome.err.find(".lua"), std::string::npos) << outcome.err;
    EXPECT_EQ(outcome.out.find("Lua Error"), std::string::npos)
        << outcome.out.substr(outcome.out.find("Lua Error"), 300);
    return std::move(outcome.out);
}

std::string unescaped(std::string text) {
    const std::pair<std::string, std::string> escapes[] = {
        {"&quot;", "\""}, {"&lt;", "<"}, {"&gt;", ">"}, {"&apos;", "'"}, {"&amp;", "&"}};
    for (const auto& [escape, character] : escapes)
        for (std::size_t at = 0; (at = text.find(escape, at)) != std::string::npos; ++at)
            text.replace(at, escape.size(), character);
    return text;
}

std::string attribute(const std::string& line, const std::string& name) {
    const std::string begin = " " + name + "=\"";
    const std::size_t at = line.find(begin);
    if (at == std::string::npos) return "";
    const std::size_t from = at + begin.size();
    return unescaped(line.substr(from, line.find('"', from) - from));
}

std::size_t numericAttribute(const std::string& line, const std::string& name) {
    const std::string text = attribute(line, name);
    return text.empty() ? 0 : std::stoul(text);
}

/// The field of a line, which is a whole element or begins one.
std::optional<ShownField> fieldOf(const std::string& line) {
    if (line.find("<field ") == std::string::npos) return std::nullopt;
    ShownField field;
    field.name = attribute(line, "name");
    field.text = attribute(line, "showname");
    field.value = attribute(line, "value");
    field.at = numericAttribute(line, "pos");
    field.size = numericAttribute(line, "size");
    field.isLeaf = line.size() > 1 && line.compare(line.size() - 2, 2, "/>") == 0;
    if (field.text.empty()) field.text = attribute(line, "show");
    return field;
}

/// The packets of tshark's XML, which has one element per line.
std::vector<ShownPacket> packetsOf(const std::string& xml) {
    std::vector<ShownPacket> packets;
    std::istringstream input(xml);
    bool isOurs = false;
    for (std::string line; std::getline(input, line);) {
        if (line.find("<packet>") != std::string::npos) packets.emplace_back();
        if (line.find("<proto ") != std::string::npos)
            isOurs = isOurs && attribute(line, "name").rfind("_ws.", 0) == 0;
        if (line.find("<proto name=\"cabinaudio\"") != std::string::npos) isOurs = true;
        const auto field = isOurs ? fieldOf(line) : std::nullopt;
        if (field) packets.back().fields.push_back(*field);
    }
    return packets;
}

}  // namespace

const ShownField* ShownPacket::find(const std::string& name) const {
    const auto place = std::find_if(fields.begin(), fields.end(),
                                    [&](const ShownField& field) { return field.name == name; });
    return place != fields.end() ? &*place : nullptr;
}

const ShownField* ShownPacket::at(std::size_t begin, std::size_t size) const {
    const auto place = std::find_if(fields.begin(), fields.end(), [&](const ShownField& field) {
        return field.at == begin && field.size == size && field.name.rfind("cabinaudio.", 0) == 0;
    });
    return place != fields.end() ? &*place : nullptr;
}

std::vector<std::string> ShownPacket::texts(const std::string& name) const {
    std::vector<std::string> found;
    for (const ShownField& field : fields)
        if (field.name == name) found.push_back(field.text);
    return found;
}

std::vector<std::string> ShownPacket::notes() const {
    std::vector<std::string> found;
    for (const ShownField& field : fields)
        if (field.name.rfind(EXPERT, 0) == 0) found.push_back(field.name.substr(EXPERT.size()));
    std::sort(found.begin(), found.end());
    return found;
}

std::size_t ShownPacket::firstUncovered(std::size_t size) const {
    std::vector<bool> isCovered(size);
    for (const ShownField& field : fields) {
        if (field.name.rfind("cabinaudio.", 0) != 0) continue;
        for (std::size_t i = field.at; i < std::min(size, field.at + field.size); ++i)
            isCovered[i] = true;
    }
    const auto place = std::find(isCovered.begin(), isCovered.end(), false);
    return static_cast<std::size_t>(place - isCovered.begin());
}

std::vector<ShownPacket> dissect(const std::string& capture) {
    return packetsOf(tshark(capture, {"-2", "-T", "pdml"}));
}

std::vector<ShownPacket> dissect(const std::vector<trace::Record>& records) {
    const TemporaryDirectory directory;
    const std::string path = directory.file("capture.pcapng");
    trace::CaptureWriter writer(path);
    for (const trace::Record& record : records)
        writer.write(record);
    writer.flush();
    return dissect(path);
}

std::vector<std::string> lines(const std::string& capture, const std::string& filter) {
    Words arguments = {"-T", "fields", "-E", "separator=/s"};
    for (const char* column : {"_ws.col.Source", "_ws.col.Destination", "_ws.col.Info"})
        arguments.insert(arguments.end(), {"-e", column});
    if (!filter.empty()) arguments.insert(arguments.end(), {"-Y", filter});
    std::istringstream input(tshark(capture, arguments));
    std::vector<std::string> found;
    for (std::string line; std::getline(input, line);)
        found.push_back(line);
    return found;
}

}  // namespace cabinaudio::test
