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

/// The string of a field, which may fill the field without a terminator.
inline std::string textOf(const wire::Name& name) {
    return {name.text, strnlen(name.text, sizeof name.text)};
}

inline void appendSlot(const wire::Name& slot, std::vector<std::string>& to) {
    to.push_back(textOf(slot));
}
/// Slots are records defined by the server; the application has them as opaque bytes.
template <typename Slot, typename Item>
void appendSlot(const Slot& slot, std::vector<Item>& to) {
    static_assert(sizeof(Slot) == sizeof(Item) && std::is_trivially_copyable_v<Item>);
    std::memcpy(&to.emplace_back(), &slot, sizeof slot);
}

/// Appends slots of a reply. The count of the server is clamped to the slots of the reply.
/// Exhausted memory ends the process here, as it does in make(); no exception leaves the library.
template <typename Slot, std::size_t SLOTS, typename Item>
void append(const Slot (&slots)[SLOTS], std::int32_t count, std::vector<Item>& to) noexcept {
    count = std::clamp(count, std::int32_t{0}, static_cast<std::int32_t>(SLOTS));
    for (std::int32_t i = 0; i < count; ++i)
        appendSlot(slots[i], to);
}

/// Replaces a string by that of a field. Exhausted memory ends the process, as above.
inline void assign(std::string& to, const wire::Name& from) noexcept {
    to = textOf(from);
}

}  // namespace cabinaudio::setting
