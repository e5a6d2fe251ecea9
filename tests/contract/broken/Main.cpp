// SPDX-License-Identifier: Apache-2.0
// The linker puts this in front of the server's main function.
#include "tests/contract/broken/Breakage.h"

#include <cstring>

extern "C" {

// Names that the linker's option --wrap prescribes.
int __real_main(int argc, char** argv);  // NOLINT
int __wrap_main(int argc, char** argv);  // NOLINT

/// Takes the option --break out of the command line.
int __wrap_main(int argc, char** argv) {  // NOLINT
    std::vector<char*> kept;
    for (int i = 0; i < argc; ++i) {
        if (std::strcmp(argv[i], cabinaudio::broken::OPTION) == 0 && i + 1 < argc)
            cabinaudio::broken::chooseBreakages(argv[++i]);
        else
            kept.push_back(argv[i]);
    }
    kept.push_back(nullptr);
    return __real_main(static_cast<int>(kept.size()) - 1, kept.data());
}
}
