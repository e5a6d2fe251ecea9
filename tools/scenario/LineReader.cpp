// SPDX-License-Identifier: Apache-2.0
#include "tools/scenario/LineReader.h"

#include "tools/scenario/Hearing.h"
#include "tools/scenario/Moment.h"
#include "tools/scenario/ServerWords.h"
#include "tools/scenario/Signals.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace cabinaudio::tool::scenario {

namespace {

/// What is wrong with a line.
class Fault : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

std::string quoted(const std::string& text) {
    return "'" + text + "'";
}

/// The words as a line that would be split into them again.
std::string lineOf(const Words& words) {
    std::string line;
    for (const std::string& word : words) {
        const bool isPlain = !word.empty() && word.find_first_of(" \t'\"\\#") == std::string::npos;
        const char* const quote = isPlain ? "" : word.find('\'') == std::string::npos ? "'" : "\"";
        line += (line.empty() ? "" : " ") + (quote + word) + quote;
    }
    return line;
}

Words behind(const Words& words, std::size_t count) {
    return {words.begin() + static_cast<std::ptrdiff_t>(std::min(count, words.size())),
            words.end()};
}

/// Refuses words behind the first `count` ones.
void requireEnd(const Words& words, std::size_t count) {
    if (words.size() > count) throw Fault("unexpected " + quoted(words[count]));
}

bool isName(const std::string& text) {
    constexpr std::string_view LETTERS =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-";
    return !text.empty() && text.size() <= 32 &&
           text.find_first_not_of(LETTERS) == std::string::npos;
}

std::optional<int> statusOf(const std::string& text) {
    int status = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), status);
    const bool isNumber = error == std::errc() && end == text.data() + text.size();
    if (!isNumber || status < 0 || status > 255) return std::nullopt;
    return status;
}

void requireAssignments(const Words& words) {
    if (words.empty()) throw Fault("'set' lacks an assignment such as volume.master=-6dB");
    for (const std::string& word : words)
        if (word.find_first_of("=+-") == std::string::npos || word.starts_with('-'))
            throw Fault(quoted(word) + " is no assignment such as volume.master=-6dB");
}

constexpr char TIMES[] =
    "expected milliseconds such as 2000, frames such as 96000f, or +500 after the line before";

std::string actions() {
    return "set, run, signal, restart, " + serverCommands();
}

}  // namespace

struct LineReader::Keyword {
    const char* word;
    void (LineReader::*take)(const Words&);
};

const LineReader::Keyword LineReader::KEYWORDS[] = {
    {"server", &LineReader::takeServer}, {"set", &LineReader::takeSet},
    {"run", &LineReader::takeRun},       {"await", &LineReader::takeAwait},
    {"at", &LineReader::takeAt},         {"until", &LineReader::takeUntil},
    {"expect", &LineReader::takeExpect}};

LineReader::LineReader(Scenario& scenario) : mScenario(scenario) {
    mScenario.parts.emplace_back();
}

std::string LineReader::take(unsigned line, const Words& words) {
    mLine = line;
    std::string known;
    for (const Keyword& keyword : KEYWORDS) {
        if (words.front() == keyword.word) {
            try {
                (this->*keyword.take)(behind(words, 1));
                return "";
            } catch (const Fault& fault) {
                return fault.what();
            }
        }
        known += (known.empty() ? "" : ", ") + std::string(keyword.word);
    }
    return quoted(words.front()) + " is no keyword; expected " + known;
}

std::string LineReader::end() const {
    if (!mProgramLines.empty()) return "";
    return "the file has no program; expected a line such as 'run player ./player'";
}

void LineReader::takeServer(const Words& words) {
    if (mHasOthers) throw Fault("options of the server stand before all other lines");
    if (words.empty()) throw Fault("'server' lacks options such as --input input0=voice.wav");
    if (!words.front().starts_with('-'))
        throw Fault(quoted(words.front()) + " is no option; expected one such as --hold 1");
    if (const std::string fault = takeOptions(words, mScenario); !fault.empty()) throw Fault(fault);
    mScenario.serverOptions.insert(mScenario.serverOptions.end(), words.begin(), words.end());
    mScenario.serverLines.resize(mScenario.serverOptions.size(), mLine);
}

