// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

namespace cabinaudio::test {

/// Whole contents of a file; empty when there is none.
[[nodiscard]] std::string contentsOf(const std::filesystem::path& file);

/// A new directory that is removed with all it holds. Other users may look into it.
class TemporaryDirectory {
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return mPath; }
    [[nodiscard]] std::string file(const std::string& name) const { return mPath / name; }

private:
    std::filesystem::path mPath;
};

}  // namespace cabinaudio::test
