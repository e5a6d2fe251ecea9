// SPDX-License-Identifier: Apache-2.0
// The parts of `cabinaudio top` without a terminal.
#include "tools/top/Keys.h"
#include "tools/top/Layout.h"
#include "tools/top/Table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace cabinaudio::tool::top {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

Json gain(const char* stage, const char* setting, const Json& db, bool isMuted = false,
          const Json& by = nullptr) {
    return {{"stage", stage}, {"setting", setting}, {"db", db}, {"muted", isMuted}, {"by", by}};
}

Json stream(const char* name, const Json& level, Json gains = Json::array()) {
    return {{"name", name},       {"kind", "track"},   {"tag", "auxiliary"}, {"type", "media"},
            {"process", 4711},    {"program", "play"}, {"state", "active"},  {"rate_hz", 48000},
            {"channels", 2},      {"bits", 16},        {"queued_ms", 127},   {"underruns", 3},
            {"latency_ms", 37.4}, {"peak_db", -6.0},   {"heard_db", level},  {"gains", gains}};
}

Json stateWith(const Json& streams) {
    return {{"version", "2.24.25"},
            {"output",
             {{"name", "pulse"},
              {"rate_hz", 48000},
              {"channels", 2},
              {"format", "s16"},
              {"late_periods", 7},
              {"state", "open"}}},
            {"load", {{"mix_percent", 1.84}, {"longest_mix_us", 240}, {"period_us", 16000}}},
            {"loudspeakers",
             {{{"loudspeaker", 0}, {"name", "LF"}, {"peak_db", -12.3}, {"muted", false}},
              {{"loudspeaker", 1}, {"name", "RF"}, {"peak_db", nullptr}, {"muted", true}}}},
            {"streams", streams}};
}

/// A sink that a prompt ducks, a muted prompt, and a stream with a hostile name.
Figures threeStreams() {
    Json music =
        stream("music", -26.0,
               {gain("track", "volume.track.main.music", -6.0), gain("mute", "mute.main", 0.0),
                gain("ducking", "ducking.target", -20.0, false, "prompt")});
    music["kind"] = "sink";
    music["source"] = "active";
    music["process"] = 5;
    return figuresOf(stateWith({music,
                                stream("prompt", nullptr,
                                       {gain("track", "volume.track.auxiliary.prompt", 0.0),
                                        gain("mute", "mute.auxiliary", nullptr, true)}),
                                stream("\033[2Jevil\n", 0.5)}));
}

std::string textOf(const std::vector<Line>& lines) {
    std::string text;
    for (const Line& line : lines)
        text += plainText(line) + "\n";
    return text;
}

std::vector<std::string> names(const Figures& figures) {
    std::vector<std::string> result;
    for (const Stream& stream : figures.streams)
        result.push_back(stream.name);
    return result;
}

Figures sortedBy(Figures figures, const Order& order) {
    sort(figures.streams, order);
    return figures;
}

}  // namespace

TEST(TopModel, TellsWhatLowersAStream) {
    const Figures figures = threeStreams();
    EXPECT_EQ(loweredBy(figures.streams[0]), "prompt -20 dB");
    EXPECT_EQ(loweredBy(figures.streams[1]), "mute.auxiliary");
    EXPECT_EQ(loweredBy(figures.streams[2]), "");
    Stream withdrawn = figures.streams[0];
    withdrawn.source = "withdrawn";
    EXPECT_EQ(loweredBy(withdrawn), "no source");
}

TEST(TopModel, ShowsAnOldServersStateWithoutFigures) {
    const Figures figures = figuresOf(Json::parse(
        R"({"output":{"name":"nothing"},"streams":[{"name":"a","kind":"capture","input":"tone:440"},{}]})"));
    View view;
    const std::string text = textOf(screenOf(figures, view, {120, 20}, Glyphs::Utf8));
    EXPECT_THAT(text, HasSubstr("output nothing"));
    EXPECT_THAT(text, HasSubstr("tone:440"));
    EXPECT_THAT(figuresOf(Json::array()).streams, IsEmpty());
}

TEST(TopSorting, PutsLoudAndWorstStreamsFirst) {
    Figures figures = threeStreams();
    figures.streams[1].lapses = 9;
    EXPECT_THAT(names(sortedBy(figures, {Column::Name})),
                ElementsAre("\\x1b[2Jevil\\n", "music", "prompt"));
    EXPECT_THAT(names(sortedBy(figures, {Column::Level})),
                ElementsAre("\\x1b[2Jevil\\n", "music", "prompt"));
    EXPECT_THAT(names(sortedBy(figures, {Column::Level, true})),
                ElementsAre("prompt", "music", "\\x1b[2Jevil\\n"));
    EXPECT_EQ(names(sortedBy(figures, {Column::Lapses})).front(), "prompt");
    EXPECT_EQ(names(sortedBy(figures, {Column::Pid})).front(), "music");
}

