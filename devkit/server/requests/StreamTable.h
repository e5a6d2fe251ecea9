// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/requests/Operation.h"
#include "wire/StreamOperations.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <tuple>

namespace cabinaudio::server {

/// Whether a table has this operation, by id, name and sizes.
template <std::size_t SIZE, typename Row>
constexpr bool covers(const std::array<Operation, SIZE>& table, const Row& entry) {
    return std::any_of(table.begin(), table.end(), [&](const Operation& row) {
        return row.id == static_cast<std::uint32_t>(Row::ID) &&
               std::string_view(row.name) == entry.name &&
               row.requestSize == sizeof(typename Row::Request) &&
               row.replySize == sizeof(typename Row::Reply);
    });
}

/// Whether a table has exactly the operations of a kind of stream.
template <std::size_t SIZE, typename... Rows>
constexpr bool coversAll(const std::array<Operation, SIZE>& table,
                         const std::tuple<Rows...>& catalogue) {
    const auto coversThese = [&](const Rows&... rows) { return (covers(table, rows) && ...); };
    return SIZE == sizeof...(Rows) && std::apply(coversThese, catalogue);
}

}  // namespace cabinaudio::server
