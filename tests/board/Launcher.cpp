// SPDX-License-Identifier: Apache-2.0
#include "tests/board/Launcher.h"

#include <fstream>

namespace cabinaudio::test {

namespace fs = std::filesystem;

Start WithTheLauncher::launching(const Words& words) const {
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
    fs::copy_file(PROBE, copies / "probe");
    return copies;
}

void writeScript(const fs::path& path, const std::string& text) {
    std::ofstream(path) << text;
    fs::permissions(path, fs::perms(0755));
}

std::string variableIn(const std::string& report, const std::string& name) {
    const std::string variable = "variable: " + name + "=";
    const std::size_t found = report.find(variable);
    if (found == std::string::npos) return "no " + name + " in: " + report;
    const std::size_t begin = found + variable.size();
    return report.substr(begin, report.find('\n', begin) - begin);
}

}  // namespace cabinaudio::test