TEST(TopCells, CutsTextsToTheirColumns) {
    EXPECT_EQ(fit("name", 6, Glyphs::Utf8), "name  ");
    EXPECT_EQ(fit("name", 6, Glyphs::Ascii, true), "  name");
    EXPECT_EQ(fit("longer", 4, Glyphs::Ascii), "lon~");
    EXPECT_EQ(fit("Навигация", 4, Glyphs::Utf8), "Нав…");
    EXPECT_EQ(fit("Навигация", 4, Glyphs::Ascii), "???~");
    EXPECT_EQ(fit("日本語", 4, Glyphs::Utf8), "日… ");
    EXPECT_EQ(fit("name", 0, Glyphs::Utf8), "");
}

TEST(TopCells, DrawsLevelsAsBars) {
    EXPECT_EQ(barOf(0, 4, Glyphs::Ascii), "====");
    EXPECT_EQ(barOf(-30, 4, Glyphs::Ascii), "==..");
    EXPECT_EQ(barOf(SILENCE_DB, 4, Glyphs::Ascii), "....");
    EXPECT_EQ(barOf(std::nullopt, 2, Glyphs::Utf8), "··");
    EXPECT_EQ(barOf(12, 2, Glyphs::Utf8), "██");
    EXPECT_EQ(barOf(-15, 2, Glyphs::Utf8), "█▌");
}

TEST(TopLayout, ShowsAllColumnsWhereThereIsRoom) {
    View view;
    const std::string text = textOf(listOf(threeStreams(), view, 200, Glyphs::Utf8));
    EXPECT_THAT(text, HasSubstr("mix 1.8 % of 16.0 ms, longest 0.2 ms"));
    EXPECT_THAT(text, HasSubstr("output pulse  48000x2 s16  late 7"));
    EXPECT_THAT(text, HasSubstr("LF    -12.3 dB"));
    EXPECT_THAT(text, HasSubstr(" muted\n"));
    EXPECT_THAT(text, testing::ContainsRegex("music +5 play +auxiliary media +active 48000x2x16 +"
                                             "-6\\.0 +-26\\.0 .* 127 +3 +37 prompt -20 dB"));
    for (const ColumnShape& shape : columnShapes())
        EXPECT_THAT(text, HasSubstr(shape.title));
}

TEST(TopLayout, NeverExceedsTheTerminal) {
    Figures figures = threeStreams();
    figures.output.warning = std::string(300, 'w');
    figures.output.isLost = true;
    for (int i = 0; i < 30; ++i)
        figures.streams.push_back(figures.streams[static_cast<std::size_t>(i % 3)]);
    for (const bool isHelpShown : {false, true})
        for (const Glyphs glyphs : {Glyphs::Ascii, Glyphs::Utf8})
            for (std::size_t columns = 1; columns < 180; columns += 29)
                for (const std::size_t rows : {1U, 2U, 5U, 24U, 60U}) {
                    View view;
                    view.isHelpShown = isHelpShown;
                    const auto lines = screenOf(figures, view, {columns, rows}, glyphs);
                    ASSERT_LE(lines.size(), rows);
                    for (const Line& line : lines)
                        ASSERT_LE(columnsOf(line), columns) << plainText(line);
                }
}

TEST(TopLayout, KeepsTheSelectedStreamOnTheScreen) {
    Figures figures;
    for (int i = 10; i < 60; ++i)
        figures.streams.push_back(
            figuresOf(stateWith(Json::array({stream(std::to_string(i).c_str(), 0)}))).streams[0]);
    View view;
    EXPECT_THAT(textOf(screenOf(figures, view, {80, 24}, Glyphs::Utf8)), HasSubstr("\n10  "));
    EXPECT_TRUE(std::holds_alternative<Nothing>(onKey(KEY_LAST, view, figures)));
    const std::string bottom = textOf(screenOf(figures, view, {80, 24}, Glyphs::Utf8));
    EXPECT_THAT(bottom, HasSubstr("\n59  "));
    EXPECT_THAT(bottom, Not(HasSubstr("\n10  ")));
    EXPECT_THAT(bottom, HasSubstr("59: track of process 4711 play"));
    // The selected stream leaves.
    figures.streams.resize(1);
    EXPECT_THAT(textOf(screenOf(figures, view, {80, 24}, Glyphs::Utf8)), HasSubstr("\n10  "));
}

