// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace cabinaudio::test {

/// A new directory that is removed with all it holds.
class TemporaryDirectory {
public:
    TemporaryDirectory()
        : mPath((std::filesystem::temp_directory_path() / "cabinaudio.XXXXXX").string()) {
        if (mkdtemp(mPath.data()) == nullptr) throw std::runtime_error(mPath);
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(mPath, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    [[nodiscard]] const std::string& path() const { return mPath; }
    [[nodiscard]] std::string file(const std::string& name) const { return mPath + "/" + name; }

private:
    std::string mPath;
};

}  // namespace cabinaudio::test
