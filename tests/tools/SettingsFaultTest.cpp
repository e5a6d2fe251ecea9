// SPDX-License-Identifier: Apache-2.0
// What is wrong with names, values and servers.
#include <cabinaudio/foundation/AudioConnectType.h>

#include "tests/support/RealServer.h"
#include "tests/support/ScriptedServer.h"
#include "tests/tools/Surroundings.h"
#include "tests/tools/ToolProcess.h"
#include "wire/Settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <csignal>

namespace cabinaudio::test {

namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
using wire::VolumeFunction;

using Words = std::vector<std::string>;

struct Wrong {
    std::string assignment;
    std::string says;
};

void PrintTo(const Wrong& wrong, std::ostream* out) {
    *out << wrong.assignment;
}

constexpr std::uint32_t kVolume = AUDIO_CONNECT_VOLUME_SETTING;

std::uint32_t id(VolumeFunction function) {
    return static_cast<std::uint32_t>(function);
}

}  // namespace

class AWrongAssignment : public testing::TestWithParam<Wrong> {};

TEST_P(AWrongAssignment, KeepsAllOfThemFromBeingSent) {
    ScriptedServer server;
    const ToolResult result = runTool({"set", "volume.master=-1dB", GetParam().assignment});
    EXPECT_EQ(result.exitCode, 2) << result.text();
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_THAT(result.err, StartsWith("cabinaudio: " + GetParam().says));
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    EXPECT_THAT(server.requests(kVolume, id(VolumeFunction::SetMasterGain)), IsEmpty());
}

constexpr char kGainRange[] = "must be -103.5dB to 24dB, or 0 to 148";

INSTANTIATE_TEST_SUITE_P(
    Any, AWrongAssignment,
    testing::Values(
        Wrong{"volume.master", "'volume.master' is no NAME=VALUE; nothing was set"},
        Wrong{"volume.mastre=1", "unknown setting 'volume.mastre'; did you mean volume.master"},
        Wrong{"navigation=1", "unknown setting 'navigation'; did you mean "},
        Wrong{"=1", "unknown setting ''"}, Wrong{"volume.channel.XX=1", "unknown setting"},
        Wrong{"mic.op.2=0dB,0dB", "unknown setting 'mic.op.2'"},
        Wrong{"eq.4294967296=00", "unknown setting 'eq.4294967296'"},
        Wrong{"eq.-1=00", "unknown setting 'eq.-1'"},
        Wrong{"volume.track.main.=1", "unknown setting 'volume.track.main.'"},
        Wrong{"volume.*=1", "no setting"}, Wrong{"tracks=1", "tracks can only be read"},
        Wrong{"volume.second=149", std::string("volume.second: ") + kGainRange},
        Wrong{"volume.second=-1", std::string("volume.second: ") + kGainRange +
                                      "; a number without dB is a volume step"},
        Wrong{"volume.second=24.1dB", std::string("volume.second: ") + kGainRange},
        Wrong{"volume.second=-103.6dB", std::string("volume.second: ") + kGainRange},
        Wrong{"volume.second=nandB", std::string("volume.second: ") + kGainRange},
        Wrong{"volume.second=infdB", std::string("volume.second: ") + kGainRange},
        Wrong{"volume.second=", std::string("volume.second: ") + kGainRange},
        Wrong{"volume.second=1x", std::string("volume.second: ") + kGainRange},
        Wrong{"volume.second=1dB,2dB", std::string("volume.second: ") + kGainRange},
        Wrong{"ducking.target=0.5dB", "ducking.target: must be -103.5dB to 0dB, or 0 to 100"},
        Wrong{"ducking.target=101", "ducking.target: must be -103.5dB to 0dB, or 0 to 100"},
        Wrong{"mixer.navigation=-1dB,-2dB", "mixer.navigation: must be 4 x -103.5dB to 0dB"},
        Wrong{"mixer.navigation=-1dB,5,5,5", "mixer.navigation: must be all gains in dB, or all"},
        Wrong{"duck=101", "duck: must be off, or 0% to 100%"},
        Wrong{"duck=-1", "duck: must be off, or 0% to 100%"},
        Wrong{"fade=101", "fade: must be -100 to 100"},
        Wrong{"mute.main=1", "mute.main: must be on or off"},
        Wrong{"mic.calibration=1", "mic.calibration: must be start"},
        Wrong{"aec.quality=2147483648", "aec.quality: must be -2147483648 to 2147483647"},
        Wrong{"dac.map=0,1,2,3,4,11", "dac.map: must be 6 x -2147483648 to 10"},
        Wrong{"speaker.output=LF+XX", "speaker.output: must be none, or some of LF+RF"},
        Wrong{"source.main=" + std::string(64, 'x'), "source.main: must be a text of at most 63"},
        Wrong{"eq.0=123", "eq.0: has an odd number of hex digits"},
        Wrong{"eq.0=xy", "eq.0: must be hex digits, or @ and the name of a file"},
        Wrong{"eq.0=@/nonsense/file", "eq.0: cannot open file /nonsense/file"},
        Wrong{"nlp.0=" + std::string(26, '0'), "nlp.0: has 13 bytes; 12 is the most"}));

TEST(FadeAndBalance, AreOneOperation) {
    ScriptedServer server;
    const ToolResult result = runTool({"set", "fade=20", "volume.master=-1dB", "balance=-10"});
    EXPECT_EQ(result.exitCode, 0) << result.text();
    const auto requests = server.requests(kVolume, id(VolumeFunction::SetChannelStep));
    ASSERT_EQ(requests.size(), 4u);
    EXPECT_THAT(server.requests(kVolume, id(VolumeFunction::GetChannelGain)), IsEmpty());
    EXPECT_EQ(requests[2].word(2), 90u);  // LS
    EXPECT_EQ(requests[3].word(2), 70u);  // RS
}