TEST(TopLayout, TellsWhereTheLevelOfTheSelectedStreamIsLost) {
    View view;
    const std::string text = textOf(screenOf(threeStreams(), view, {80, 24}, Glyphs::Utf8));
    EXPECT_THAT(text,
                HasSubstr("samples -6.0 dB, track -6.0, ducking -20.0 (prompt), heard -26.0"));
}

TEST(TopLayout, TellsThatACardOrAMicrophoneIsLost) {
    Json state = stateWith(Json::array());
    state["output"]["state"] = "lost";
    state["output"]["since"] = "2026-11-22T19:01:02.345+00:00";
    state["output"]["problem"] = "pulse: Connection refused";
    state["output"]["warning"] = "no sound card works: plays to nothing";
    state["output"]["losses"] = 3;
    state["output"]["latency_ms"] = 64.0;
    state["inputs"] = {{{"name", "mic"}, {"state", "open"}, {"problem", nullptr}, {"losses", 0}}};
    View view;
    const std::string text = textOf(screenOf(figuresOf(state), view, {160, 24}, Glyphs::Utf8));
    EXPECT_THAT(text, HasSubstr("output pulse  lost since 2026-11-22T19:01:02.345+00:00: pulse: "
                                "Connection refused  48000x2 s16  late 7  lost 3  latency 64 ms\n"
                                "  no sound card works: plays to nothing\n"
                                "input  mic\n"));
}

TEST(TopLayout, TellsThatItWaitsForTheServer) {
    View view;
    view.waitingFor = "waiting for the server since 19:01:02: it is not running";
    EXPECT_THAT(textOf(screenOf({}, view, {80, 24}, Glyphs::Ascii)), HasSubstr(view.waitingFor));
}

TEST(TopKeys, ChangeTheVolumeOfTheSelectedStream) {
    const Figures figures = threeStreams();
    View view;
    const auto louder = std::get<SettingChange>(onKey('+', view, figures));
    EXPECT_EQ(louder.setting, "volume.track.main.music");
    EXPECT_EQ(std::get<double>(louder.value), -5.0);
    EXPECT_EQ(std::get<double>(std::get<SettingChange>(onKey('-', view, figures)).value), -7.0);
}

TEST(TopKeys, PressedFastChangeTheVolumeEachTime) {
    Figures figures = threeStreams();
    View view;
    for (int i = 0; i < 3; ++i)
        anticipate(std::get<SettingChange>(onKey('-', view, figures)), figures);
    EXPECT_EQ(figures.streams[0].gains[0].db, -9.0);
}

TEST(TopKeys, MuteAStreamAndGiveItsVolumeBack) {
    Figures figures = threeStreams();
    View view;
    const auto muted = std::get<SettingChange>(onKey('m', view, figures));
    EXPECT_EQ(muted.setting, "volume.track.main.music");
    EXPECT_EQ(std::get<double>(muted.value), -103.5);
    figures.streams[0].gains[0].db = SILENCE_DB;
    EXPECT_EQ(std::get<double>(std::get<SettingChange>(onKey('m', view, figures)).value), -6.0);
}

TEST(TopKeys, OpenAMutedPath) {
    const Figures figures = threeStreams();
    View view;
    (void)onKey('j', view, figures);
    const auto opened = std::get<SettingChange>(onKey('m', view, figures));
    EXPECT_EQ(opened.setting, "mute.auxiliary");
    EXPECT_FALSE(std::get<bool>(opened.value));
}

TEST(TopKeys, RouteSinksOnly) {
    const Figures figures = threeStreams();
    View view;
    EXPECT_EQ(std::get<ServerCommand>(onKey('w', view, figures)).line, "source withdraw music");
    EXPECT_EQ(std::get<ServerCommand>(onKey('a', view, figures)).line, "source activate music");
    (void)onKey(KEY_ROW_DOWN, view, figures);
    EXPECT_TRUE(std::holds_alternative<Nothing>(onKey('w', view, figures)));
    EXPECT_THAT(view.message, HasSubstr("prompt is no sink"));
}

TEST(TopKeys, SortReverseHelpAndQuit) {
    const Figures figures = threeStreams();
    View view;
    (void)onKey('L', view, figures);
    EXPECT_EQ(view.order.column, Column::Level);
    EXPECT_FALSE(view.order.isReversed);
    (void)onKey('L', view, figures);
    EXPECT_TRUE(view.order.isReversed);
    (void)onKey('R', view, figures);
    EXPECT_FALSE(view.order.isReversed);
    (void)onKey('h', view, figures);
    EXPECT_TRUE(view.isHelpShown);
    EXPECT_TRUE(std::holds_alternative<Quit>(onKey('q', view, figures)));
    EXPECT_TRUE(std::holds_alternative<Nothing>(onKey('+', view, Figures())));
}

}  // namespace cabinaudio::tool::top