void LineReader::takeSet(const Words& words) {
    mHasOthers = true;
    requireAssignments(words);
    if (!mProgramLines.empty())
        throw Fault(
            "'set' without a time stands before the programs; later, write 'at MS set ...'");
    mScenario.settings.push_back({mLine, words});
}

void LineReader::takeRun(const Words& words) {
    mHasOthers = true;
    if (mLastLine != 0 || mScenario.parts.size() > 1)
        throw Fault("'run' without a time stands before all times; later, write 'at MS run ...'");
    mScenario.programs.push_back(programOf(words));
}

void LineReader::takeAwait(const Words& words) {
    mHasOthers = true;
    if (words.empty() || words.front().empty()) throw Fault("'await' lacks the name of a stream");
    Await await{words.front(), std::nullopt};
    if (words.size() > 1) await.at = moment(words[1]);
    requireEnd(words, 2);
    part().awaits.push_back(std::move(await));
}

void LineReader::takeAt(const Words& words) {
    mHasOthers = true;
    if (mScenario.until.line != 0)
        throw Fault("a time after 'until' of line " + std::to_string(mScenario.until.line));
    if (words.empty()) throw Fault(std::string("'at' lacks a time; ") + TIMES);
    const Moment at = moment(words.front());
    requireRising(at);
    if (words.size() == 1) throw Fault("'at' lacks an action; expected " + actions());
    takeAction(at, behind(words, 1));
}

void LineReader::takeAction(const Moment& at, const Words& words) {
    if (words.front() == "restart") {
        requireEnd(words, 1);
        takeRestart(at);
        return;
    }
    if (mCrashLine != 0)
        throw Fault("only 'restart' can follow 'crash' of line " + std::to_string(mCrashLine));
    part().actions.push_back({mLine, at, actionOf(words)});
    if (words.front() == "crash") mCrashLine = mLine;
    mLast = at;
    mLastLine = mLine;
}

void LineReader::takeRestart(const Moment& at) {
    part().restartAt = at;
    part().restartLine = mLine;
    mScenario.parts.emplace_back();
    mLast = {0, "0"};
    mLastLine = 0;
    mCrashLine = 0;
}

Action LineReader::actionOf(const Words& words) {
    const Words rest = behind(words, 1);
    if (words.front() == "set") {
        requireAssignments(rest);
        return SetCommand{mLine, rest};
    }
    if (words.front() == "run") return RunCommand{programOf(rest)};
    if (words.front() == "signal") return signalOf(rest);
    if (!isServerCommand(words))
        throw Fault(quoted(lineOf(words)) + " is no action; expected " + actions());
    if (const std::string fault = commandFault(words); !fault.empty()) throw Fault(fault);
    return ServerCommand{commandText(words)};
}

Action LineReader::signalOf(const Words& words) const {
    if (words.empty()) throw Fault("'signal' lacks the name of a program");
    requireProgram(words.front());
    if (words.size() == 1) throw Fault("'signal' lacks a signal such as USR1");
    const std::optional<int> signal = signalNumber(words[1]);
    if (!signal) throw Fault(quoted(words[1]) + " is no signal; expected one such as USR1 or 10");
    requireEnd(words, 2);
    return SignalCommand{words.front(), *signal};
}

Program LineReader::programOf(const Words& words) {
    if (words.empty()) throw Fault("'run' lacks a name and a command");
    const std::string& name = words.front();
    if (!isName(name))
        throw Fault("the name " + quoted(name) + " must be 1 to 32 of A-Z a-z 0-9 _ -");
    if (const auto known = mProgramLines.find(name); known != mProgramLines.end())
        throw Fault("the name " + quoted(name) + " is taken by the program of line " +
                    std::to_string(known->second));
    // Known from here on, so that later lines that name it are not errors too.
    mProgramLines.emplace(name, mLine);
    if (words.size() == 1) throw Fault("'run " + name + "' lacks a command");
    return {name, behind(words, 1)};
}

