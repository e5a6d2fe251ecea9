// SPDX-License-Identifier: Apache-2.0
#include "tools/view/Picture.h"

#include "tools/top/Model.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <string>

namespace cabinaudio::tool::view {

namespace {

using Anchor = Font::Anchor;

struct Palette {
    Colour background;
    Colour panel;
    Colour ink;
    Colour faint;
    Colour level;
    Colour warning;
};

constexpr Palette LIGHT = {{255, 255, 255}, {241, 244, 247}, {24, 30, 38},
                           {96, 107, 120},  {23, 105, 170},  {176, 58, 16}};
constexpr Palette DARK = {{19, 23, 28},    {32, 38, 46},   {232, 237, 242},
                          {150, 162, 175}, {92, 178, 240}, {255, 154, 102}};

constexpr double QUIETEST_DB = -60;

constexpr Box CABIN = {24, 64, 330, 512, 60};
constexpr double STREAMS_X = 380;
constexpr double STREAMS_Y = 64;
constexpr double ROW = 40;
constexpr std::size_t MOST_ROWS = 8;
constexpr double LOWER_Y = 452;
constexpr double RIGHT = PICTURE_WIDTH - 24;

/// Where a loudspeaker is, as parts of the cabin's width and height.
struct Place {
    const char* position;
    double x;
    double y;
};
constexpr std::array PLACES = {Place{"front-left", 0.16, 0.2}, Place{"front-right", 0.84, 0.2},
                               Place{"rear-left", 0.16, 0.8},  Place{"rear-right", 0.84, 0.8},
                               Place{"center", 0.5, 0.1},      Place{"subwoofer", 0.5, 0.92}};

std::optional<double> numberAt(const Json& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end() || !found->is_number()) return {};
    return found->get<double>();
}

std::string textAt(const Json& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->get<std::string>() : "";
}

bool flagAt(const Json& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_boolean() && found->get<bool>();
}

const Json& listAt(const Json& object, const char* key) {
    static const Json none = Json::array();
    const auto found = object.find(key);
    return found != object.end() && found->is_array() ? *found : none;
}

/// 0 for silence, 1 for full scale.
double shareOf(const std::optional<double>& db) {
    return db ? std::clamp(1 - *db / QUIETEST_DB, 0.0, 1.0) : 0.0;
}

std::string levelText(const std::optional<double>& db) {
    return db ? top::decibelText(db) + " dB" : "silent";
}

/// Never inside a letter of several bytes.
std::string shortened(const std::string& text, std::size_t most) {
    constexpr unsigned char CONTINUES = 0x80;
    constexpr unsigned char HIGH_BITS = 0xc0;
    if (text.size() <= most) return text;
    std::size_t end = most - 3;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & HIGH_BITS) == CONTINUES)
        --end;
    return text.substr(0, end) + "...";
}

class Picture {
public:
    Picture(Canvas& canvas, const Snapshot& snapshot, const Json& live, bool isDark)
        : mCanvas(canvas), mSnapshot(snapshot), mLive(live), mColours(isDark ? DARK : LIGHT) {}

    void draw() {
        mCanvas.fill({0, 0, PICTURE_WIDTH, PICTURE_HEIGHT}, mColours.background);
        drawTitle();
        drawCar();
        drawPosition();
        for (const Json& loudspeaker : listAt(mSnapshot.cabin, "loudspeakers"))
            drawLoudspeaker(loudspeaker);
        drawStreams();
        drawVolumes();
        drawSpectrum();
    }

private:
    void text(double x, double y, const std::string& text, const Colour& colour,
              const Font& font = {}) {
        mCanvas.text(x, y, text, font, colour);
    }

    void drawTitle() {
        const Json& server = mSnapshot.cabin.at("server");
        const std::string instance = textAt(server, "instance");
        text(24, 40, "cabinaudio", mColours.ink, {.size = 22, .isBold = true});
        text(RIGHT, 40,
             textAt(server, "kind") + " server" + (instance.empty() ? "" : " '" + instance + "'") +
                 ", " + textAt(server, "version"),
             mColours.faint, {.anchor = Anchor::End});
    }

