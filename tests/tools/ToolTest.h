// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/Files.h"
#include "tests/support/RealServer.h"
#include "tests/support/ScriptedServer.h"
#include "tests/tools/Sounds.h"
#include "tests/tools/ToolProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <sstream>
#include <string>

/// Shared by all tests of the tool.
namespace cabinaudio::test {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

/// A directory of the test's own, and a server if the test wants one.
class ToolTest : public testing::Test {
protected:
    /// Starts the server with these arguments behind "--output null".
    void serve(const Words& more = {}) {
        Words arguments = {"--output", "null"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        mServer = std::make_unique<RealServer>(arguments);
    }
    [[nodiscard]] std::string file(const std::string& name) const { return mDirectory.file(name); }

    TemporaryDirectory mDirectory;
    std::unique_ptr<RealServer> mServer;
};

/// Takes every connection and never answers anything.
class SilentServer {
public:
    SilentServer() {
        mServer.onRegistration(Answer::none());
        mServer.onOther(Answer::none());
    }

private:
    ScriptedServer mServer;
};

/// The number of a function on the wire.
template <typename Function>
constexpr std::uint32_t id(Function function) {
    return static_cast<std::uint32_t>(function);
}

/// "SIGINT" as a part of a test's name: "INT".
[[nodiscard]] inline std::string nameOfSignal(const testing::TestParamInfo<int>& signal) {
    return sigabbrev_np(signal.param);
}

/// `words` and `more` behind them.
[[nodiscard]] inline Words with(Words words, const Words& more) {
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

/// The lines of a text without their ends.
[[nodiscard]] inline Words linesOf(const std::string& text) {
    Words lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

/// Arguments as one text with blanks, or as words that may be empty or have blanks.
struct CommandLine {
    CommandLine(const char* line) {
        std::istringstream stream(line);
        for (std::string word; stream >> word;)
            words.push_back(word);
    }
    CommandLine(std::initializer_list<std::string> list) : words(list) {}

    Words words;
};

/// A command that is refused, and the begin of the message.
struct Refusal {
    CommandLine command;
    std::string says;

    friend void PrintTo(const Refusal& refusal, std::ostream* out) {
        for (const std::string& word : refusal.command.words)
            *out << word << ' ';
    }
};

/// Expects that a text is exactly one line.
inline void expectOneLine(const std::string& text) {
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1) << text;
    EXPECT_THAT(text, testing::EndsWith("\n"));
}

/// Expects that the tool printed one JSON object. @return the object
[[nodiscard]] inline json jsonOf(const Outcome& outcome) {
    EXPECT_TRUE(json::accept(outcome.out)) << outcome.text();
    return json::parse(outcome.out, nullptr, false);
}

}  // namespace cabinaudio::test
