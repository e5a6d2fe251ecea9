// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/requests/Operation.h"
#include "wire/Settings.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <type_traits>

namespace cabinaudio::server {

/// The row of a setting. Id, name and records come from the catalogue.
template <auto ID, auto FUNCTION>
constexpr Operation setting() {
    using Types = detail::Signature<decltype(FUNCTION)>;
    static_assert(std::is_same_v<typename Types::RequestType, wire::RequestOf<ID>>,
                  "The function takes another request.");
    static_assert(std::is_same_v<typename Types::ReplyType, wire::ReplyOf<ID>>,
                  "The function gives another reply.");
    return operation<FUNCTION>(ID, wire::SETTING<ID>.name);
}

/// Whether a table has exactly the settings of a connection type.
template <std::size_t SIZE, typename... Settings>
constexpr bool coversAll(const std::array<Operation, SIZE>& table,
                         const wire::Settings<Settings...>& settings) {
    bool isComplete = SIZE == sizeof...(Settings);
    wire::forEach(settings, [&](const auto& entry) {
        isComplete =
            isComplete && std::any_of(table.begin(), table.end(), [&](const Operation& row) {
                return row.id ==
                       static_cast<std::uint32_t>(std::remove_cvref_t<decltype(entry)>::ID);
            });
    });
    return isComplete;
}

}  // namespace cabinaudio::server
