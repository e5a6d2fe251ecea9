// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "wire/Layout.h"

#include <cstddef>
#include <cstdint>

// Requests of the settings connections. Function ids are counted per connection type.
namespace cabinaudio::wire {

enum class VersionFunction : std::uint32_t {
    GetServerVersions = 0,
};

struct VersionReply {
    std::int32_t status;     // 0
    std::int32_t first[3];   // 4   the server's version
    std::int32_t second[3];  // 16
    std::int32_t third;      // 28
};
static_assert(Layout<VersionReply>);
static_assert(sizeof(VersionReply) == 32);
static_assert(offsetof(VersionReply, status) == 0);
static_assert(offsetof(VersionReply, first) == 4);
static_assert(offsetof(VersionReply, second) == 16);
static_assert(offsetof(VersionReply, third) == 28);

}  // namespace cabinaudio::wire
