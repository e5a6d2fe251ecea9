/* SPDX-License-Identifier: Apache-2.0
 *
 * A lock, its condition and a semaphore as the library uses them. One of each per model. There are
 * no spurious wake-ups, so a lost wake-up shows as a process that never ends. */

#ifndef SLEEPERS
#define SLEEPERS 2              /* waiters of the condition: 0 or 1 */
#endif

bool isLocked;
bool sleeps[SLEEPERS];

inline lock() { atomic { !isLocked -> isLocked = true } }
inline unlock() { assert(isLocked); isLocked = false }

/* Starting to wait and releasing the lock are one atomic step. */
inline sleepOn(me) { atomic { assert(isLocked); sleeps[me] = true; isLocked = false } }
inline wakeUp(me) { atomic { !sleeps[me] && !isLocked -> isLocked = true } }
inline wait(me) { sleepOn(me); wakeUp(me) }

/* Wakes any one waiter, if there is one. */
inline signal() {
    atomic {
        if
        :: sleeps[0] -> sleeps[0] = false
        :: sleeps[1] -> sleeps[1] = false
        :: !sleeps[0] && !sleeps[1]
        fi
    }
}

inline broadcast() { d_step { sleeps[0] = false; sleeps[1] = false } }
