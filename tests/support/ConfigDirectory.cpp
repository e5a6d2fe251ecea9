// SPDX-License-Identifier: Apache-2.0
#include "tests/support/ConfigDirectory.h"

#include "devkit/board/Board.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace cabinaudio::test {

std::string contentsOf(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

ConfigDirectory::ConfigDirectory() {
    std::string name = std::filesystem::temp_directory_path() / "cabinaudio-diag-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("mkdtemp");
    mTop = name;
    std::filesystem::create_directory(path());
    setenv(board::CONFIG_DIRECTORY_VARIABLE, path().c_str(), 1);
}

ConfigDirectory::~ConfigDirectory() {
    unsetenv(board::CONFIG_DIRECTORY_VARIABLE);
    std::error_code gone;
    std::filesystem::remove_all(mTop, gone);
}

void ConfigDirectory::write(const std::string& text) const {
    std::ofstream(file(), std::ios::binary | std::ios::trunc) << text;
}

}  // namespace cabinaudio::test
