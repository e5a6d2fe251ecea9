// SPDX-License-Identifier: Apache-2.0
// How the stand-in reports that it is loaded: to the launcher by an answer on a socket, to programs
// by two functions.
#include "devkit/board/Board.h"
#include "devkit/board/Export.h"
#include "devkit/board/Handshake.h"
#include "devkit/board/Instance.h"
#include "devkit/board/Libc.h"
#include "devkit/board/Names.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace cabinaudio::board {
namespace {

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

__attribute__((constructor)) void announcePresence() noexcept {
    const int error = errno;
    noteEnvironment();
    findAllOfLibc();
    answerLauncher();
    errno = error;
}

}  // namespace
}  // namespace cabinaudio::board

extern "C" {

BOARD_EXPORT int cabinaudio_board_active(void) noexcept {
    return cabinaudio::board::VERSION;
}

BOARD_EXPORT const char* cabinaudio_board_instance(void) noexcept {
    return cabinaudio::board::instanceInEnvironment();
}
}
