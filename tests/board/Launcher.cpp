// SPDX-License-Identifier: Apache-2.0
#include "tests/board/Launcher.h"

#include <algorithm>

namespace cabinaudio::test {

namespace fs = std::filesystem;

Start WithTheLauncher::launching(const std::vector<std::string>& words) const {
    Start start;
    start.words.push_back(mLauncher);
    start.words.insert(start.words.end(), words.begin(), words.end());
    start.variables = {{"CABINAUDIO_INSTANCE", mInstance.name()},
                       {"CABINAUDIO_CONFIG_DIR", ""},
                       {"CABINAUDIO_BOARD_LIB", ""},
                       {"CABINAUDIO_ARMHF_BOARD_LIB", ""},
                       {"XDG_CONFIG_HOME", ""},
                       {"XDG_RUNTIME_DIR", ""},
                       {"TMPDIR", directory()},
                       {"LD_PRELOAD", ""},
                       {"HOME", home()}};
    return start;
}

fs::path WithTheLauncher::copyOfAll(const std::string& directoryName) const {
    fs::path copies = directory() / directoryName;
    fs::create_directory(copies);
    fs::copy_file(mLauncher, copies / "cabinaudio-run");
    fs::copy_file(BOARD_TEST_LIBRARY, copies / "libcabinaudio-board.so");
    fs::copy_file(kProbe, copies / "probe");
    return copies;
}

bool isOneLine(const std::string& text) {
    return std::count(text.begin(), text.end(), '\n') == 1 && text.back() == '\n';
}

}  // namespace cabinaudio::test
