// SPDX-License-Identifier: Apache-2.0
#include "devkit/hear/Picture.h"

#include "devkit/hear/Channels.h"
#include "devkit/hear/Error.h"
#include "devkit/hear/Levels.h"
#include "devkit/hear/Numbers.h"
#include "devkit/hear/Spectrum.h"
#include "devkit/text/Printable.h"

#include <cairo/cairo.h>

#include <algorithm>
#include <cmath>
#include <memory>

namespace cabinaudio::hear {
namespace {

// Pixels
constexpr int WIDTH = 1200;
constexpr int LEFT = 70;
constexpr int RIGHT = 20;
constexpr int PLOT = WIDTH - LEFT - RIGHT;
constexpr int LINE = 18;
constexpr int WAVE = 70;
constexpr int SPECTROGRAM = 200;
constexpr int GAP = 14;
constexpr int AXIS = 30;

constexpr std::size_t SPECTRUM_FRAMES = 1024;
constexpr double DARKEST_DB = -10;
constexpr double LIGHTEST_DB = -100;
constexpr std::size_t MOST_LINES = 8;

struct Colour {
    double red, green, blue;
    double alpha = 1;
};

constexpr Colour BLACK{0.1, 0.1, 0.12};
constexpr Colour GREY{0.6, 0.62, 0.65};
constexpr Colour WAVES{0.18, 0.35, 0.6};
constexpr Colour STREAMS{0.25, 0.5, 0.35};
constexpr Colour FAULT{0.9, 0.1, 0.1, 0.35};
constexpr Colour FAULTY_RANGE{0.9, 0.1, 0.1, 0.2};

struct Destroy {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
    void operator()(cairo_t* context) const { cairo_destroy(context); }
};

/// Streams of one name share a line.
std::vector<std::string> namesOf(const Report& report) {
    std::vector<std::string> names;
    for (const StreamReport& stream : report.streams)
        if (std::find(names.begin(), names.end(), stream.name) == names.end())
            names.push_back(stream.name);
    return names;
}

class Drawing {
public:
    Drawing(const Recording& recording, const std::vector<Verdict>& verdicts)
        : mHeard(recording.heard),
          mReport(recording.report),
          mNames(namesOf(recording.report)),
          mSeconds(static_cast<double>(std::max<std::size_t>(mHeard.frames(), 1)) / mHeard.rate) {
        mLines.push_back(recording.path.empty() ? "heard" : recording.path);
        for (const Verdict& verdict : verdicts) {
            if (verdict.isMet) continue;
            mFaults.push_back(&verdict);
            if (mLines.size() <= MOST_LINES) mLines.push_back("NOT MET " + verdict.text);
        }
        mSurface.reset(cairo_image_surface_create(CAIRO_FORMAT_RGB24, WIDTH, height()));
        mContext.reset(cairo_create(mSurface.get()));
    }

    void draw() {
        use({1, 1, 1});
        cairo_paint(mContext.get());
        int y = GAP;
        for (const std::string& line : mLines)
            write(10, (y += LINE) - 4, line);
        const int top = y += GAP;
        for (unsigned channel = 0; channel < mHeard.channels; ++channel, y += WAVE + GAP)
            drawWave(channel, y);
        drawSpectrogram(y);
        y += SPECTROGRAM;
        for (const Verdict* fault : mFaults)
            drawFault(*fault, top, y);
        drawAxis(y);
        y += AXIS;
        for (const std::string& name : mNames)
            drawStream(name, y += LINE);
    }

    void save(const std::string& path) const {
        cairo_status_t status = cairo_status(mContext.get());
        if (status == CAIRO_STATUS_SUCCESS)
            status = cairo_surface_write_to_png(mSurface.get(), path.c_str());
        if (status != CAIRO_STATUS_SUCCESS)
            throw Error(path +
                        ": the picture cannot be written: " + cairo_status_to_string(status));
    }

private:
    [[nodiscard]] int height() const {
        return 2 * GAP + LINE * static_cast<int>(mLines.size() + mNames.size()) +
               (WAVE + GAP) * static_cast<int>(mHeard.channels) + SPECTROGRAM + AXIS + GAP;
    }
    [[nodiscard]] double column(double seconds) const {
        return LEFT + PLOT * std::clamp(seconds / mSeconds, 0.0, 1.0);
    }
    /// Frames of a column: [first, second)
    [[nodiscard]] std::pair<std::size_t, std::size_t> framesOf(int x) const {
        const auto at = [&](int place) {
            return mHeard.frames() * static_cast<std::size_t>(place) / PLOT;
        };
        return {at(x), std::max(at(x + 1), std::min(at(x) + 1, mHeard.frames()))};
    }

    void use(const Colour& colour) {
        cairo_set_source_rgba(mContext.get(), colour.red, colour.green, colour.blue, colour.alpha);
    }
    void fill(double x, double y, double width, double tall) {
        cairo_rectangle(mContext.get(), x, y, width, tall);
        cairo_fill(mContext.get());
    }
    /// Bytes that are no UTF-8 would end all drawing.
    void write(double x, double y, const std::string& text) {
        const std::string shown = text::printable(text);
        use(BLACK);
        cairo_set_font_size(mContext.get(), 12);
        cairo_move_to(mContext.get(), x, y);
        cairo_show_text(mContext.get(), shown.c_str());
    }

