// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

namespace cabinaudio::bench {

/// A temporary directory that its destructor removes.
class ScratchDirectory {
public:
    ScratchDirectory();
    ~ScratchDirectory();
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    /// A new directory in it.
    [[nodiscard]] std::string make(const std::string& name) const;

private:
    std::filesystem::path mPath;
};

}  // namespace cabinaudio::bench
