// SPDX-License-Identifier: Apache-2.0
#include "tools/EndingJson.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include "tools/Names.h"

namespace cabinaudio::tool {

void addEnding(Json& report, const Ending& ending, const char* done) {
    report["ended"] = endName(ending.kind, done);
    report["waited_for"] = orNull(ending.waitedFor);
    report["status"] = ending.status;
    report["status_name"] = statusName(ending.status);
    report["text"] = ending.text;
    addEnd(report, exitCode(ending.kind), ending.text);
}

}  // namespace cabinaudio::tool
