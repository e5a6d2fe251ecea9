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

DumpDirectory::DumpDirectory(std::initializer_list<const char*> tags) {
    std::string items;
    for (const std::string tag : tags)
        items += "Dump\n tag=" + tag + "\n usage=client\n outPath=" + (top() / tag).string() + "\n";
    write(items);
}

std::string DumpDirectory::dumped(const std::string& tag, const std::string& name) const {
    std::string bytes;
    std::error_code missing;
    for (const auto& entry : std::filesystem::directory_iterator(top() / tag, missing)) {
        const std::string file = entry.path().filename();
        const bool isNamed = file.starts_with(tag + "_" + name + "_client_");
        bytes += isNamed ? contentsOf(entry.path()) : file;
    }
    return bytes;
}

}  // namespace cabinaudio::test
