// SPDX-License-Identifier: Apache-2.0
// How the stand-in reports that it is loaded: to the launcher by an answer on a socket, to programs
// by two functions.
#include "devkit/board/Board.h"
#include "devkit/board/Export.h"
#include "devkit/board/Handshake.h"
#include "devkit/board/Instance.h"
#include "devkit/board/Libc.h"
#include "devkit/board/Names.h"

#include <cerrno>

namespace cabinaudio::board {
namespace {

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
