/* SPDX-License-Identifier: Apache-2.0
 *
 * The wait flag: a client that finds no space sets a flag in the ring, and the server tests the
 * flag after it has freed space (client/Playback.cpp: waitForSpace(); client/StreamParts.cpp:
 * wakeAfterUpdate(), called by notify(); shm/RingTransfer.cpp: setWait(), updateReadOffset()).
 * Stores reach the other process later, unless there is a fence. The client's timeout is left out:
 * the server's wake-ups alone must be enough to transfer all data. */

#define SPACE 3                 /* capacity of the ring, in steps */
#define STEP 2                  /* space that a blocked writer waits for */
#define TOTAL 7

#include "locks.pml"

/* Counters; they do not wrap. */
byte written, freed;
bool waitFlag;
bool isWrittenOut, isFreedOut, isFlagOut;
byte writtenOut, freedOut;
bool flagOut;

byte posts;                     /* of the ring's semaphore */
bool isBlocked;                 /* of the stream, guarded by its lock */

active proctype Memory() {
end:
    do
    :: atomic { isWrittenOut -> written = writtenOut; isWrittenOut = false }
    :: atomic { isFreedOut -> freed = freedOut; isFreedOut = false }
    :: atomic { isFlagOut -> waitFlag = flagOut; isFlagOut = false }
    od
}

inline setWait(on) {
    atomic { flagOut = on; isFlagOut = true }
#ifndef NO_FENCE_IN_SET_WAIT
    !isFlagOut && !isWrittenOut
#endif
}

#define free (SPACE - (mine - freed))

active proctype Writer() {
    byte mine, need;
    lock();
    do
    :: mine == TOTAL -> break
    :: mine < TOTAL ->
        need = (free > 0 -> free : STEP);
        need = (need < TOTAL - mine -> need : TOTAL - mine);
        do
        :: free >= need -> break
        :: else ->
            isBlocked = true;
#ifdef LOOKS_BEFORE_FLAG
            if
            :: free >= need -> break
            :: else
            fi;
            setWait(true);
#else
            setWait(true);
            if
            :: free >= need -> setWait(false); break
            :: else
            fi;
#endif
            wait(0);
            setWait(false)
        od;
        isBlocked = false;
        atomic { mine = mine + need; writtenOut = mine; isWrittenOut = true }
    od;
    unlock()
}

/* The ring's receiver thread in the client. */
active proctype Receiver() {
end:
    do
    :: atomic { posts > 0 -> posts-- }
#ifndef NOTIFY_WITHOUT_LOCK
        lock();
#endif
        if
        :: !isBlocked ->
#ifndef NOTIFY_WITHOUT_LOCK
            unlock()
#else
            skip
#endif
        :: else ->
#ifndef NOTIFY_WITHOUT_LOCK
            unlock();
#endif
            signal()
        fi
    od
}

active proctype Server() {
    byte mine, seen;
    bool wasWaiting;
    do
    :: mine == TOTAL -> break
    :: mine < TOTAL ->
        atomic { written != mine -> seen = written }
        /* takes part of the data */
        do
        :: mine + 1 < seen -> seen--
        :: break
        od;
        mine = seen;
#ifdef SERVER_LOOKS_FIRST
        wasWaiting = waitFlag;
#endif
        atomic { freedOut = mine; isFreedOut = true }
#ifndef NO_FENCE_IN_UPDATE
        !isFreedOut;
#endif
#ifndef SERVER_LOOKS_FIRST
        wasWaiting = waitFlag;
#endif
        if
        :: wasWaiting -> posts++
        :: else
        fi
    od
}
