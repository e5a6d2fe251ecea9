// SPDX-License-Identifier: Apache-2.0
//
// Pieces of findings and cures.
#include "tools/doctor/SoundChecks.h"

#include <cstdio>

namespace cabinaudio::tool {

std::string ServerState::command(const std::string& words) const {
    return "cabinaudio " + words + (instance.empty() ? "" : " --instance " + instance);
}

std::string shellWord(const std::string& name) {
    constexpr char PLAIN[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz.,:+-";
    if (!name.empty() && name.find_first_not_of(PLAIN) == std::string::npos) return name;
    std::string text = "'";
    for (const char letter : name)
        text += letter == '\'' ? std::string("'\\''") : std::string(1, letter);
    return text + "'";
}

std::string joined(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names)
        text += (text.empty() ? "" : ", ") + name;
    return text;
}

std::string decibelText(double dB) {
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", dB);
    std::string number = text;
    number.erase(number.find_last_not_of('0') + 1);
    if (number.back() == '.') number.pop_back();
    return (number == "-0" ? "0" : number) + " dB";
}

}  // namespace cabinaudio::tool