    void drawCar() {
        mCanvas.fill(CABIN, mColours.panel);
        mCanvas.outline(CABIN, mColours.faint);
        for (const double y : {0.3, 0.62})
            for (const double x : {0.24, 0.56})
                mCanvas.outline({CABIN.x + x * CABIN.width, CABIN.y + y * CABIN.height,
                                 0.2 * CABIN.width, 0.13 * CABIN.height, 10},
                                mColours.faint);
    }

    [[nodiscard]] const Json* find(const char* list, const std::string& name) const {
        for (const Json& one : listAt(mLive, list))
            // A mono output is both front loudspeakers.
            if (const std::string found = textAt(one, "name");
                found == name || found.starts_with(name + "+") || found.ends_with("+" + name))
                return &one;
        return nullptr;
    }

    void drawLoudspeaker(const Json& loudspeaker) {
        const std::string name = textAt(loudspeaker, "name");
        const auto* const place =
            std::find_if(PLACES.begin(), PLACES.end(), [&](const Place& candidate) {
                return textAt(loudspeaker, "position") == candidate.position;
            });
        if (place == PLACES.end()) return;
        const double x = CABIN.x + place->x * CABIN.width;
        const double y = CABIN.y + place->y * CABIN.height;
        const Json* const level = find("loudspeakers", name);
        const auto db = level != nullptr ? numberAt(*level, "peak_db") : std::nullopt;
        Colour glow = mColours.level;
        glow.alpha = 0.35;
        mCanvas.disc(x, y, 10 + 24 * shareOf(db), glow);
        mCanvas.disc(x, y, 9, level != nullptr ? mColours.level : mColours.faint);
        const Font middle = {.anchor = Anchor::Middle, .isBold = true};
        text(x, y - 14, name, mColours.ink, middle);
        if (level == nullptr) return;
        const bool isMuted = flagAt(*level, "muted");
        text(x, y + 27, isMuted ? "off" : levelText(db), isMuted ? mColours.warning : mColours.ink,
             {.size = 11, .anchor = Anchor::Middle});
    }

    /// Fade and balance.
    void drawPosition() {
        const auto fade = setting("fade");
        const auto balance = setting("balance");
        const double x = CABIN.x + CABIN.width / 2;
        const double y = CABIN.y + CABIN.height / 2;
        mCanvas.line(CABIN.x + 40, y, CABIN.x + CABIN.width - 40, y, mColours.faint);
        mCanvas.line(x, CABIN.y + 90, x, CABIN.y + CABIN.height - 90, mColours.faint);
        if (!fade || !balance) return;
        const double pointX = x + *balance / 100 * (CABIN.width / 2 - 50);
        const double pointY = y - *fade / 100 * (CABIN.height / 2 - 100);
        mCanvas.disc(pointX, pointY, 8, mColours.warning);
        text(pointX + 12, pointY - 6,
             "fade " + std::to_string(std::lround(*fade)) + ", balance " +
                 std::to_string(std::lround(*balance)),
             mColours.ink, {.size = 11});
    }

    [[nodiscard]] std::optional<double> setting(const char* name) const {
        const auto found = mSnapshot.settings->find(name);
        if (found == mSnapshot.settings->end() || !found->second.value.is_number()) return {};
        return found->second.value.get<double>();
    }
    [[nodiscard]] bool isOn(const std::string& name) const {
        const auto found = mSnapshot.settings->find(name);
        return found != mSnapshot.settings->end() && found->second.value == true;
    }

    void drawStreams() {
        const Json& streams = listAt(mLive, "streams");
        text(STREAMS_X, STREAMS_Y, "Streams", mColours.ink, {.size = 15, .isBold = true});
        if (mLive.is_null())
            text(STREAMS_X, STREAMS_Y + 28, "not known to this server", mColours.faint);
        else if (streams.empty())
            text(STREAMS_X, STREAMS_Y + 28, "none", mColours.faint);
        for (std::size_t i = 0; i < std::min(streams.size(), MOST_ROWS); ++i)
            drawStream(streams[i], STREAMS_Y + 16 + static_cast<double>(i) * ROW);
        if (streams.size() > MOST_ROWS)
            text(RIGHT, STREAMS_Y, "and " + std::to_string(streams.size() - MOST_ROWS) + " more",
                 mColours.faint, {.anchor = Anchor::End});
    }

