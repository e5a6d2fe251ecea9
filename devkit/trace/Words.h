// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace cabinaudio::trace {

/// How an operation is written in traces.
struct Words {
    const char* name;
    std::size_t requestSize;  // least bytes of a payload, function id included
    std::size_t replySize;    // least bytes of a reply's body, status included
    /// The arguments, empty if there are none. `payload` has at least requestSize bytes.
    std::string (*request)(std::span<const std::uint8_t> payload);
    /// The results, empty if there are none. `body` has at least replySize bytes.
    std::string (*reply)(std::span<const std::uint8_t> body);
};

/// The words of an operation of a connection type; null for an unknown operation. Any thread.
[[nodiscard]] const Words* wordsOf(std::uint32_t type, std::uint32_t function);

}  // namespace cabinaudio::trace
