// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/Handshake.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>

namespace cabinaudio::board {

/// The launcher execs the program, so its process id is the program's. A child that inherited the
/// variable from a parent without the stand-in must not answer.
void answerLauncher() noexcept {
    const char* offer = getenv(HANDSHAKE_VARIABLE);
    if (offer == nullptr) return;
    char* end = nullptr;
    const long descriptor = strtol(offer, &end, 10);
    const bool forUs = *end == ':' && strtol(end + 1, nullptr, 10) == getpid();
    unsetenv(HANDSHAKE_VARIABLE);
    if (forUs) {
        const HandshakeAnswer answer;
        send(static_cast<int>(descriptor), &answer, sizeof answer, MSG_NOSIGNAL);
        close(static_cast<int>(descriptor));
    }
}

}  // namespace cabinaudio::board
