// SPDX-License-Identifier: Apache-2.0
#include "devkit/text/Printable.h"
#include "tools/Failure.h"
#include "tools/view/Canvas.h"

#include <cairo/cairo.h>

#include <numbers>

namespace cabinaudio::tool::view {

namespace {

constexpr double PI = std::numbers::pi;
constexpr double FULL = 255;

struct Destroy {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
    void operator()(cairo_t* context) const { cairo_destroy(context); }
};

class PngCanvas : public Canvas {
public:
    PngCanvas(double width, double height)
        : mSurface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(width),
                                              static_cast<int>(height))),
          mContext(cairo_create(mSurface.get())) {
        cairo_set_line_width(mContext.get(), 1.5);
    }

    void fill(const Box& box, const Colour& colour) override {
        trace(box);
        use(colour);
        cairo_fill(mContext.get());
    }
    void outline(const Box& box, const Colour& colour) override {
        trace(box);
        use(colour);
        cairo_stroke(mContext.get());
    }
    void disc(double x, double y, double radius, const Colour& colour) override {
        cairo_new_path(mContext.get());
        cairo_arc(mContext.get(), x, y, radius, 0, 2 * PI);
        use(colour);
        cairo_fill(mContext.get());
    }
    void line(double x1, double y1, double x2, double y2, const Colour& colour) override {
        cairo_move_to(mContext.get(), x1, y1);
        cairo_line_to(mContext.get(), x2, y2);
        use(colour);
        cairo_stroke(mContext.get());
    }
    void text(double x, double y, const std::string& plain, const Font& font,
              const Colour& colour) override {
        const std::string shown = text::printable(plain);
        cairo_select_font_face(mContext.get(), "sans-serif", CAIRO_FONT_SLANT_NORMAL,
                               font.isBold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
        cairo_set_font_size(mContext.get(), font.size);
        cairo_text_extents_t extents;
        cairo_text_extents(mContext.get(), shown.c_str(), &extents);
        if (font.anchor == Font::Anchor::Middle) x -= extents.x_advance / 2;
        if (font.anchor == Font::Anchor::End) x -= extents.x_advance;
        use(colour);
        cairo_move_to(mContext.get(), x, y);
        cairo_show_text(mContext.get(), shown.c_str());
    }
    void save(const std::string& file) override {
        const cairo_status_t status = cairo_surface_write_to_png(mSurface.get(), file.c_str());
        if (status != CAIRO_STATUS_SUCCESS)
            throw Failure("cannot write " + file + ": " + cairo_status_to_string(status));
    }

private:
    void use(const Colour& colour) {
        cairo_set_source_rgba(mContext.get(), colour.red / FULL, colour.green / FULL,
                              colour.blue / FULL, colour.alpha);
    }
    void trace(const Box& box) {
        const double right = box.x + box.width - box.radius;
        const double bottom = box.y + box.height - box.radius;
        const double left = box.x + box.radius;
        const double top = box.y + box.radius;
        cairo_new_path(mContext.get());
        cairo_arc(mContext.get(), right, top, box.radius, -PI / 2, 0);
        cairo_arc(mContext.get(), right, bottom, box.radius, 0, PI / 2);
        cairo_arc(mContext.get(), left, bottom, box.radius, PI / 2, PI);
        cairo_arc(mContext.get(), left, top, box.radius, PI, 3 * PI / 2);
        cairo_close_path(mContext.get());
    }

    const std::unique_ptr<cairo_surface_t, Destroy> mSurface;
    const std::unique_ptr<cairo_t, Destroy> mContext;
};

}  // namespace

std::unique_ptr<Canvas> makePngCanvas(double width, double height) {
    return std::make_unique<PngCanvas>(width, height);
}

}  // namespace cabinaudio::tool::view
