// SPDX-License-Identifier: Apache-2.0
#include "tools/scenario/ServerWords.h"

#include "tools/scenario/Words.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

namespace cabinaudio::tool::scenario {

namespace {

enum class Argument { None, Optional, Required, Request, Milliseconds };

struct Command {
    const char* words;
    Argument argument;
};

constexpr Command COMMANDS[] = {
    {"source activate", Argument::Required},  {"source withdraw", Argument::Required},
    {"stream remove", Argument::Required},    {"ring announce", Argument::Required},
    {"uplink ring on", Argument::Optional},   {"uplink ring off", Argument::Optional},
    {"fault short-reply", Argument::Request}, {"fault wrong-magic", Argument::Request},
    {"stall", Argument::Milliseconds},        {"crash", Argument::None},
};

struct OwnOption {
    std::string_view name;
    const char* remedy;
};

constexpr char OWN[] = "the scenario sets it";
constexpr OwnOption OWN_OPTIONS[] = {
    {"--output", OWN},
    {"--report", OWN},
    {"--stems", OWN},
    {"--trace", OWN},
    {"--state", OWN},
    {"--instance", OWN},
    {"--ready-fd", OWN},
    {"--time", OWN},
    {"--strict", OWN},
    {"--fast", OWN},
    {"--log-level", OWN},
    {"--await", "write a line 'await NAME MS'"},
    {"--at", "write a line 'at MS COMMAND'"},
    {"--help", "it starts no server"},
    {"-h", "it starts no server"},
    {"--version", "it starts no server"},
    {"-V", "it starts no server"},
};

std::string nameOf(const std::string& option) {
    return option.substr(0, option.find('='));
}

/// The value of the option at this place, as "--rate 48000" or "--rate=48000".
std::string valueAt(const Words& options, std::size_t place) {
    const std::size_t equals = options[place].find('=');
    if (equals != std::string::npos) return options[place].substr(equals + 1);
    return place + 1 < options.size() ? options[place + 1] : "";
}

/// Whether the message has this word: "--hold", and not as a part of "--hold-on".
bool names(const std::string& message, const std::string& word) {
    const auto isPart = [&](std::size_t at) {
        return at < message.size() &&
               (std::isalnum(static_cast<unsigned char>(message[at])) != 0 || message[at] == '-');
    };
    for (std::size_t at = message.find(word); at != std::string::npos && !word.empty();
         at = message.find(word, at + 1))
        if (!isPart(at - 1) && !isPart(at + word.size())) return true;
    return false;
}

/// Lines of the options that the message names, or whose values it names.
std::set<unsigned> linesNamedBy(const std::string& message, const Scenario& scenario,
                                bool areValues) {
    std::set<unsigned> lines;
    for (std::size_t i = 0; i < scenario.serverOptions.size(); ++i) {
        const std::string& word = scenario.serverOptions[i];
        const bool isOption = word.starts_with('-');
        const std::string option = isOption ? nameOf(word) : "";
        const std::string value =
            isOption ? word.substr(std::min(option.size() + 1, word.size())) : word;
        if (names(message, areValues ? value : option)) lines.insert(scenario.serverLines[i]);
    }
    return lines;
}

std::string joined(const Words& words, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < std::min(count, words.size()); ++i)
        text += (i == 0 ? "" : " ") + words[i];
    return text;
}

/// A known command and the number of its fixed words.
std::pair<const Command*, std::size_t> find(const Words& words) {
    for (const Command& command : COMMANDS) {
        const std::string_view fixed = command.words;
        const auto count =
            static_cast<std::size_t>(std::count(fixed.begin(), fixed.end(), ' ')) + 1;
        if (joined(words, count) == fixed) return {&command, count};
    }
    return {nullptr, 0};
}

}  // namespace

std::string optionFault(const std::string& option) {
    const std::string name = nameOf(option);
    for (const OwnOption& own : OWN_OPTIONS)
        if (name == own.name) return "the option " + name + " is not for a scenario: " + own.remedy;
    return "";
}

std::string takeOptions(const Words& options, Scenario& scenario) {
    for (std::size_t i = 0; i < options.size(); ++i) {
        if (std::string fault = optionFault(options[i]); !fault.empty()) return fault;
        const std::string name = nameOf(options[i]);
        if (name != "--patience" && name != "--rate") continue;
        const std::string value = valueAt(options, i);
        const std::optional<unsigned> number = numberOf<unsigned>(value);
        const bool isRate = name == "--rate";
        const unsigned lowest = isRate ? 8000 : 1000;
        const unsigned highest = isRate ? 192000 : 3600000;
        if (!number || *number < lowest || *number > highest)
            return "'" + value + "' of " + name + " is no number from " + std::to_string(lowest) +
                   " to " + std::to_string(highest);
        if (isRate)
            scenario.rate = *number;
        else
            scenario.patience = std::chrono::milliseconds(*number);
    }
    return "";
}

std::string optionPlace(const Scenario& scenario, const std::string& message) {
    std::set<unsigned> lines = linesNamedBy(message, scenario, false);
    if (lines.empty()) lines = linesNamedBy(message, scenario, true);
    if (lines.empty()) lines.insert(scenario.serverLines.begin(), scenario.serverLines.end());
    if (lines.empty()) return "";
    const std::string place = scenario.file + ":" + std::to_string(*lines.begin()) + ": ";
    if (lines.size() == 1) return place;
    std::string all;
    for (const unsigned line : lines)
        all += (all.empty() ? "" : ", ") + std::to_string(line);
    return place + "options of lines " + all + ": ";
}

bool isServerCommand(const Words& words) {
    return find(words).first != nullptr;
}

std::string commandFault(const Words& words) {
    const auto [command, count] = find(words);
    const std::size_t arguments = words.size() - count;
    const std::string fixed = command->words;
    if (command->argument == Argument::None && arguments > 0)
        return "unexpected '" + words[count] + "' after '" + fixed + "'";
    if (command->argument == Argument::Required && arguments == 0)
        return "'" + fixed + "' lacks the name of a stream";
    if (command->argument == Argument::Request && arguments == 0)
        return "'" + fixed + "' lacks the name of a request such as start, or 'any'";
    if (command->argument != Argument::Milliseconds) {
        const std::size_t most = command->argument == Argument::Request ? 2 : 1;
        if (arguments <= most) return "";
        return "unexpected '" + words[count + most] + "' after '" + joined(words, count + most) +
               "'; a name with blanks needs quotes";
    }
    const std::optional<unsigned> ms =
        arguments == 1 ? numberOf<unsigned>(words[count]) : std::nullopt;
    if (ms && *ms >= 1 && *ms <= 60000) return "";
    return "'" + joined(words, words.size()) + "' lacks a number of milliseconds from 1 to 60000";
}

std::string serverCommands() {
    std::string all;
    for (const Command& command : COMMANDS)
        all += (all.empty() ? "" : ", ") + std::string(command.words);
    return all;
}

std::string commandText(const Words& words) {
    return joined(words, words.size());
}

}  // namespace cabinaudio::tool::scenario
