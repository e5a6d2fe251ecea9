// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "wire/Settings.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

namespace cabinaudio::setting {

/// The text of a field; it may fill the field to the last byte.
inline std::string textOf(const wire::Name& name) {
    return {name.text, strnlen(name.text, sizeof name.text)};
}

inline void appendSlot(const wire::Name& slot, std::vector<std::string>& to) {
    to.push_back(textOf(slot));
}
/// Slots are records of the server's own, which the application knows as bytes.
template <typename Slot, typename Item>
void appendSlot(const Slot& slot, std::vector<Item>& to) {
    static_assert(sizeof(Slot) == sizeof(Item) && std::is_trivially_copyable_v<Item>);
    std::memcpy(&to.emplace_back(), &slot, sizeof slot);
}

/// Appends slots of a reply. A server that counts more than the reply has room for is not believed.
/// Exhausted memory ends the process here, as it does in make(); no exception leaves the library.
template <typename Slot, std::size_t SLOTS, typename Item>
void append(const Slot (&slots)[SLOTS], std::int32_t count, std::vector<Item>& to) noexcept {
    count = std::clamp(count, std::int32_t{0}, static_cast<std::int32_t>(SLOTS));
    for (std::int32_t i = 0; i < count; ++i)
        appendSlot(slots[i], to);
}

/// Replaces a text by that of a field, on the same terms.
inline void assign(std::string& to, const wire::Name& from) noexcept {
    to = textOf(from);
}

}  // namespace cabinaudio::setting