void LineReader::takeUntil(const Words& words) {
    mHasOthers = true;
    Until& until = mScenario.until;
    if (until.line != 0)
        throw Fault("a second 'until'; the first one is on line " + std::to_string(until.line));
    if (mCrashLine != 0)
        throw Fault("no time passes after 'crash' of line " + std::to_string(mCrashLine));
    until.line = mLine;
    if (words.empty()) throw Fault("'until' lacks 'finished NAME' or a time");
    if (words.front() != "finished") {
        const Moment at = moment(words.front());
        requireRising(at);
        until.at = at;
        requireEnd(words, 1);
        return;
    }
    if (words.size() == 1 || words[1].empty())
        throw Fault("'until finished' lacks the name of a stream");
    until.finished = words[1];
    requireEnd(words, 2);
}

void LineReader::takeExpect(const Words& words) {
    mHasOthers = true;
    if (words.empty()) throw Fault("'expect' lacks exit, check, output or error");
    Expectation expectation{mLine, mScenario.parts.size() - 1, lineOf(words), {}};
    const Words rest = behind(words, 1);
    const std::string& kind = words.front();
    std::size_t count = 1;
    if (kind == "exit") {
        expectation.what = exitOf(rest);
        count = 2;
    } else if (kind == "check") {
        if (rest.empty()) throw Fault("'expect check' lacks a check such as 'tone 440'");
        if (const std::string fault = checkFault(rest.front()); !fault.empty()) throw Fault(fault);
        expectation.what = ExpectCheck{rest.front()};
    } else if (kind == "error") {
        if (rest.empty()) throw Fault("'expect error' lacks a part of the error's text");
        expectation.what = ExpectError{rest.front()};
    } else if (kind == "output") {
        if (rest.empty()) throw Fault("'expect output' lacks the name of a program");
        requireProgram(rest.front());
        if (rest.size() == 1) throw Fault("'expect output' lacks a part of the output");
        expectation.what = ExpectOutput{rest.front(), rest[1]};
        count = 2;
    } else {
        throw Fault(quoted(kind) + " cannot be expected; expected exit, check, output or error");
    }
    if (rest.size() > count)
        throw Fault("unexpected " + quoted(rest[count]) + "; several words need quotes");
    mScenario.expectations.push_back(std::move(expectation));
}

ExpectExit LineReader::exitOf(const Words& words) const {
    if (words.empty()) throw Fault("'expect exit' lacks the name of a program");
    requireProgram(words.front());
    if (words.size() == 1) throw Fault("'expect exit' lacks a status");
    if (const std::optional<int> status = statusOf(words[1])) return {words.front(), *status, 0};
    const bool isName = words[1].find_first_not_of("0123456789") != std::string::npos;
    const std::optional<int> signal = isName ? signalNumber(words[1]) : std::nullopt;
    if (!signal)
        throw Fault(quoted(words[1]) +
                    " is no status; expected 0 to 255, or a signal such as SIGTERM");
    return {words.front(), 0, *signal};
}

Moment LineReader::moment(const std::string& text) const {
    const std::optional<Moment> found = momentOf(text, mScenario.rate, mLast);
    if (!found) throw Fault(quoted(text) + " is no time; " + TIMES);
    const std::uint64_t ms = milliseconds(*found, mScenario.rate);
    if (found->text.ends_with('f'))
        throw Fault(quoted(text) +
                    " is no frame that begins a millisecond, as the server's times "
                    "do; expected " +
                    std::to_string(ms * mScenario.rate / 1000) + "f or " +
                    std::to_string((ms + 1) * mScenario.rate / 1000) + "f");
    return *found;
}

void LineReader::requireRising(const Moment& at) const {
    if (at < mLast)
        throw Fault("the time " + at.text + " is before " + mLast.text + " of line " +
                    std::to_string(mLastLine) + "; times must rise");
}

void LineReader::requireProgram(const std::string& name) const {
    if (mProgramLines.contains(name)) return;
    std::string known;
    for (const auto& [program, line] : mProgramLines)
        known += (known.empty() ? "" : ", ") + program;
    throw Fault(
        "no program " + quoted(name) + " on the lines before; expected " +
        (known.empty() ? "a line such as 'run " + name + " ./program'" : "one of " + known));
}

}  // namespace cabinaudio::tool::scenario
