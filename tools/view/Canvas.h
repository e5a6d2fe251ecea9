// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

namespace cabinaudio::tool::view {

/// Red, green and blue, 0 to 255.
struct Colour {
    unsigned char red = 0;
    unsigned char green = 0;
    unsigned char blue = 0;
    double alpha = 1;
};

struct Box {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
    double radius = 0;  // of the corners
};

struct Font {
    enum class Anchor { Start, Middle, End };

    double size = 13;
    Anchor anchor = Anchor::Start;
    bool isBold = false;
};

/// Where a picture is drawn. Pixels; y counts downwards.
class Canvas {
public:
    Canvas() = default;
    virtual ~Canvas() = default;
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    virtual void fill(const Box& box, const Colour& colour) = 0;
    virtual void outline(const Box& box, const Colour& colour) = 0;
    virtual void disc(double x, double y, double radius, const Colour& colour) = 0;
    virtual void line(double x1, double y1, double x2, double y2, const Colour& colour) = 0;
    /// @param y  of the base line
    virtual void text(double x, double y, const std::string& text, const Font& font,
                      const Colour& colour) = 0;
    /// @throws Failure when the file cannot be written
    virtual void save(const std::string& file) = 0;
};

/// @param title  for readers who do not see the picture
[[nodiscard]] std::unique_ptr<Canvas> makeSvgCanvas(double width, double height,
                                                    const std::string& title);
/// @throws Failure in a build without Cairo
[[nodiscard]] std::unique_ptr<Canvas> makePngCanvas(double width, double height);

}  // namespace cabinaudio::tool::view
