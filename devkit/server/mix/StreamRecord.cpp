// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/mix/StreamRecord.h"

namespace cabinaudio::server {

void StreamRecord::addRun(std::uint64_t outputFrame, std::uint64_t streamFrame,
                          std::uint64_t outputFrames, bool isContinued) {
    if (outputFrames == 0) return;
    if (isContinued && !segments.empty()) {
        Segment& last = segments.back();
        if (last.outputFrame + last.outputFrames == outputFrame) {
            last.outputFrames += outputFrames;
            return;
        }
    }
    segments.push_back({outputFrame, streamFrame, outputFrames});
}

}  // namespace cabinaudio::server
