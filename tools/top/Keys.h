// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/top/View.h"

#include <string>
#include <variant>

namespace cabinaudio::tool::top {

/// Keys without a character, beyond all characters.
enum Key : int {
    NO_KEY = -1,
    KEY_RESIZED = 0x110000,
    KEY_ROW_UP,
    KEY_ROW_DOWN,
    KEY_FIRST,
    KEY_LAST
};

/// Sets a volume or a mute through the library.
struct SettingChange {
    std::string setting;
    std::variant<double, bool> value;  // dB, or on and off
};

/// A line for the server's control socket.
struct ServerCommand {
    std::string line;
};

struct Nothing {};
struct Quit {};

using Action = std::variant<Nothing, Quit, SettingChange, ServerCommand>;

/// Changes the view as a key asks. @return what remains to be done
/// @param figures  whose streams are in the order of the screen
[[nodiscard]] Action onKey(int key, View& view, const Figures& figures);

/// Puts the new value into the figures: the next key may come before the server's next state.
void anticipate(const SettingChange& change, Figures& figures);

}  // namespace cabinaudio::tool::top
