// SPDX-License-Identifier: Apache-2.0
#include "tools/check/CheckCommand.h"

namespace cabinaudio::tool {

std::string optionFault(const CheckOptions& options) {
    const std::size_t checks = options.words.size() - (options.isLive ? 0 : 1);
    if (!options.isLive && options.words.empty()) return "FILE is required, or --live";
    if (checks == 0 && options.checksFile.empty()) return "CHECK is required, or --checks";
    if (options.isLive && !(options.reportFile + options.stemDirectory).empty())
        return "--live takes neither --report nor --stems: the server writes them at its end";
    if (!options.isLive && options.seconds) return "--seconds needs --live";
    return "";
}

}  // namespace cabinaudio::tool
