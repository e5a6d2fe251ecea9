// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/link/RemoteCall.h>

#include "foundation/UseGate.h"

namespace cabinaudio {

/// Operations on a RemoteCall for the library's own clients, besides the public ones.
struct RemoteCallAccess {
    /// The destructor waits for the threads in this gate. A request of several steps stays in the
    /// gate from the first step to the last.
    [[nodiscard]] static UseGate& requests(RemoteCall& call);

    /// The owner is about to be destroyed: requests stop waiting for a server that is gone.
    static void abandon(RemoteCall& call);
};

}  // namespace cabinaudio
