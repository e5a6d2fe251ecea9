// SPDX-License-Identifier: Apache-2.0
#include "tools/doctor/SoundChecks.h"

namespace cabinaudio::tool {

namespace {

Json outputOf(const ServerState& server) {
    return server.state.value("output", Json::object());
}

std::uint64_t countOf(const Json& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_number_unsigned() ? found->get<std::uint64_t>() : 0;
}

constexpr char OUTPUT_CURE[] =
    "look at the server's log; start the desktop's sound server again, or choose another --output";

}  // namespace

Check checkOutput(const ServerState& server) {
    if (server.state.is_null()) return withoutState("output", server);
    const Json output = outputOf(server);
    const std::string name = textAt(output, "name");
    const std::string state = textAt(output, "state");
    Check check{"output", state != "lost", orNull(state), "plays to " + name};
    check.more = {{"output", name}, {"losses", countOf(output, "losses")}};
    if (!check.ok) {
        check.detail = name + " is lost since " + textAt(output, "since") + ": " +
                       textAt(output, "problem") + "; nothing is heard";
        check.cure = OUTPUT_CURE;
    } else if (const std::string warning = textAt(output, "warning"); !warning.empty()) {
        check.warning = true;
        check.detail = warning;
        check.cure = OUTPUT_CURE;
    } else if (state.empty()) {
        check.detail += "; this server does not tell whether it is open";
    }
    return check;
}

Check checkOutputErrors(const ServerState& server) {
    if (server.state.is_null()) return withoutState("output_errors", server);
    const Json output = outputOf(server);
    Check check{"output_errors", true};
    if (!output.contains("recent_errors")) {
        check.detail = std::to_string(countOf(output, "errors")) +
                       " since the start; this server does not tell when";
        return check;
    }
    const std::uint64_t recent = countOf(output, "recent_errors");
    check.value = recent;
    check.warning = recent > 0;
    check.detail = std::to_string(recent) + " in the last minute, " +
                   std::to_string(countOf(output, "errors")) + " since the start";
    if (!check.warning) return check;
    check.detail += "; the last one: " + textAt(output, "last_error");
    check.cure = OUTPUT_CURE;
    return check;
}

Check checkRates(const ServerState& server) {
    if (server.state.is_null()) return withoutState("rates", server);
    const std::uint64_t rate = countOf(outputOf(server), "rate_hz");
    Check check{"rates", true, Json::array(), "the output has " + std::to_string(rate) + " Hz"};
    check.more = {{"rate_hz", rate}};
    std::string others;
    for (const Json& stream : server.state.value("streams", Json::array())) {
        if (!stream.contains("underruns") || countOf(stream, "rate_hz") == rate) continue;
        check.value.push_back(textAt(stream, "name"));
        others += ", " + textAt(stream, "name") + " with " +
                  std::to_string(countOf(stream, "rate_hz")) + " Hz is converted";
    }
    check.detail += others.empty() ? "; no stream is converted" : others;
    return check;
}

}  // namespace cabinaudio::tool
