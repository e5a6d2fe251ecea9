// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>

namespace cabinaudio::tool {

/// A file that is written sequentially. The kernel has all bytes when write() returns.
class OutputFile {
public:
    /// @param path  "-" is standard output
    /// @throws Failure
    explicit OutputFile(const std::string& path);

    /// @throws Failure, for example when the disk is full
    void write(std::span<const std::uint8_t> bytes);
    void close();

private:
    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    std::unique_ptr<std::FILE, Close> mFile;
};

/// @return a descriptor of a new file, or of standard output
/// @throws Failure
[[nodiscard]] int createFile(const std::string& path);

}  // namespace cabinaudio::tool
