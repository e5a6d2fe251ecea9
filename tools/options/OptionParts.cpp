// SPDX-License-Identifier: Apache-2.0
#include "tools/options/OptionParts.h"

#include "devkit/board/Names.h"
#include "tools/Names.h"

#include <cmath>
#include <sstream>

namespace cabinaudio::tool {

namespace {

/// The name is also used for a shared-memory object, and is cut to 63 characters.
std::string streamNameFault(const std::string& name) {
    if (name.empty() || name.size() > 63) return "must have 1 to 63 characters";
    if (name.find('/') != std::string::npos) return "must not contain '/'";
    return "";
}

std::string instanceFault(const std::string& name) {
    if (board::isInstanceName(name.c_str())) return "";
    return "must be 1 to 32 of A-Z a-z 0-9 _ -";
}

}  // namespace

std::string argumentFault(const std::string& name) {
    if (name.empty() || name.size() > 63) return "must have 1 to 63 characters";
    if (name.find('\n') != std::string::npos) return "must not contain a line end";
    return "";
}

CLI::Validator oneOf(const std::vector<std::string>& names) {
    const auto fault = [names](const std::string& text) {
        if (std::find(names.begin(), names.end(), text) != names.end()) return std::string();
        std::string all;
        for (const std::string& name : names)
            all += (all.empty() ? "" : ", ") + name;
        return "must be one of " + all;
    };
    return CLI::Validator(fault, "", "one of");
}

CLI::Validator check(std::string (*fault)(const std::string&), const char* name) {
    return CLI::Validator([fault](std::string& text) { return fault(text); }, "", name);
}

CLI::Validator range(double lowest, double highest) {
    const auto fault = [=](const std::string& text) {
        double number = 0;
        if (CLI::detail::lexical_cast(text, number) && number >= lowest && number <= highest)
            return std::string();
        std::ostringstream why;
        why << "must be a number from " << lowest << " to " << highest;
        return why.str();
    };
    return CLI::Validator(fault, "", "range");
}

void addCommon(CLI::App& command, CommonOptions& common) {
    command.add_flag("--json", common.json, "Print JSON instead of text, one value a line");
    command.add_option("--instance", common.instance, "Use the server of this instance")
        ->type_name("NAME")
        ->check(check(instanceFault, "instance"));
    command.add_flag_callback(
        "--no-board", [&common] { common.board = false; },
        "Never run through cabinaudio-run, the stand-in for the board");
    command
        .add_option_function<double>(
            "--wait",
            [&common](const double& seconds) {
                common.wait = std::chrono::milliseconds(std::llround(seconds * 1000));
            },
            "First wait for a server to listen, so long at most")
        ->type_name("SECONDS")
        ->check(range(0, 86400));
    command.add_flag("-v,--verbose", common.verbose, "Show the library's log on stderr");
    command.add_option("--log", common.logFile, "Append the library's log to a file")
        ->type_name("FILE");
}

void addTimeout(CLI::App& command, std::chrono::milliseconds& timeout, const char* what) {
    command
        .add_option_function<double>(
            "--timeout",
            [&timeout](const double& seconds) {
                timeout = std::chrono::milliseconds(std::llround(seconds * 1000));
            },
            what)
        ->type_name("SECONDS")
        ->check(range(0.01, 86400))
        ->default_str(std::to_string(timeout.count() / 1000));
}

void addInterval(CLI::App& command, std::chrono::milliseconds& interval, const char* what) {
    command
        .add_option_function<int>(
            "--interval", [&interval](const int& ms) { interval = std::chrono::milliseconds(ms); },
            what)
        ->type_name("MS")
        ->check(range(1, 3600000))
        ->default_str(std::to_string(interval.count()));
}

void addTag(CLI::App& command, AudioTagType& tag, const std::vector<std::string>& names,
            const char* what) {
    command
        .add_option_function<std::string>(
            "--tag",
            [&tag](const std::string& name) {
                std::string text = name;
                tag = AudioTypes::getTagType(text);
            },
            what)
        ->type_name("TAG")
        ->check(oneOf(names))
        ->default_str(names.front());
}

void addName(CLI::App& command, std::string& name) {
    command.add_option("--name", name, "Name of the stream; must be unique on the machine")
        ->type_name("NAME")
        ->check(check(streamNameFault, "name"));
}

void addBlock(CLI::App& command, bool& block, const char* ifBlocking, const char* ifNot) {
    command.add_flag_callback(
        "--block", [&block] { block = true; }, ifBlocking);
    command.add_flag_callback(
        "--no-block", [&block] { block = false; }, ifNot);
}

void addStreamParam(CLI::App& command, int& streamParam) {
    command
        .add_option("--stream-param", streamParam,
                    "Stream parameter, passed to the server unchanged")
        ->type_name("NUMBER");
}

}  // namespace cabinaudio::tool
