// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

/// A test of programs against a private server, as its file describes it. Reader.h makes these
/// values, Runner.h executes them.
namespace cabinaudio::tool::scenario {

using Words = std::vector<std::string>;

/// A position in the time of one server.
struct Moment {
    std::uint64_t frame = 0;  // of the output
    /// Milliseconds, as the server takes them. Where no millisecond begins: frames with an "f",
    /// which LineReader refuses.
    std::string text;

    [[nodiscard]] bool operator==(const Moment& other) const { return frame == other.frame; }
    [[nodiscard]] bool operator<(const Moment& other) const { return frame < other.frame; }
};

/// A program that runs through the launcher.
struct Program {
    std::string name;  // also of its log
    Words words;       // the command
};

/// A command of the server's control socket.
struct ServerCommand {
    std::string text;
};

/// Settings that the tool's own `set` changes.
struct SetCommand {
    unsigned line;
    Words assignments;
};

struct RunCommand {
    Program program;
};

struct SignalCommand {
    std::string program;
    int signal;
};

using Action = std::variant<ServerCommand, SetCommand, RunCommand, SignalCommand>;

struct TimedAction {
    unsigned line;  // of the file, from 1
    Moment at;
    Action action;
};

/// A stream that time waits for.
struct Await {
    std::string stream;
    std::optional<Moment> at;  // from the start of time otherwise
};

/// The time from the start of one server until the next one replaces it.
struct Part {
    std::vector<Await> awaits;
    std::vector<TimedAction> actions;  // by time, then by line
    std::optional<Moment> restartAt;   // the end of this part; none in the last one
    unsigned restartLine = 0;
};

/// What ends the last part.
struct Until {
    unsigned line = 0;     // 0: the file does not say
    std::string finished;  // this stream has been played to its end
    std::optional<Moment> at;
    // Neither: all programs have ended.
};

/// A program's wait status.
struct ExpectExit {
    std::string program;
    int status = 0;
    int signal = 0;  // that ended the program; then there is no status
};

/// An assertion about the part's sound, as `cabinaudio check` takes it.
struct ExpectCheck {
    std::string check;
};

/// An error of the server's time that is part of the test.
struct ExpectError {
    std::string text;  // a part of it
};

/// Words that the program has printed.
struct ExpectOutput {
    std::string program;
    std::string text;
};

struct Expectation {
    unsigned line;
    std::size_t part;  // whose sound and errors are meant
    std::string text;  // as written
    std::variant<ExpectExit, ExpectCheck, ExpectError, ExpectOutput> what;
};

struct Scenario {
    std::string file;
    Words serverOptions;
    std::vector<unsigned> serverLines;  // of each word of the options
    std::chrono::milliseconds patience{5000};
    unsigned rate = 48000;             // of the output
    std::vector<SetCommand> settings;  // before any program starts
    std::vector<Program> programs;     // started with the first server
    std::vector<Part> parts;           // one at least
    Until until;
    std::vector<Expectation> expectations;
};

}  // namespace cabinaudio::tool::scenario
