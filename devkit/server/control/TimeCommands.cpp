// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/control/TimeCommands.h"

#include "devkit/server/base/Text.h"
#include "devkit/server/control/Report.h"
#include "devkit/server/time/Description.h"

#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <string_view>

namespace cabinaudio::server {
namespace {

std::string stop(TimeLine& time, const std::string& argument) {
    const auto ms = timeIn(argument);
    if (!ms && !argument.empty()) return "error: time stop [MS]";
    return time.stop(ms);
}

bool isDigits(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

/// A number at the end of the argument is the time, so a name cannot end in one without a time.
std::string await(TimeLine& time, const std::string& argument) {
    if (argument.empty()) return "error: time await NAME [MS]";
    const auto blank = argument.rfind(' ');
    const bool hasTime = blank != std::string::npos && blank > 0 &&
                         isDigits(std::string_view(argument).substr(blank + 1));
    if (!hasTime) return time.await(argument, std::nullopt);
    const auto ms = timeIn(std::string_view(argument).substr(blank + 1));
    return ms ? time.await(argument.substr(0, blank), ms)
              : "error: time await NAME [MS], MS up to a day";
}

std::string hold(TimeLine& time, const std::string& argument) {
    const auto streams = numberIn(argument, 1000);
    if (!streams) return "error: time hold N, 0 to 1000";
    return time.hold(static_cast<std::uint32_t>(*streams));
}

std::string at(const Commands& commands, TimeLine& time, const std::string& argument) {
    const auto blank = argument.find(' ');
    const auto ms = timeIn(std::string_view(argument).substr(0, blank));
    if (!ms || blank == std::string::npos) return "error: at MS COMMAND";
    const std::string command = argument.substr(blank + 1);
    if (const std::string fault = commands.faultOf(command); !fault.empty())
        return "error: " + fault;
    return time.at(*ms, command);
}

}  // namespace

void addTimeCommands(Commands& commands, TimeLine& time) {
    commands.addLater("time run",
                      [&time](const std::string& argument, const Commands::Later& later) {
                          if (const auto ms = timeIn(argument))
                              time.run(*ms, later);
                          else
                              later("error: time run MS");
                      });
    commands.addLater("time settle",
                      [&time](const std::string& argument, const Commands::Later& later) {
                          if (argument.empty())
                              time.settle(later);
                          else
                              later("error: time settle takes no argument");
                      });
    // Later, so that none of these can be run at a time.
    const auto add = [&commands](const char* words, Commands::Handler handler) {
        commands.addLater(words, [handler = std::move(handler)](const std::string& argument,
                                                                const Commands::Later& later) {
            later(handler(argument));
        });
    };
    add("time stop", [&time](const std::string& argument) { return stop(time, argument); });
    add("time go", [&time](const std::string& argument) {
        return argument.empty() ? time.go() : "error: time go takes no argument";
    });
    add("time await", [&time](const std::string& argument) { return await(time, argument); });
    add("time until", [&time](const std::string& argument) { return time.until(argument); });
    add("time hold", [&time](const std::string& argument) { return hold(time, argument); });
    add("time", [&time](const std::string& argument) {
        return argument.empty() ? textOf(time.describe())
                                : "error: time [run|stop|go|await|until|hold|settle]";
    });
    add("at",
        [&commands, &time](const std::string& argument) { return at(commands, time, argument); });
}

}  // namespace cabinaudio::server
