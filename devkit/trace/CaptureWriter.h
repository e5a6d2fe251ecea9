// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/trace/Record.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace cabinaudio::trace {

/// The bytes that begin a capture.
[[nodiscard]] std::vector<std::uint8_t> openingBlocks();
/// The bytes of one record.
[[nodiscard]] std::vector<std::uint8_t> blockOf(const Record& record);

/// Writes a capture into a file, in pieces. Not thread-safe.
class CaptureWriter {
public:
    /// Empties the file, or creates it, and writes the beginning.
    /// @throws Error  that is not possible
    explicit CaptureWriter(const std::string& path);
    /// Writes the beginning.
    /// @param fd    stays with the caller
    /// @param name  for errors
    CaptureWriter(int fd, std::string name);
    /// Writes the rest, if it can.
    ~CaptureWriter();
    CaptureWriter(const CaptureWriter&) = delete;
    CaptureWriter& operator=(const CaptureWriter&) = delete;

    /// @throws Error  the file cannot be written
    void write(const Record& record);
    /// The same, for bytes of whole blocks.
    void write(std::span<const std::uint8_t> blocks);
    /// Hands everything over to the system.
    /// @throws Error  the file cannot be written; what was not written is dropped
    void flush();

private:
    int mFd;
    bool mIsOwner;
    std::string mName;
    std::vector<std::uint8_t> mBuffer;
};

}  // namespace cabinaudio::trace
