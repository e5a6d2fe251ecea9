/* SPDX-License-Identifier: Apache-2.0
 *
 * A lock, its condition and a semaphore as the library uses them. One of each per model. Nobody
 * wakes up by himself: a wake-up that is lost shows as a process that never ends. */

#ifndef SLEEPERS
#define SLEEPERS 2              /* who can sleep on the condition: 0 or 1 */
#endif

bool isLocked;
bool sleeps[SLEEPERS];

inline lock() { atomic { !isLocked -> isLocked = true } }
inline unlock() { assert(isLocked); isLocked = false }

/* Falling asleep and letting go of the lock are one step. */
inline sleepOn(me) { atomic { assert(isLocked); sleeps[me] = true; isLocked = false } }
inline wakeUp(me) { atomic { !sleeps[me] && !isLocked -> isLocked = true } }
inline wait(me) { sleepOn(me); wakeUp(me) }

/* Wakes one sleeper, whichever, if there is one. */
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
