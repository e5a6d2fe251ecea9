// SPDX-License-Identifier: Apache-2.0
// With --json every command prints JSON, also when it cannot do anything. That all of it is as the
// schema has it is checked wherever a test runs the tool.
#include "tests/support/JsonSchema.h"
#include "tests/tools/ToolTest.h"

#include <stdexcept>

namespace cabinaudio::test {

namespace {

/// A command that fails, and its end.
struct Failing {
    CommandLine command;
    int exit;
    const char* ended;

    friend void PrintTo(const Failing& failing, std::ostream* out) {
        for (const std::string& word : failing.command.words)
            *out << word << ' ';
    }
};

class FailingCommand : public testing::TestWithParam<Failing> {};

/// The last object that was printed; an empty one if there is none.
json lastOf(const Outcome& result) {
    const Words lines = linesOf(result.out);
    const json last = json::parse(lines.empty() ? "" : lines.back(), nullptr, false);
    EXPECT_TRUE(last.is_object()) << result.text();
    return last.is_object() ? last : json::object();
}

void expectError(const Outcome& result, int exit) {
    const json last = lastOf(result);
    EXPECT_EQ(last.value("exit", -1), exit);
    const auto error = last.value("error", "");
    EXPECT_THAT(error, Not(IsEmpty()));
    EXPECT_THAT(result.err, HasSubstr(error.substr(0, 20)));
}

const std::string ANY_NAME = "no/such/file.wav";

}  // namespace

TEST_P(FailingCommand, PrintsItsErrorAsJson) {
    const Outcome result = runExpecting(GetParam().exit, GetParam().command.words);
    expectError(result, GetParam().exit);
    EXPECT_EQ(lastOf(result).value("ended", ""), GetParam().ended);
}

INSTANTIATE_TEST_SUITE_P(WithoutAServer, FailingCommand,
                         testing::Values(Failing{"play --raw /dev/zero --json", 3, "no_server"},
                                         Failing{"record /dev/null --raw --json", 3, "no_server"},
                                         Failing{"get --json", 3, "no_server"},
                                         Failing{"set volume.master=1 --json", 3, "no_server"},
                                         Failing{"monitor --json", 3, "no_server"},
                                         Failing{"version --json", 3, "no_server"},
                                         Failing{"server state --json", 3, "no_server"},
                                         Failing{"server crash --json", 3, "no_server"},
                                         Failing{"server stall 10 --json", 3, "no_server"},
                                         Failing{"server source activate x --json", 3, "no_server"},
                                         Failing{"server stream remove x --json", 3, "no_server"},
                                         Failing{"server ring announce x --json", 3, "no_server"},
                                         Failing{"server uplink ring on --json", 3, "no_server"}));

INSTANTIATE_TEST_SUITE_P(UsedWrongly, FailingCommand,
                         testing::Values(Failing{"--json", 2, "wrong_usage"},
                                         Failing{"plai --json", 2, "wrong_usage"},
                                         Failing{"play --json", 2, "wrong_usage"},
                                         Failing{"play --json a.wav --nonsense", 2, "wrong_usage"},
                                         Failing{"record - --json", 2, "wrong_usage"},
                                         Failing{"set --json", 2, "wrong_usage"},
                                         Failing{"describe nonsense --json", 2, "wrong_usage"},
                                         Failing{"server --json", 2, "wrong_usage"},
                                         Failing{"version --json surplus", 2, "wrong_usage"},
                                         Failing{"doctor --json -x", 2, "wrong_usage"},
                                         Failing{"list --json --timeout 0", 2, "wrong_usage"}));

INSTANTIATE_TEST_SUITE_P(AnyOther, FailingCommand,
                         testing::Values(Failing{{"play", "--json", ANY_NAME}, 1, "failed"},
                                         Failing{"version --json --log /no/such/log", 1, "failed"},
                                         Failing{"server state --json --log /no/such/log", 1,
                                                 "failed"}));

TEST(JsonOfServerCommands, HasTheErrorOfARefusal) {
    const RealServer server;
    const Outcome result = runExpecting(1, {"server", "source", "activate", "nobody", "--json"});
    expectError(result, 1);
    const json done = jsonOf(runExpecting(0, {"server", "stall", "1", "--json"}));
    EXPECT_EQ(done["command"], "stall 1");
    EXPECT_EQ(done["exit"], 0);
    EXPECT_TRUE(done["error"].is_null());
}

TEST(JsonOfACommand, EndsWithoutAnErrorWhenItHasDoneItsWork) {
    const RealServer server;
    for (const char* command : {"get volume.master", "set volume.master=0dB", "list volume",
                                "describe volume.master", "version"}) {
        const Words words = with(CommandLine(command).words, {"--json"});
        const json report = jsonOf(runExpecting(0, words));
        EXPECT_TRUE(report.at("error").is_null()) << command;
        EXPECT_EQ(report.at("exit"), 0) << command;
    }
}

// ---- The schema itself --------------------------------------------------------------------------

TEST(Schema, RefusesAnUnknownKey) {
    const json end = {{"ended", "failed"}, {"error", "no"}, {"exit", 1}};
    EXPECT_EQ(schemaFault("end", end), "");
    json more = end;
    more["reason"] = 1;
    EXPECT_EQ(schemaFault("end", more), "end has the unknown key \"reason\"");
    json less = end;
    less.erase("exit");
    EXPECT_EQ(schemaFault("end", less), "end lacks \"exit\"");
    json other = end;
    other["exit"] = "1";
    EXPECT_EQ(schemaFault("end", other), "end.exit is string, not \"integer\"");
    other["exit"] = 6;
    EXPECT_EQ(schemaFault("end", other), "end.exit is 6, more than 5");
    other["exit"] = -1;
    EXPECT_EQ(schemaFault("end", other), "end.exit is -1, less than 0");
    json unknown = end;
    unknown["ended"] = "over";
    EXPECT_THAT(schemaFault("end", unknown), StartsWith("end.ended is \"over\", not one of"));
}

TEST(Schema, LooksIntoListsReferencesAndAlternatives) {
    json checks = json::array(
        {{{"name", "a"}, {"ok", true}, {"value", 1}, {"detail", ""}, {"cure", nullptr}}});
    EXPECT_EQ(schemaFault("doctor", checks), "");
    checks[0]["ok"] = "yes";
    EXPECT_EQ(schemaFault("doctor", checks), "doctor[0].ok is string, not \"boolean\"");
    EXPECT_THAT(schemaFault("stream", json::object()), HasSubstr("; or "));
}

TEST(Schema, RefusesAKeywordThatIsNotChecked) {
    const json schema = {{"$defs", {{"a", {{"pattern", "x"}}}}}};
    EXPECT_THROW((void)schemaFault(schema, "a", "y"), std::logic_error);
}

}  // namespace cabinaudio::test
