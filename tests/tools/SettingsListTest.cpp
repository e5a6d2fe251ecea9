// SPDX-License-Identifier: Apache-2.0
// Lists and descriptions of settings.
#include "tests/tools/ToolTest.h"

namespace cabinaudio::test {

TEST(SettingsList, FindsSettingsByAWord) {
    const RealServer server;
    const Outcome list = runExpecting(0, {"list", "navigation"});
    EXPECT_THAT(list.out, HasSubstr("volume.type.navigation "));
    EXPECT_THAT(list.out, HasSubstr("volume.type.media "));
    EXPECT_THAT(list.out, HasSubstr("mixer.navigation "));
    EXPECT_THAT(list.out, HasSubstr("-103.5..24dB"));
    EXPECT_THAT(list.out, Not(HasSubstr("mute.main")));
}

TEST(SettingsList, HasFixedNamesOnlyWithoutAServer) {
    const Outcome list = runExpecting(0, {"list"});
    EXPECT_THAT(list.err, IsEmpty());
    EXPECT_THAT(list.out, HasSubstr("volume.master "));
    EXPECT_THAT(list.out, HasSubstr("volume.type.<type> "));
    EXPECT_THAT(list.out, HasSubstr("effect.<tag>.<effect>.parameter "));
    const Outcome names = runTool({"list", "--names"});
    EXPECT_THAT(names.out, HasSubstr("volume.channel.LF\n"));
    EXPECT_THAT(names.out, Not(HasSubstr("<")));
}

TEST(SettingsList, ReportsAWordWithoutMatches) {
    const Outcome list = runExpecting(1, {"list", "nonsense"});
    EXPECT_THAT(list.err, HasSubstr("cabinaudio: no setting has that"));
}

TEST(EverySetting, HasADescription) {
    const RealServer server;
    const json list = json::parse(runTool({"list", "--json"}).out);
    ASSERT_EQ(list["ended"], "done");
    Words words = {"describe", "--json"};
    for (const json& setting : list["settings"])
        words.push_back(setting["name"]);
    ASSERT_GT(words.size(), 80u);
    const Outcome result = runExpecting(0, words);
    const json described = json::parse(result.out)["settings"];
    EXPECT_EQ(described, list["settings"]);
    for (const json& setting : described) {
        EXPECT_FALSE(setting["what"].get<std::string>().empty()) << setting;
        EXPECT_FALSE(setting["range"].get<std::string>().empty()) << setting;
        EXPECT_FALSE(setting["functions"].empty()) << setting;
        EXPECT_TRUE(setting["readable"] || setting["settable"]) << setting;
        EXPECT_TRUE(setting["connection"] >= 128 && setting["connection"] <= 133) << setting;
    }
}

TEST(Description, ShowsRangeUnitAccessAndExample) {
    const Outcome result = runExpecting(0, {"describe", "volume.master", "duck"});
    EXPECT_EQ(result.out,
              "volume.master\n"
              "  what      Volume of everything that is heard\n"
              "  type      gain\n"
              "  range     -103.5dB to 24dB, or 0 to 148\n"
              "            with dB a gain, such as -6.5dB; without a volume step: half a dB each,\n"
              "            100 is 0dB and 0 is silence; with % the amplitude: 50% is -6.02dB\n"
              "  unit      dB\n"
              "  change    3dB+, 5- or 10%+ from the present value, or volume.master+=3dB\n"
              "  access    can be read and set\n"
              "  functions 20, 21, 4, 5 of the volume settings (connection type 131)\n"
              "  example   cabinaudio set volume.master=-6dB\n"
              "\n"
              "duck\n"
              "  what      Lowers music and all else that is no prompt by so much, until off\n"
              "  type      integer\n"
              "  range     off, or 0% to 100%\n"
              "  unit      %\n"
              "  access    can only be set: servers have no operation that tells it\n"
              "  functions 37, 38 of the volume settings (connection type 131)\n"
              "  example   cabinaudio set duck=1\n");
}

TEST(Description, ShowsChangesOfReadableNumbersAndSwitches) {
    const Outcome result = runExpecting(0, {"describe", "mute.main", "speaker.delay.LF", "bypass"});
    EXPECT_THAT(result.out, HasSubstr("  range     on or off, also as true or false, 1 or 0\n"
                                      "  change    toggle or !\n"
                                      "  access    can be read and set\n"));
    EXPECT_THAT(result.out, HasSubstr("  change    1ms+ or 1ms- from the present value, or "
                                      "speaker.delay.LF+=1ms\n"));
    EXPECT_THAT(result.out, HasSubstr("  range     on or off, also as true or false, 1 or 0\n"
                                      "  access    can only be set"));
    const json described = jsonOf(
        runTool({"describe", "--json", "mute.main", "duck", "volume.master", "source.main"}));
    const json& all = described["settings"];
    EXPECT_EQ(all[0]["changes"], json({"toggle", "!"}));
    EXPECT_EQ(all[1]["changes"], json::array());
    EXPECT_EQ(all[2]["changes"], json({"3dB+", "3dB-", "5+", "5-", "10%+", "10%-"}));
    EXPECT_EQ(all[3]["changes"], json::array());
}

TEST(Description, OfAnUnknownNameSuggestsTheNearest) {
    const Outcome result = runExpecting(2, {"describe", "volume.mastr"});
    EXPECT_THAT(result.err, HasSubstr("did you mean volume.master"));
}

}  // namespace cabinaudio::test
