// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/trace/CaptureDecoder.h"

#include <cstddef>
#include <optional>
#include <string>

namespace cabinaudio::trace {

/// Reads the records of a capture from a file, a pipe or a socket. Not thread-safe.
class CaptureReader {
public:
    /// @throws Error  the file cannot be opened
    explicit CaptureReader(const std::string& path);
    /// @param fd    stays with the caller
    /// @param name  for errors
    CaptureReader(int fd, std::string name);
    ~CaptureReader();
    CaptureReader(const CaptureReader&) = delete;
    CaptureReader& operator=(const CaptureReader&) = delete;

    /// Blocks until a record is there.
    /// @return empty at the end of the capture
    /// @throws Error  the file is no capture, or is cut off; its whole records were given before
    [[nodiscard]] std::optional<Record> next();

    /// Bytes that were read.
    [[nodiscard]] std::uint64_t size() const { return mSize; }

private:
    [[nodiscard]] std::optional<Record> decoded();
    [[nodiscard]] bool read();
    void checkEnd() const;

    int mFd;
    bool mIsOwner;
    std::string mName;
    std::uint64_t mSize = 0;
    CaptureDecoder mDecoder;
};

}  // namespace cabinaudio::trace
