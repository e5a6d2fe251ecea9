// SPDX-License-Identifier: Apache-2.0
#include "bench/support/ScratchDirectory.h"

#include "bench/support/Errors.h"

#include <cstdlib>

namespace cabinaudio::bench {

ScratchDirectory::ScratchDirectory() {
    std::string path = std::filesystem::temp_directory_path() / "cabinaudio-bench-XXXXXX";
    if (mkdtemp(path.data()) == nullptr) raise(errno, "mkdtemp");
    mPath = path;
    // Servers that drop root privileges must still find their files in it.
    std::filesystem::permissions(
        mPath, std::filesystem::perms::group_exec | std::filesystem::perms::others_exec,
        std::filesystem::perm_options::add);
}

ScratchDirectory::~ScratchDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(mPath, ignored);
}

std::string ScratchDirectory::make(const std::string& name) const {
    std::filesystem::create_directory(mPath / name);
    return mPath / name;
}

}  // namespace cabinaudio::bench
