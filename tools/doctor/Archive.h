// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace cabinaudio::tool {

/// A file in an archive.
struct Member {
    std::string name;
    std::string content;
    std::string what;  // a line for the user
};

/// A tar archive of these files below one directory, compressed with gzip. It tells neither the
/// user nor the machine that has made it.
/// @throws Failure when it cannot be made, or this program is built without libarchive
[[nodiscard]] std::string archiveOf(const std::string& directory,
                                    const std::vector<Member>& members);

}  // namespace cabinaudio::tool
