// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

namespace cabinaudio::replay {

/// A client for people, such as `volume "settings"`.
[[nodiscard]] std::string titleOf(std::uint32_t type, const std::string& name);

/// A function of a connection type, such as `getMasterVolume`; "function 99" for an unknown one.
[[nodiscard]] std::string operationName(std::uint32_t type, std::uint32_t function);

}  // namespace cabinaudio::replay
