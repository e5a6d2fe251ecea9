// SPDX-License-Identifier: Apache-2.0
// Pictures, looked at by their pixels. A build without Cairo says so.
#include "devkit/hear/Error.h"
#include "devkit/hear/Picture.h"
#include "tests/hear/Synth.h"
#include "tests/support/Files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#ifdef CABINAUDIO_TEST_CAIRO
#include <cairo/cairo.h>
#endif

#include <cstdint>
#include <cstring>
#include <functional>

// fontconfig refers to its own objects by offsets, which look like leaks.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig\n";
}

namespace cabinaudio::test {

namespace {

using testing::HasSubstr;

std::string errorOfDrawing(const std::string& path, const Recording& recording) {
    try {
        hear::drawPicture(path, recording, {});
    } catch (const hear::Error& error) {
        return error.what();
    }
    return "";
}

#ifdef CABINAUDIO_TEST_CAIRO

/// A picture that was read again.
class Pixels {
public:
    explicit Pixels(const std::string& path)
        : mSurface(cairo_image_surface_create_from_png(path.c_str())) {
        EXPECT_EQ(cairo_surface_status(mSurface), CAIRO_STATUS_SUCCESS);
    }
    ~Pixels() { cairo_surface_destroy(mSurface); }
    Pixels(const Pixels&) = delete;
    Pixels& operator=(const Pixels&) = delete;

    [[nodiscard]] int width() const { return cairo_image_surface_get_width(mSurface); }
    [[nodiscard]] int height() const { return cairo_image_surface_get_height(mSurface); }

    /// Pixels from one relative column to another that are clearly red.
    [[nodiscard]] std::size_t red(double from, double to) const {
        return count(from, to, [](int r, int g, int b) { return r > g + 40 && r > b + 40; });
    }
    [[nodiscard]] std::size_t dark(double from, double to) const {
        return count(from, to, [](int r, int g, int b) { return r + g + b < 500; });
    }

private:
    [[nodiscard]] std::size_t count(double from, double to,
                                    const std::function<bool(int, int, int)>& fits) const {
        std::size_t result = 0;
        for (int y = 0; y < height(); ++y) {
            for (int x = static_cast<int>(from * width()); x < static_cast<int>(to * width());
                 ++x) {
                std::uint32_t pixel = 0;
                std::memcpy(&pixel,
                            cairo_image_surface_get_data(mSurface) +
                                y * cairo_image_surface_get_stride(mSurface) + 4 * x,
                            sizeof pixel);
                if (fits(static_cast<int>(pixel >> 16 & 255), static_cast<int>(pixel >> 8 & 255),
                         static_cast<int>(pixel & 255)))
                    ++result;
            }
        }
        return result;
    }

    cairo_surface_t* mSurface;
};

class Picture : public testing::Test {
protected:
    [[nodiscard]] Pixels draw(const Recording& recording, const std::vector<std::string>& checks) {
        hear::drawPicture(mDirectory.file("a.png"), recording, hear::judge(recording, checks));
        return Pixels(mDirectory.file("a.png"));
    }
    TemporaryDirectory mDirectory;
};

TEST_F(Picture, FailedRangeIsRed) {
    const Recording recording = recordingOf(tone(440, -12, 4 * RATE), 2);
    const Pixels good = draw(recording, {"level -12 [2..3]"});
    EXPECT_GT(good.width(), 500);
    EXPECT_GT(good.height(), 300);
    EXPECT_EQ(good.red(0, 1), 0U);
    const Pixels bad = draw(recording, {"level -12 [0..1]", "silence [2..3]"});
    EXPECT_GT(bad.red(0.55, 0.7), 10000U);
    EXPECT_EQ(bad.red(0, 0.4), 0U);
    EXPECT_EQ(bad.red(0.85, 1), 0U);
}

TEST_F(Picture, ShowsWhereTheSoundIs) {
    std::vector<float> samples = tone(440, -12, 4 * RATE);
    std::fill(samples.begin() + 2 * RATE, samples.end(), 0.0F);
    const Pixels pixels = draw(recordingOf(samples), {});
    EXPECT_GT(pixels.dark(0.2, 0.45), 2 * pixels.dark(0.65, 0.9));
}

TEST_F(Picture, ShowsTheStreams) {
    Recording recording = recordingOf(std::vector<float>(RATE));
    const int without = draw(recording, {}).height();
    addStream(recording, "prompt", tone(440, -12, RATE / 2), 0);
    addStream(recording, "<music & \"more\">\xff\n", tone(440, -12, RATE / 2), 0);
    EXPECT_GT(draw(recording, {}).height(), without);
}

TEST_F(Picture, AnyRecordingCanBeDrawn) {
    for (unsigned channels = 1; channels <= 8; ++channels)
        for (const std::size_t frames : {0U, 1U, 100U, 5000U})
            EXPECT_GT(draw(recordingOf(std::vector<float>(frames, 2.0F), channels),
                           {"silence [3..4]", "level -12"})
                          .height(),
                      100);
    EXPECT_GT(draw(recordingOf(std::vector<float>(100, NAN)), {"level -12"}).height(), 100);
}

TEST_F(Picture, FileThatCannotBeWrittenIsAnError) {
    const Recording recording = recordingOf(tone(440, -12, RATE));
    EXPECT_THAT(errorOfDrawing("/nowhere/a.png", recording), HasSubstr("/nowhere/a.png: "));
    EXPECT_THAT(errorOfDrawing("/dev/full", recording), HasSubstr("/dev/full: "));
}

#else

TEST(Picture, BuildWithoutCairoSaysSo) {
    EXPECT_THAT(errorOfDrawing("a.png", recordingOf(tone(440, -12, RATE))),
                HasSubstr("built without Cairo"));
}

#endif

}  // namespace

}  // namespace cabinaudio::test
