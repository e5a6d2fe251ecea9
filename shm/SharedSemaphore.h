// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "wire/Ring.h"

#include <semaphore.h>

// A semaphore in the 16 bytes of a ring header's slot, under the names of the platform's functions.
//
// The bytes have the encoding of the 32-bit C library, because the target's processes use them in
// place. Where the platform's semaphore differs (32 bytes with a 64-bit value), the functions below
// use the target's encoding, so that processes of both kinds wake each other:
//   word 0  bit 0: there are waiters; above it the count. Waiters block on this word.
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

// Results and errno are those of the functions that they replace. sem_wait() ends with EINTR when a
// signal handler that was installed without SA_RESTART has run.
int sem_init(sem_t* semaphore, int shared, unsigned count);
int sem_destroy(sem_t* semaphore);
int sem_post(sem_t* semaphore);
int sem_wait(sem_t* semaphore);

#endif

/// The semaphore in a slot of a ring's header.
inline sem_t* semaphoreIn(wire::SemaphoreSlot& slot) {
    return reinterpret_cast<sem_t*>(&slot);
}

/// Marks the semaphore as shared between processes. Must be called before the first wait: the
/// creator may call sem_init() later, and the C library takes zeros for a semaphore of one process.
void semaphoreShare(sem_t* semaphore);

/// Whether a post is waiting to be taken.
[[nodiscard]] bool semaphoreHasPost(sem_t* semaphore);

/// Makes every waiter test the count again, even waiters that are no longer counted because the
/// semaphore was initialised while they waited.
void semaphoreWakeSleepers(sem_t* semaphore);

}  // namespace cabinaudio
