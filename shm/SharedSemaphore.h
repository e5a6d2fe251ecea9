// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "wire/Ring.h"

#include <semaphore.h>

// A semaphore in the 16 bytes of a ring header's slot, under the names of the platform's own.
//
// The bytes belong to the 32-bit C library, because the target's processes use them in place. Where
// the platform's semaphore is another one (32 bytes with a 64-bit value), the functions below use
// the target's encoding, so that processes of both kinds wake each other:
//   word 0  bit 0: there are waiters; above it the count. Sleepers wait on this word.
//   word 1  128: shared between processes
//   word 3  number of waiters

namespace cabinaudio {

#if __WORDSIZE == 32

using ::sem_destroy;
using ::sem_init;
using ::sem_post;
using ::sem_t;
using ::sem_wait;
static_assert(sizeof(sem_t) == sizeof(wire::SemaphoreSlot));
static_assert(alignof(sem_t) == alignof(wire::SemaphoreSlot));

#else

using sem_t = wire::SemaphoreSlot;

// Results and errno as those of the functions that they stand for. sem_wait ends with EINTR when a
// signal handler ran that was not installed with SA_RESTART.
int sem_init(sem_t* semaphore, int shared, unsigned count);
int sem_destroy(sem_t* semaphore);
int sem_post(sem_t* semaphore);
int sem_wait(sem_t* semaphore);

#endif

/// The semaphore in a slot of a ring's header.
inline sem_t* semaphoreIn(wire::SemaphoreSlot& slot) {
    return reinterpret_cast<sem_t*>(&slot);
}

/// To be called before the first wait: the creator, whose sem_init shares the semaphore between
/// processes, may come later, and the C library takes zeros for a semaphore of one process.
void semaphoreShare(sem_t* semaphore);

/// Whether a post is waiting to be taken.
[[nodiscard]] bool semaphoreHasPost(sem_t* semaphore);

/// Makes every sleeper look at the count again, also those that are no longer counted because the
/// semaphore was initialised while they slept.
void semaphoreWakeSleepers(sem_t* semaphore);

}  // namespace cabinaudio
