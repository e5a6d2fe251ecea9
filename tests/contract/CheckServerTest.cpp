// SPDX-License-Identifier: Apache-2.0
// The sub-command check-server, on the development server and on servers that do not answer.
#include "devkit/contract/Outcome.h"
#include "devkit/contract/Settings.h"
#include "tests/contract/KitRun.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <csignal>

namespace cabinaudio::test {

namespace {

using testing::ElementsAre;
using testing::EndsWith;

class CheckServer : public ToolTest {
protected:
    void SetUp() override {
        if (toolIsEmulated()) GTEST_SKIP() << "the tool is emulated";
    }
    [[nodiscard]] json settings() const {
        return json::parse(mServer->command("state")).at("settings");
    }
};

void expectAllHold() {
    const json report = jsonOf(runExpecting(0, {"check-server", "--json", "--write-only"}));
    EXPECT_EQ(rulesOf(report, "ok"), listedRules());
    EXPECT_EQ(report.at("held"), listedRules().size());
    EXPECT_EQ(report.at("failed"), 0);
    EXPECT_TRUE(report.at("error").is_null());
}

TEST_F(CheckServer, DevelopmentServerKeepsAllRulesInRealTime) {
    serve();
    expectAllHold();
}

TEST_F(CheckServer, DevelopmentServerKeepsAllRulesInLockstep) {
    serve({"--time", "lockstep"});
    expectAllHold();
}

/// The values of all settings that can be read.
std::vector<std::string> values() {
    std::vector<std::string> lines;
    const json list = jsonOf(runTool({"get", "--json"}));
    for (const json& setting : list.at("settings"))
        lines.push_back(setting.at("name").dump() + "=" + setting.at("value").dump());
    return lines;
}

TEST_F(CheckServer, SettingsAreSetBack) {
    serve({"--fast"});
    runExpecting(0, {"set", "volume.master=-6.2dB", "volume.channel.LF=-3.3dB", "mute.main=on",
                     "aec.quality=7", "speaker.delay.LF=3", "destination.uplink=recorder",
                     "mixer.upmix=1", "volume.ramp=70,80"});
    const std::vector<std::string> before = values();
    ASSERT_THAT(before, testing::Contains("\"volume.master\"=-6.2"));
    const json report = jsonOf(runExpecting(0, {"check-server", "--json"}));
    EXPECT_THAT(report.at("not_restored"), IsEmpty());
    EXPECT_EQ(values(), before);
}

TEST_F(CheckServer, SafeRunChangesNothing) {
    serve({"--fast"});
    const json before = settings();
    const json report = jsonOf(runExpecting(0, {"check-server", "--json", "--safe"}));
    EXPECT_EQ(settings(), before);
    EXPECT_THAT(rulesOf(report, "ok"),
                ElementsAre("registration.reply", "registration.types", "registration.long_name",
                            "registration.refuses_unknown", "frame.magic", "frame.header_id",
                            "frame.unused_bytes", "frame.times", "frame.one_piece",
                            "request.version", "request.lengths", "request.both_commands"));
    EXPECT_THAT(mServer->output(), Not(HasSubstr("\" plays ")));
    EXPECT_THAT(mServer->output(), Not(HasSubstr("\" records ")));
}

TEST_F(CheckServer, PatternsChooseRules) {
    serve({"--fast"});
    const auto rules = [](const Words& options) {
        return rulesOf(jsonOf(runExpecting(0, with({"check-server", "--json"}, options))), "ok");
    };
    EXPECT_THAT(rules({"--only", "frame.m*"}), ElementsAre("frame.magic"));
    EXPECT_THAT(rules({"--only", "frame.*", "--only", "ring.header", "--skip", "frame.[muo]*",
                       "--skip", "frame.times"}),
                ElementsAre("frame.header_id", "ring.header"));
}

TEST_F(CheckServer, WrongUsageIsNamed) {
    EXPECT_THAT(
        runExpecting(2, {"check-server", "--list", "--only", "volume"}).err,
        HasSubstr("--only 'volume' matches no rule (try 'cabinaudio check-server --list')"));
    EXPECT_THAT(runExpecting(2, {"check-server", "--list", "--skip", "x"}).err,
                HasSubstr("--skip 'x' matches no rule"));
    EXPECT_THAT(runExpecting(2, {"check-server", "--safe", "--write-only"}).err,
                HasSubstr("--safe and --write-only exclude each other"));
    EXPECT_THAT(runExpecting(2, {"check-server", "--list", "--junit", "a"}).err,
                HasSubstr("--list writes no --junit"));
}

TEST_F(CheckServer, TextHasALineForEachRuleAndCounts) {
    serve({"--fast", "--uplink-delay", "never"});
    const Outcome outcome =
        runExpecting(5, {"check-server", "--patience", "0.2", "--only", "frame.magic", "--only",
                         "uplink.ring", "--only", "settings.write_only.duck"});
    EXPECT_THAT(linesOf(outcome.out),
                ElementsAre("ok      frame.magic",
                            "skipped settings.write_only.duck: the setting cannot be set back "
                            "(--write-only)",
                            "FAILED  uplink.ring: expected event 2, the ring is ready; came "
                            "nothing for 0.2 s (docs/protocol.md, section 6. Capture connections)",
                            "1 ok, 1 failed, 1 skipped"));
    EXPECT_THAT(outcome.err, IsEmpty());
}

TEST_F(CheckServer, JsonHasWhatWasExpectedAndWhatCame) {
    serve({"--fast", "--uplink-delay", "never"});
    const json report = jsonOf(
        runExpecting(5, {"check-server", "--json", "--patience", "0.2", "--only", "uplink.r*"}));
    const json& rule = report.at("rules").at(0);
    EXPECT_EQ(rule.at("rule"), "uplink.ring");
    EXPECT_EQ(rule.at("result"), "failed");
    EXPECT_EQ(rule.at("expected"), "event 2, the ring is ready");
    EXPECT_EQ(rule.at("came"), "nothing for 0.2 s");
    EXPECT_EQ(rule.at("section"), "6. Capture connections");
    EXPECT_EQ(report.at("error"), "2 of 2 rules do not hold");
}

TEST_F(CheckServer, JunitHasACaseForEachRule) {
    serve({"--fast", "--uplink-delay", "never"});
    const std::string junit = file("rules.xml");
    runExpecting(5, {"check-server", "--patience", "0.2", "--only", "frame.magic", "--only",
                     "uplink.ring", "--only", "settings.write_only.duck", "--junit", junit});
    const std::string xml = contentsOf(junit);
    EXPECT_THAT(xml, HasSubstr("tests=\"3\" failures=\"1\" errors=\"0\" skipped=\"1\""));
    EXPECT_THAT(xml, HasSubstr("<testcase classname=\"cabinaudio.check-server\" "
                               "name=\"frame.magic\"/>"));
    EXPECT_THAT(xml, HasSubstr("<failure message=\"FAILED  uplink.ring: expected event 2"));
    EXPECT_THAT(xml, HasSubstr("<skipped message=\"the setting cannot be set back"));
}

TEST_F(CheckServer, MissingServerEndsIt) {
    EXPECT_THAT(runExpecting(3, {"check-server"}).err, HasSubstr("no server"));
    EXPECT_EQ(jsonOf(runExpecting(3, {"check-server", "--json"})).at("exit"), 3);
}

TEST_F(CheckServer, SilentServerFailsWithinThePatience) {
    const SilentServer silent;
    const Outcome outcome = runExpecting(5, {"check-server", "--patience", "0.1", "--only",
                                             "registration.*", "--only", "settings.mute"});
    EXPECT_THAT(outcome.out, HasSubstr("FAILED  registration.reply: expected 32 bytes from the "
                                       "server; came nothing for 0.1 s"));
    EXPECT_THAT(outcome.out, EndsWith("0 ok, 5 failed, 0 skipped\n"));
}

TEST_F(CheckServer, SignalEndsIt) {
    serve({"--fast", "--uplink-delay", "never"});
    ToolProcess tool(
        {"check-server", "--patience", "60", "--only", "frame.magic", "--only", "uplink.ring"});
    EXPECT_EQ(tool.readLine(), "ok      frame.magic");
    tool.send(SIGINT);
    const Outcome outcome = tool.finishExpecting(1);
    EXPECT_EQ(outcome.err, "cabinaudio: interrupted by SIGINT\n");
}

TEST_F(CheckServer, SettingsAreSetBackAfterASignal) {
    serve({"--fast"});
    const int stop = eventfd(1, EFD_CLOEXEC);  // the run must end
    contract::Session session(std::chrono::minutes(1), stop);
    const contract::Readable& gain = contract::readableSettings().at(1);
    ASSERT_EQ(gain.name, "volume.master.gain");
    EXPECT_EQ(settings().at("volume").at("master_db"), 0);
    {
        const contract::Restoration restoration(session, gain.name, gain.type,
                                                contract::join(gain.setter, -7.5F));
        contract::Session unstoppable = session.unstoppable();
        contract::Connection connection(unstoppable, gain.type, "unkn");
        EXPECT_EQ(contract::setValue(connection, gain, gain.first), 0);
        EXPECT_EQ(settings().at("volume").at("master_db"), -6.0);
        EXPECT_THROW(session.pause(), contract::Interrupted);
    }
    close(stop);
    EXPECT_THAT(session.notRestored, IsEmpty());
    EXPECT_EQ(settings().at("volume").at("master_db"), -7.5);
}

/// The only one with an emulated tool: sockets and records of 32 bits.
TEST(CheckServerSafely, DevelopmentServerKeepsTheRules) {
    const RealServer server({"--output", "null"});
    const json report = jsonOf(runExpecting(0, {"check-server", "--json", "--safe"}));
    EXPECT_EQ(report.at("failed"), 0);
    EXPECT_EQ(report.at("held"), 12);
}

}  // namespace

}  // namespace cabinaudio::test
