// SPDX-License-Identifier: Apache-2.0
#include "tools/scenario/TimeState.h"

#include "tools/Failure.h"
#include "tools/Json.h"

#include <string_view>

namespace cabinaudio::tool::scenario {

namespace {

/// A document of our server. Keys that are missing would be an error of the server.
Json parsed(const std::string& text, const std::string& what) {
    Json document = Json::parse(text, nullptr, false);
    if (!document.is_object()) throw Failure(what + " is no JSON object: " + text);
    return document;
}

template <typename Use>
auto used(const std::string& what, const Use& use) {
    try {
        return use();
    } catch (const Json::exception& error) {
        throw Failure(what + " is not as expected: " + error.what());
    }
}

/// The wait for enough started streams has no name.
std::string waitText(const Json& wait) {
    const std::string why = wait.at("why").get<std::string>();
    return wait.at("name").is_null()
               ? why
               : '"' + wait.at("name").get<std::string>() + "\" (" + why + ")";
}

/// Without the beginning that tells errors of time from other lines of the server's log.
std::string errorText(const Json& error) {
    constexpr std::string_view BEGIN = "time: ";
    const std::string text = error.at("text").get<std::string>();
    return text.substr(text.starts_with(BEGIN) ? BEGIN.size() : 0);
}

}  // namespace

TimeState timeState(const std::string& answer) {
    const std::string what = "the server's answer to 'time'";
    const Json time = parsed(answer, what);
    return used(what, [&] {
        TimeState state;
        state.state = time.at("state").get<std::string>();
        state.frame = time.at("frame").get<std::uint64_t>();
        state.isAtLimit = state.state == "standing" && time.at("budget_ms") == 0;
        for (const Json& one : time.at("waiting_for"))
            state.waitingFor += (state.waitingFor.empty() ? "" : ", ") + waitText(one);
        for (const Json& error : time.at("errors"))
            state.errors.push_back({0, error.at("ms").get<double>(), errorText(error)});
        return state;
    });
}

}  // namespace cabinaudio::tool::scenario
