// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "client/Setting.h"
#include "wire/Settings.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace cabinaudio::setting {

/// The text of a field; it may fill the field to the last byte.
inline std::string textOf(const wire::Name& name) {
    return {name.text, strnlen(name.text, sizeof name.text)};
}
template <typename Record>
const Record& textOf(const Record& record) {
    return record;
}

/// Appends slots of a reply. A server that counts more than the reply has room for is not believed.
/// Exhausted memory ends the process here, as it does in make(); no exception leaves the library.
template <typename Slot, std::size_t SLOTS, typename Item>
void append(const Slot (&slots)[SLOTS], std::int32_t count, std::vector<Item>& to) noexcept {
    count = std::clamp(count, std::int32_t{0}, static_cast<std::int32_t>(SLOTS));
    for (std::int32_t i = 0; i < count; ++i)
        to.push_back(textOf(slots[i]));
}

/// A result of an operation: the reply's list, appended to the caller's.
template <typename Slot, std::uint32_t SLOTS, typename Item>
auto appendedTo(std::vector<Item>& to) {
    using Slots = wire::List<Slot, SLOTS>;
    return received<Slots>([&to](const Slots& from) { append(from.slots, from.count, to); });
}

/// Replaces a text by that of a field, on the same terms.
inline void assign(std::string& to, const wire::Name& from) noexcept {
    to = textOf(from);
}

}  // namespace cabinaudio::setting
