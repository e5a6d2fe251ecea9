// SPDX-License-Identifier: Apache-2.0
// Real-time threads where the process may not create them.
#include "devkit/board/Export.h"
#include "devkit/board/Libc.h"

#include <pthread.h>

#include <cerrno>

using namespace cabinaudio::board;

extern "C" {

/// Setting the attributes always succeeds; only the creation fails when real-time scheduling is
/// refused. The thread is then created with its creator's scheduling.
BOARD_EXPORT int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                                void* (*start)(void*), void* argument) {
    libc::PthreadCreate* next = libc::pthreadCreate.find();
    const int status = next(thread, attributes, start, argument);
    if (status != EPERM || attributes == nullptr) return status;
    // A bytewise copy keeps stack, guard, detach state, affinity and signal mask. It shares the
    // allocated parts with the original and therefore must not be destroyed.
    pthread_attr_t inheriting = *attributes;
    pthread_attr_setinheritsched(&inheriting, PTHREAD_INHERIT_SCHED);
    return next(thread, &inheriting, start, argument);
}
}
