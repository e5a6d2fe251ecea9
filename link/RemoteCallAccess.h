// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/link/RemoteCall.h>

#include "foundation/UseGate.h"

namespace cabinaudio {

/// What the library's own clients do with a RemoteCall besides its public operations.
struct RemoteCallAccess {
    /// The destructor waits for the threads in this gate. A request of several steps stays in it
    /// from the first to the last.
    [[nodiscard]] static UseGate& requests(RemoteCall& call);

    /// The owner is about to be destroyed: requests stop waiting for a server that is gone.
    static void abandon(RemoteCall& call);
};

}  // namespace cabinaudio
