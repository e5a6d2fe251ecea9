// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/Files.h"

#include <filesystem>
#include <string>

namespace cabinaudio::test {

/// A fresh directory that the board's diagnostics file is in for as long as this lives.
class ConfigDirectory {
public:
    ConfigDirectory();
    ~ConfigDirectory();
    ConfigDirectory(const ConfigDirectory&) = delete;
    ConfigDirectory& operator=(const ConfigDirectory&) = delete;

    /// Room for anything else that a test leaves behind.
    [[nodiscard]] const std::filesystem::path& top() const { return mTop.path(); }
    /// The directory of the diagnostics file, which exists.
    [[nodiscard]] std::filesystem::path path() const { return top() / "flash"; }
    [[nodiscard]] std::filesystem::path file() const { return path() / "audio_config"; }

    void write(const std::string& text) const;
    [[nodiscard]] std::string text() const { return contentsOf(file()); }

private:
    TemporaryDirectory mTop;
};

}  // namespace cabinaudio::test
