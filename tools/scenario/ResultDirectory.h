// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace cabinaudio::tool::scenario {

/// Where a scenario's sounds, reports and logs go.
class ResultDirectory {
public:
    /// @param kept  made with its parents if it does not exist, and never removed; empty: a new
    ///              directory under $TMPDIR, which the destructor removes unless keep() was called
    /// @throws Failure when it cannot be made, or has files of an earlier run that cannot be
    ///         removed
    explicit ResultDirectory(const std::string& kept);
    ~ResultDirectory();
    ResultDirectory(const ResultDirectory&) = delete;
    ResultDirectory& operator=(const ResultDirectory&) = delete;

    [[nodiscard]] const std::string& path() const { return mPath; }
    [[nodiscard]] std::string file(const std::string& name) const { return mPath + "/" + name; }

    /// Names of its files, sorted; those in sub-directories are left out.
    [[nodiscard]] std::vector<std::string> files() const;

    void keep() { mIsKept = true; }
    [[nodiscard]] bool isKept() const { return mIsKept; }

private:
    std::string mPath;
    bool mIsKept;
};

}  // namespace cabinaudio::tool::scenario
