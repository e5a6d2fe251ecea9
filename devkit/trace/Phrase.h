// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

/// What happens on a connection, in the words of the server's --trace and of 'cabinaudio trace'.
/// The texts contain nothing that a terminal would obey. Stateless functions; any thread.
namespace cabinaudio::trace {

/// "setMasterVolume(-3 dB) -> ok [14 us]"
/// @param payload  of the request: at least the function id
/// @param body     of the reply: as much as was sent
[[nodiscard]] std::string phraseOf(std::uint32_t type, std::span<const std::uint8_t> payload,
                                   std::span<const std::uint8_t> body, std::uint64_t microseconds);
/// The same for a request that was not answered: "setMasterVolume(-3 dB) -> no reply"
[[nodiscard]] std::string phraseOf(std::uint32_t type, std::span<const std::uint8_t> payload);
/// "<- ring ready"
[[nodiscard]] std::string phraseOfEvent(std::uint32_t type, std::uint32_t event,
                                        std::uint32_t param);

/// A line without time and end: `#1 volume "unkn" registered`
/// @param name  as the client gave it
[[nodiscard]] std::string lineOf(std::uint32_t handle, std::uint32_t type, std::string_view name,
                                 std::string_view phrase);

}  // namespace cabinaudio::trace