    void drawStream(const Json& stream, double y) {
        mCanvas.fill({STREAMS_X, y, RIGHT - STREAMS_X, ROW - 4, 6}, mColours.panel);
        text(STREAMS_X + 10, y + 15, shortened(textAt(stream, "name"), 28), mColours.ink,
             {.isBold = true});
        text(STREAMS_X + 10, y + 30,
             shortened(textAt(stream, "program") + ", " + textAt(stream, "type") + " to " +
                           textAt(stream, "output"),
                       44),
             mColours.faint, {.size = 11});
        const std::optional<double> level = numberAt(stream, "level_db");
        const Box bar = {STREAMS_X + 300, y + 9, 150, 8, 4};
        mCanvas.fill(bar, mColours.background);
        Box filled = bar;
        filled.width *= shareOf(level);
        if (filled.width > 2 * bar.radius) mCanvas.fill(filled, mColours.level);
        text(bar.x, y + 30, "volume " + levelText(numberAt(stream, "volume")), mColours.faint,
             {.size = 11});
        text(RIGHT - 10, y + 15, textAt(stream, "state") == "active" ? levelText(level) : "idle",
             mColours.ink, {.anchor = Anchor::End});
        const std::string note = lowered(stream);
        text(RIGHT - 10, y + 30, note, mColours.warning, {.size = 11, .anchor = Anchor::End});
    }

    /// "muted", "ducked by navi, -20.0 dB"; empty if neither.
    [[nodiscard]] static std::string lowered(const Json& stream) {
        if (textAt(stream, "source") == "withdrawn") return "no source";
        if (flagAt(stream, "muted")) return "muted";
        const Json& duckers = listAt(stream, "ducked_by");
        if (duckers.empty()) return "";
        return "ducked by " + shortened(textAt(duckers[0], "name"), 16) + ", " +
               levelText(numberAt(duckers[0], "db"));
    }

    void drawVolumes() {
        text(STREAMS_X, LOWER_Y, "Volume", mColours.ink, {.size = 15, .isBold = true});
        double y = LOWER_Y + 24;
        for (const auto& [label, name] :
             {std::pair{"master", "volume.master"}, std::pair{"second", "volume.second"},
              std::pair{"alternative", "volume.alternative"}}) {
            text(STREAMS_X, y, label, mColours.faint);
            text(STREAMS_X + 170, y, levelText(setting(name)), mColours.ink,
                 {.anchor = Anchor::End});
            y += 20;
        }
        std::string muted;
        for (const Json& path : listAt(mSnapshot.cabin, "paths"))
            if (isOn(textAt(path, "mute")))
                muted += (muted.empty() ? "muted: " : ", ") + textAt(path, "name");
        text(STREAMS_X, y, muted, mColours.warning);
    }

    void drawSpectrum() {
        const Json& bands = listAt(mLive, "spectrum");
        if (bands.empty()) return;
        constexpr double X = 600;
        constexpr double HEIGHT = 96;
        const double step = (RIGHT - X) / static_cast<double>(bands.size());
        text(X, LOWER_Y, "Spectrum", mColours.ink, {.size = 15, .isBold = true});
        const double bottom = LOWER_Y + 14 + HEIGHT;
        mCanvas.line(X, bottom, RIGHT, bottom, mColours.faint);
        for (std::size_t i = 0; i < bands.size(); ++i) {
            const double height = HEIGHT * shareOf(numberAt(bands[i], "db"));
            const double x = X + static_cast<double>(i) * step;
            if (height > 0) mCanvas.fill({x, bottom - height, step - 2, height}, mColours.level);
        }
        const auto hertz = [](const Json& band) {
            return std::to_string(std::lround(numberAt(band, "hz").value_or(0))) + " Hz";
        };
        text(X, bottom + 14, hertz(bands.front()), mColours.faint, {.size = 10});
        text(RIGHT, bottom + 14, hertz(bands.back()), mColours.faint,
             {.size = 10, .anchor = Anchor::End});
    }

    Canvas& mCanvas;
    const Snapshot& mSnapshot;
    const Json& mLive;
    const Palette mColours;
};

}  // namespace

void drawCabin(Canvas& canvas, const Snapshot& snapshot, const Json& live, bool isDark) {
    Picture(canvas, snapshot, live, isDark).draw();
}

}  // namespace cabinaudio::tool::view