TEST(Settings, OfAServerWithoutThemAreSaidToBeMissing) {
    ScriptedServer server;
    server.onOther(Answer::words(-8000, 0, 0));
    const ToolResult all = runTool({"get", "volume.master"});
    EXPECT_EQ(all.exitCode, 1) << all.text();
    EXPECT_EQ(all.err, "cabinaudio: cannot read volume.master: this server does not have it\n");
    const ToolResult set = runTool({"set", "volume.master=-1dB"});
    EXPECT_EQ(set.exitCode, 1) << set.text();
    EXPECT_EQ(set.err,
              "cabinaudio: cannot set volume.master=-1dB: this server does not have it; nothing "
              "was set\n");
}

TEST(Settings, OfAServerThatFallsSilentEndWithStatusFourAndWhatWasSet) {
    ScriptedServer server;
    server.on(kVolume, id(VolumeFunction::SetSecondGain), Answer::none());
    const ToolResult result = runTool({"set", "volume.master=-1dB", "volume.second=-2dB",
                                       "mute.main=on", "--timeout", "0.5", "--json"});
    EXPECT_EQ(result.exitCode, 4) << result.text();
    EXPECT_EQ(result.err,
              "cabinaudio: timed out after 0.5 s waiting for the server's answer about "
              "volume.second; set: volume.master=-1dB; not set: mute.main=on\n");
    EXPECT_EQ(json::parse(result.out)["set"], json({"volume.master=-1dB"}));
}

TEST(Settings, OfAServerThatDiesInTheMiddleEndWithStatusThree) {
    RealServer server;
    // The server's own word: it stands still, and is killed while the tool waits.
    ASSERT_EQ(runTool({"server", "stall", "60000"}).exitCode, 0);
    ToolProcess tool({"set", "volume.master=-1dB", "--timeout", "3", "-v"});
    ASSERT_TRUE(tool.waitForErr("connect ok"));
    server.kill(SIGKILL);
    (void)server.wait();
    const ToolResult result = tool.wait();
    EXPECT_EQ(result.exitCode, 3) << result.text();
    EXPECT_THAT(result.err, HasSubstr("cabinaudio: the server went away"));
}

TEST(Settings, AreNotSetBehindTheOneThatAServerRefuses) {
    ScriptedServer server;
    server.on(kVolume, id(VolumeFunction::SetSecondGain), Answer::status(-77));
    const ToolResult result =
        runTool({"set", "volume.master=-1dB", "volume.second=-2dB", "mute.main=on"});
    EXPECT_EQ(result.exitCode, 1) << result.text();
    EXPECT_EQ(result.err,
              "cabinaudio: cannot set volume.second=-2dB: the server refused it: status -77; set: "
              "volume.master=-1dB; not set: mute.main=on\n");
    EXPECT_EQ(server.requests(kVolume, id(VolumeFunction::SetMasterGain)).size(), 1u);
    EXPECT_THAT(server.requests(kVolume, id(VolumeFunction::Mute)), IsEmpty());
}

class ACommandOfSettings : public testing::TestWithParam<Words> {};

TEST_P(ACommandOfSettings, WithoutAServerEndsWithStatusThree) {
    const ToolResult result = runTool(GetParam());
    EXPECT_EQ(result.exitCode, 3) << result.text();
    EXPECT_THAT(result.out, IsEmpty());
    EXPECT_THAT(result.err, StartsWith("cabinaudio: no server"));
    EXPECT_THAT(result.err, HasSubstr("cabinaudio-server --instance"));
}

TEST_P(ACommandOfSettings, WithoutAServerSaysSoInJson) {
    Words words = GetParam();
    words.push_back("--json");
    const ToolResult result = runTool(words);
    EXPECT_EQ(result.exitCode, 3) << result.text();
    const json all = json::parse(result.out);
    EXPECT_EQ(all["ended"], "no_server");
    EXPECT_THAT(all["error"].get<std::string>(), StartsWith("no server"));
}

TEST_P(ACommandOfSettings, DoesNotWaitForEverForASilentServer) {
    SilentServer server;
    Words words = GetParam();
    words.insert(words.end(), {"--timeout", "0.3", "--json"});
    const ToolResult result = runTool(words);
    EXPECT_EQ(result.exitCode, 4) << result.text();
    EXPECT_THAT(result.err, StartsWith("cabinaudio: timed out after 0.3 s waiting for the "));
    EXPECT_EQ(json::parse(result.out)["ended"], "timed_out");
}

INSTANTIATE_TEST_SUITE_P(Any, ACommandOfSettings,
                         testing::Values(Words{"get"}, Words{"set", "volume.master=1"},
                                         Words{"monitor"}));

TEST(WrongUsage, OfSettingsIsToldInJson) {
    const RealServer server;
    const ToolResult result = runTool({"set", "volume.mastre=1", "--json"});
    EXPECT_EQ(result.exitCode, 2) << result.text();
    const json all = json::parse(result.out);
    EXPECT_EQ(all["ended"], "wrong_usage");
    EXPECT_THAT(all["set"], IsEmpty());
    EXPECT_THAT(all["error"].get<std::string>(), HasSubstr("volume.master"));
    EXPECT_THAT(runTool({"set", "volume.type.navigatoin=5"}).err,
                HasSubstr("did you mean volume.type.navigation"));
    EXPECT_THAT(runTool({"get", "nonsense*"}).err, HasSubstr("no setting matches 'nonsense*'"));
    EXPECT_EQ(runTool({"set", "--file", "/nonsense/file"}).exitCode, 1);
}

}  // namespace cabinaudio::test
