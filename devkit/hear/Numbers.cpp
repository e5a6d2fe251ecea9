// SPDX-License-Identifier: Apache-2.0
#include "devkit/hear/Numbers.h"

#include <cmath>
#include <iomanip>
#include <limits>
#include <locale>
#include <sstream>

namespace cabinaudio::hear {
namespace {

std::string fixed(double value, int digits) {
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    stream << std::fixed << std::setprecision(digits) << value;
    return stream.str();
}

}  // namespace

std::string numberText(double value, int digits) {
    std::string text = fixed(value, digits);
    if (text.find('.') != std::string::npos) {
        text.erase(text.find_last_not_of('0') + 1);
        if (text.back() == '.') text.pop_back();
    }
    return text == "-0" ? "0" : text;
}

std::string secondsText(double seconds) {
    return fixed(seconds, 3) + " s";
}

std::string levelText(double db) {
    return std::isinf(db) && db < 0 ? "silence" : fixed(db, 2) + " dBFS";
}

double decibels(double amplitude) {
    return amplitude > 0 ? 20 * std::log10(amplitude) : -std::numeric_limits<double>::infinity();
}

double amplitudeOf(double db) {
    return std::pow(10, db / 20);
}

std::size_t frameAt(double seconds, unsigned rate) {
    // 0.3 s at 48 kHz is frame 14400, although the product is a little less.
    constexpr double SLACK = 1e-6;
    return static_cast<std::size_t>(std::floor(seconds * rate + SLACK));
}

}  // namespace cabinaudio::hear
