// SPDX-License-Identifier: Apache-2.0
#include "tests/support/ConfigDirectory.h"

#include "devkit/board/Board.h"

#include <cstdlib>
#include <fstream>

namespace cabinaudio::test {

ConfigDirectory::ConfigDirectory() {
    std::filesystem::create_directory(path());
    setenv(board::CONFIG_DIRECTORY_VARIABLE, path().c_str(), 1);
}

ConfigDirectory::~ConfigDirectory() {
    unsetenv(board::CONFIG_DIRECTORY_VARIABLE);
}

void ConfigDirectory::write(const std::string& text) const {
    std::ofstream(file(), std::ios::binary | std::ios::trunc) << text;
}

}  // namespace cabinaudio::test
