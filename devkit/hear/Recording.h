// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/hear/Report.h"
#include "devkit/hear/Sound.h"

#include <map>
#include <string>

namespace cabinaudio::hear {

/// What a server has played in one run.
struct Recording {
    Sound heard;                         // the mix
    std::map<std::string, Sound> stems;  // by name of the stream: its frames as read from the ring.
                                         // Of several streams with the same name, the first one's
    std::map<std::string, Sound> laterStems;  // of the others: by StreamReport::stem
    Report report;                            // isPresent is false without a report
    std::string path;                         // of the mix; empty: it was not read from a file
};

/// @param reportPath       what `--report` of the server wrote; empty: none
/// @param stemsDirectory   where the stems are now; empty: where the report says. A stem that is
/// not
///                         there is left out. Without a report, each file TAG-NAME.wav in it.
/// @throws Error
[[nodiscard]] Recording readRecording(const std::string& path, const std::string& reportPath = {},
                                      const std::string& stemsDirectory = {});

}  // namespace cabinaudio::hear
