// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/trace/Record.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace cabinaudio::trace {

/// Takes the bytes of a capture in pieces of any size and gives its records. Accepts every pcapng
/// stream of our link type: both byte orders, any time resolution, several sections, and blocks of
/// other sorts, which it skips. Not thread-safe.
class CaptureDecoder {
public:
    /// Larger blocks are invalid.
    static constexpr std::uint32_t MAXIMUM_BLOCK = 16 << 20;

    void add(std::span<const std::uint8_t> bytes);
    /// @return the next whole record; empty if more bytes are needed
    /// @throws Error  the bytes are no capture; the text begins with the place. Nothing follows.
    [[nodiscard]] std::optional<Record> next();

    /// Bytes of the block that is not complete yet; 0 between two blocks.
    [[nodiscard]] std::size_t pending() const { return mInput.size() - mBegin; }
    /// Place of the block that next() looks at, in bytes since the beginning.
    [[nodiscard]] std::uint64_t offset() const { return mOffset; }
    /// Whether the beginning of a section was seen.
    [[nodiscard]] bool hasBegun() const { return mHasBegun; }

private:
    struct Interface {
        std::uint16_t linkType = 0;
        std::uint8_t resolution = 6;  // as in the file
        std::int64_t offsetSeconds = 0;
    };

    [[nodiscard]] std::span<const std::uint8_t> block();
    void beginSection(std::span<const std::uint8_t> block);
    void addInterface(std::span<const std::uint8_t> block);
    void readOptions(std::span<const std::uint8_t> options, Interface& interface) const;
    [[nodiscard]] Record recordOf(std::span<const std::uint8_t> block) const;
    [[nodiscard]] Record unpacked(std::span<const std::uint8_t> data) const;
    [[nodiscard]] const Interface& interfaceOf(std::uint32_t number) const;
    [[nodiscard]] std::uint16_t half(std::span<const std::uint8_t> bytes, std::size_t at) const;
    [[nodiscard]] std::uint32_t word(std::span<const std::uint8_t> bytes, std::size_t at) const;
    [[noreturn]] void fail(const std::string& text) const;

    std::vector<std::uint8_t> mInput;
    std::size_t mBegin = 0;     // of the bytes that were not decoded yet
    std::uint64_t mOffset = 0;  // of these bytes in the capture
    bool mHasBegun = false;
    bool mIsSwapped = false;  // the section's numbers are big-endian
    std::vector<Interface> mInterfaces;
};

}  // namespace cabinaudio::trace
