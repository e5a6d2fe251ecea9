// SPDX-License-Identifier: Apache-2.0
#include "tools/scenario/JUnit.h"

#include "devkit/text/Printable.h"
#include "tools/Failure.h"
#include "tools/scenario/Files.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace cabinaudio::tool::scenario {

namespace {

std::string escaped(const std::string& text) {
    std::string result;
    // Control characters are not allowed in XML, not even escaped.
    for (const char letter : text::printable(text)) {
        switch (letter) {
            case '&':
                result += "&amp;";
                break;
            case '<':
                result += "&lt;";
                break;
            case '>':
                result += "&gt;";
                break;
            case '"':
                result += "&quot;";
                break;
            default:
                result += letter;
        }
    }
    return result;
}

std::string caseOf(const Scenario& scenario, const Judgement& one) {
    std::string text = "  <testcase classname=\"" +
                       escaped(std::filesystem::path(scenario.file).stem().string()) +
                       "\" name=\"" + escaped(one.text) + "\" file=\"" + escaped(scenario.file) +
                       "\"" + (one.line != 0 ? " line=\"" + std::to_string(one.line) + "\"" : "");
    if (one.isMet) return text + "/>\n";
    return text + ">\n    <failure message=\"" + escaped(one.detail) + "\">" +
           escaped(one.text + ": " + one.detail) + "</failure>\n  </testcase>\n";
}

std::string attachments(const Outcome& outcome, const ResultDirectory& directory) {
    if (!directory.isKept()) return "";
    std::string text = "  <system-out>";
    for (const PartResult& part : outcome.parts)
        for (const std::string& file : {part.files.picture, part.files.heard, part.files.log})
            if (std::filesystem::exists(file))
                text += "[[ATTACHMENT|" + escaped(std::filesystem::absolute(file)) + "]]\n";
    return text + "</system-out>\n";
}

std::string suiteOf(const Scenario& scenario, const Outcome& outcome,
                    const std::vector<Judgement>& judgements, const ResultDirectory& directory) {
    const auto failures = std::count_if(judgements.begin(), judgements.end(),
                                        [](const Judgement& one) { return !one.isMet; });
    std::string text =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites>\n<testsuite name=\"" +
        escaped(scenario.file) + "\" tests=\"" + std::to_string(judgements.size()) +
        "\" failures=\"" + std::to_string(failures) + "\" errors=\"0\">\n";
    for (const Judgement& one : judgements)
        text += caseOf(scenario, one);
    return text + attachments(outcome, directory) + "</testsuite>\n</testsuites>\n";
}

}  // namespace

void writeJUnit(const std::string& file, const Scenario& scenario, const Outcome& outcome,
                const std::vector<Judgement>& judgements, const ResultDirectory& directory) {
    std::ofstream stream(file);
    stream << suiteOf(scenario, outcome, judgements, directory);
    stream.close();
    if (!stream) throw Failure("cannot write " + file + ": " + std::strerror(errno));
}

}  // namespace cabinaudio::tool::scenario
