// SPDX-License-Identifier: Apache-2.0
#include "tests/support/Files.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace cabinaudio::test {

namespace fs = std::filesystem;

std::string contentsOf(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

TemporaryDirectory::TemporaryDirectory() {
    std::string path = fs::temp_directory_path() / "cabinaudio-XXXXXX";
    if (mkdtemp(path.data()) == nullptr) throw std::runtime_error("mkdtemp");
    mPath = path;
    fs::permissions(mPath, fs::perms(0755));
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ignored;
    fs::remove_all(mPath, ignored);
}

}  // namespace cabinaudio::test
