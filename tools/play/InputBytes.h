// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace cabinaudio::tool {

class Event;

/// The bytes of a file, a pipe or a device, read from front to back. The first ones can be looked
/// at before they are read. One thread at a time. All functions throw Failure when the system
/// reports an error.
class InputBytes {
public:
    using Bytes = std::span<const std::uint8_t>;

    /// @param path  "-" is standard input
    explicit InputBytes(const std::string& path);
    ~InputBytes();
    InputBytes(const InputBytes&) = delete;
    InputBytes& operator=(const InputBytes&) = delete;

    [[nodiscard]] int descriptor() const { return mDescriptor; }
    /// Whether it is a file that can be read at any place; a pipe cannot.
    [[nodiscard]] bool isSeekable() const { return mStart >= 0; }
    /// Bytes from here to the end of a file; empty for a pipe.
    [[nodiscard]] std::optional<std::uint64_t> left() const;

    /// The next bytes without reading them; waits for `count` of them. @return fewer at the end
    [[nodiscard]] Bytes peek(std::size_t count);
    /// Fills `to`; waits for all of it. @return bytes; fewer at the end
    std::size_t read(std::span<std::uint8_t> to);
    /// Waits for one byte. @return bytes, 0 at the end
    std::size_t readSome(std::span<std::uint8_t> to);
    /// Waits until a read has something, or an end. @return false if the event came first
    [[nodiscard]] bool wait(const Event& event) const;
    /// Back to the first byte of a file.
    void rewind();

private:
    std::size_t takeHead(std::span<std::uint8_t> to);
    [[nodiscard]] std::size_t readOnce(std::span<std::uint8_t> to) const;

    int mDescriptor;
    std::int64_t mStart;              // offset of the first byte; -1 for a pipe
    std::vector<std::uint8_t> mHead;  // looked at, not read
};

}  // namespace cabinaudio::tool
