// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/ScriptedServer.h"

namespace cabinaudio::test {

/// Takes every connection and never answers anything.
class SilentServer {
public:
    SilentServer() {
        mServer.onRegistration(Answer::none());
        mServer.onOther(Answer::none());
    }

private:
    ScriptedServer mServer;
};

}  // namespace cabinaudio::test
