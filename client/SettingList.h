// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "wire/Settings.h"

#include <algorithm>
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

/// Appends what a reply lists. A server that counts more than the reply has room for is not
/// believed.
template <typename Slot, std::uint32_t SLOTS, typename Item>
void append(const wire::List<Slot, SLOTS>& from, std::vector<Item>& to) {
    const std::int32_t count =
        std::clamp(from.count, std::int32_t{0}, static_cast<std::int32_t>(SLOTS));
    for (std::int32_t i = 0; i < count; ++i)
        to.push_back(textOf(from.slots[i]));
}

}  // namespace cabinaudio::setting
