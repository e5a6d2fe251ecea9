// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/Files.h"

#include <filesystem>
#include <initializer_list>
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

/// A diagnostics file that asks for the dumps of clients' streams with these tags, and the dumps,
/// those of each tag in a directory of its own.
class DumpDirectory : public ConfigDirectory {
public:
    DumpDirectory(std::initializer_list<const char*> tags);

    /// All dumps of a stream, one behind the other. A file with another name counts as its name.
    [[nodiscard]] std::string dumped(const std::string& tag, const std::string& name) const;
};

}  // namespace cabinaudio::test
