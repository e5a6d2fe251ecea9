// SPDX-License-Identifier: Apache-2.0
#include "tools/ProgramVersion.h"

#include <sndfile.h>

namespace cabinaudio::tool {

std::string programVersion() {
    return std::string("cabinaudio " CABINAUDIO_VERSION " (") + sf_version_string() + ")";
}

}  // namespace cabinaudio::tool
