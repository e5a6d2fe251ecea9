// SPDX-License-Identifier: Apache-2.0
#include "devkit/text/Printable.h"
#include "tools/Failure.h"
#include "tools/view/Canvas.h"

#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>
#include <string_view>

namespace cabinaudio::tool::view {

namespace {

std::string numberText(double number) {
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, number, std::chars_format::fixed, 1);
    return {text, end.ptr};
}

std::string escapedXml(const std::string& plain) {
    std::string result;
    for (const char letter : text::printable(plain)) {
        if (letter == '<')
            result += "&lt;";
        else if (letter == '&')
            result += "&amp;";
        else if (letter == '"')
            result += "&quot;";
        else
            result += letter;
    }
    return result;
}

/// ` x="12.0"`
std::string attribute(std::string_view name, double number) {
    return " " + std::string(name) + "=\"" + numberText(number) + "\"";
}

/// ` fill="rgb(1,2,3)"`
std::string paint(const std::string& name, const Colour& colour) {
    std::string text = " " + name + "=\"rgb(" + std::to_string(colour.red) + "," +
                       std::to_string(colour.green) + "," + std::to_string(colour.blue) + ")\"";
    if (colour.alpha < 1) text += attribute(name + "-opacity", colour.alpha);
    return text;
}

std::string place(const Box& box) {
    return attribute("x", box.x) + attribute("y", box.y) + attribute("width", box.width) +
           attribute("height", box.height) + attribute("rx", box.radius);
}

const char* anchorName(Font::Anchor anchor) {
    if (anchor == Font::Anchor::Middle) return "middle";
    return anchor == Font::Anchor::End ? "end" : "start";
}

class SvgCanvas : public Canvas {
public:
    SvgCanvas(double width, double height, const std::string& title) {
        const std::string size = numberText(width) + " " + numberText(height);
        mText = R"(<svg xmlns="http://www.w3.org/2000/svg" role="img" font-family="sans-serif")" +
                attribute("width", width) + attribute("height", height) + " viewBox=\"0 0 " + size +
                "\">\n<title>" + escapedXml(title) + "</title>\n";
    }

    void fill(const Box& box, const Colour& colour) override {
        add("<rect" + place(box) + paint("fill", colour) + "/>");
    }
    void outline(const Box& box, const Colour& colour) override {
        add("<rect" + place(box) + R"( fill="none" stroke-width="1.5")" + paint("stroke", colour) +
            "/>");
    }
    void disc(double x, double y, double radius, const Colour& colour) override {
        add("<circle" + attribute("cx", x) + attribute("cy", y) + attribute("r", radius) +
            paint("fill", colour) + "/>");
    }
    void line(double x1, double y1, double x2, double y2, const Colour& colour) override {
        add("<line" + attribute("x1", x1) + attribute("y1", y1) + attribute("x2", x2) +
            attribute("y2", y2) + paint("stroke", colour) + "/>");
    }
    void text(double x, double y, const std::string& text, const Font& font,
              const Colour& colour) override {
        add("<text" + attribute("x", x) + attribute("y", y) + attribute("font-size", font.size) +
            " text-anchor=\"" + anchorName(font.anchor) + "\"" +
            (font.isBold ? R"( font-weight="bold")" : "") + paint("fill", colour) + ">" +
            escapedXml(text) + "</text>");
    }
    void save(const std::string& file) override {
        errno = 0;
        std::ofstream stream(file);
        stream << mText << "</svg>\n";
        stream.close();
        if (!stream) throw Failure("cannot write " + file + ": " + std::strerror(errno));
    }

private:
    void add(const std::string& element) { mText += element + "\n"; }

    std::string mText;
};

}  // namespace

std::unique_ptr<Canvas> makeSvgCanvas(double width, double height, const std::string& title) {
    return std::make_unique<SvgCanvas>(width, height, title);
}

}  // namespace cabinaudio::tool::view
