// SPDX-License-Identifier: Apache-2.0
// Begin and end of the recording in a process, and its children.
#include "devkit/board/Export.h"
#include "devkit/board/Handshake.h"
#include "devkit/board/recorder/CaptureFile.h"
#include "devkit/board/recorder/Connections.h"
#include "devkit/board/recorder/LibraryCalls.h"
#include "devkit/board/recorder/Rings.h"
#include "devkit/board/recorder/Sampler.h"

#include <dlfcn.h>
#include <pthread.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace cabinaudio::recorder {
namespace {

void continueInChild() noexcept {
    inheritConnections();
    dropRings();
    forgetSampler();
    noteOwnProcess();
}

__attribute__((constructor)) void beginRecording() noexcept {
    const int error = errno;
    libc::findAll();
    openCapture();
    pthread_atfork(nullptr, nullptr, continueInChild);
    // The stand-in answers if it is there.
    if (board::activeVersion() == 0) board::answerLauncher();
    errno = error;
}

__attribute__((destructor)) void endRecording() noexcept {
    recordRings(true);
    endConnections();
}

}  // namespace
}  // namespace cabinaudio::recorder