    void drawWave(unsigned channel, int top) {
        const double middle = top + WAVE / 2.0;
        write(10, middle + 4, channelName(channel));
        use(GREY);
        fill(LEFT, middle, PLOT, 0.5);
        use(WAVES);
        for (int x = 0; x < PLOT; ++x) {
            const auto [begin, end] = framesOf(x);
            float low = 1;
            float high = -1;
            for (std::size_t frame = begin; frame < end; ++frame) {
                const float sample = mHeard.samples[frame * mHeard.channels + channel];
                if (!std::isfinite(sample)) continue;
                low = std::min(low, std::max(sample, -1.0F));
                high = std::max(high, std::min(sample, 1.0F));
            }
            if (low <= high)
                fill(LEFT + x, middle - high * WAVE / 2, 1,
                     std::max((high - low) * WAVE / 2, 1.0F));
        }
    }

    /// Of the loudest channel, 0 Hz at the bottom.
    void drawSpectrogram(int top) {
        write(10, top + 12, numberText(mHeard.rate / 2000.0, 2) + " kHz");
        write(10, top + SPECTROGRAM, "0 Hz");
        const View whole{mHeard, 0, mHeard.frames(), {}};
        const unsigned channel = whole.frames() == 0 ? 0 : loudestChannel(whole);
        for (int x = 0; x < PLOT && whole.frames() > 0; ++x) {
            const std::size_t middle = framesOf(x).first;
            const std::size_t begin = middle - std::min(middle, SPECTRUM_FRAMES / 2);
            const std::size_t end = std::min(begin + SPECTRUM_FRAMES, mHeard.frames());
            drawColumn(LEFT + x, top, spectrumOf({mHeard, begin, end, {}}, channel));
        }
    }

    void drawColumn(int x, int top, const Spectrum& spectrum) {
        const std::size_t bins = spectrum.power.size();
        for (int y = 0; y < SPECTROGRAM; ++y) {
            const std::size_t first = bins * static_cast<std::size_t>(y) / SPECTROGRAM;
            const std::size_t last =
                std::max(first + 1, bins * (static_cast<std::size_t>(y) + 1) / SPECTROGRAM);
            double power = 0;
            for (std::size_t bin = first; bin < std::min(last, bins); ++bin)
                power = std::max(power, spectrum.power[bin]);
            const double db = std::isfinite(power) ? decibels(std::sqrt(power)) : LIGHTEST_DB;
            const double dark =
                std::clamp((db - LIGHTEST_DB) / (DARKEST_DB - LIGHTEST_DB), 0.0, 1.0);
            if (dark <= 0) continue;
            use({1 - 0.9 * dark, 1 - 0.8 * dark, 1 - 0.5 * dark});
            fill(x, top + SPECTROGRAM - 1 - y, 1, 1);
        }
    }

    /// At least some pixels wide, so that a single frame is seen.
    void drawFault(const Verdict& fault, int top, int bottom) {
        constexpr double NARROWEST = 4;
        double from = column(fault.from);
        const double to = std::max(column(fault.to), from + NARROWEST);
        from = std::min(from, to - NARROWEST);
        // With a place of its own, the range only shows what was looked at.
        use(fault.at ? FAULTY_RANGE : FAULT);
        fill(from, top, to - from, bottom - top);
        if (!fault.at) return;
        use({0.8, 0, 0});
        fill(column(*fault.at) - 1, top, 2, bottom - top);
    }

    void drawAxis(int y) {
        double step = 0.001;
        for (const double next : {0.01, 0.1, 0.5, 1.0, 5.0, 10.0, 60.0, 600.0, 3600.0})
            if (mSeconds / step > 12) step = next;
        for (int i = 0; i * step <= mSeconds && i < 1000; ++i) {
            use(GREY);
            fill(column(i * step), y, 1, 5);
            write(column(i * step) + 2, y + 16, numberText(i * step, 3) + " s");
        }
    }

    void drawStream(const std::string& name, int y) {
        write(10, y - 4, name.substr(0, 63));
        use(STREAMS);
        for (const StreamReport& stream : mReport.streams) {
            if (stream.name != name) continue;
            for (const Segment& segment : stream.segments) {
                const double from = column(static_cast<double>(segment.outputFrame) / mHeard.rate);
                const double to =
                    column(static_cast<double>(segment.outputFrame + segment.frames) / mHeard.rate);
                fill(from, y - LINE + 8, std::max(to - from, 1.0), 8);
            }
        }
    }

    const Sound& mHeard;
    const Report& mReport;
    const std::vector<std::string> mNames;
    const double mSeconds;
    std::vector<std::string> mLines;
    std::vector<const Verdict*> mFaults;
    std::unique_ptr<cairo_surface_t, Destroy> mSurface;
    std::unique_ptr<cairo_t, Destroy> mContext;
};

}  // namespace

void drawPicture(const std::string& path, const Recording& recording,
                 const std::vector<Verdict>& verdicts) {
    if (recording.heard.rate == 0 || recording.heard.channels == 0)
        throw Error(path + ": there is no sound to draw");
    Drawing drawing(recording, verdicts);
    drawing.draw();
    drawing.save(path);
}

}  // namespace cabinaudio::hear
