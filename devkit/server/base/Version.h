// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>

namespace cabinaudio::server {

/// The project's version, from CMakeLists.txt. Clients get it as the first triple; the second
/// triple and the single number are 0.
inline constexpr std::array<std::int32_t, 3> SERVER_VERSION = {
    CABINAUDIO_VERSION_MAJOR, CABINAUDIO_VERSION_MINOR, CABINAUDIO_VERSION_PATCH};

}  // namespace cabinaudio::server
