/* SPDX-License-Identifier: Apache-2.0
 *
 * A ring that the server withdraws or replaces while the application uses the stream
 * (client/ClientSink.cpp: onSourceActivated(), onSourceDeactivated(); client/ClientTrack.cpp:
 * onRingReady(); client/Stream.cpp: adoptRing(), deleteRing(); client/Playback.h: freeSize();
 * client/Playback.cpp: waitForSpace(); shm/RingReceiver.cpp: uninitShmNotificationReceiver()).
 * No process uses an unmapped ring, the server is notified only after the unmapping, a write finds
 * a ring as long as one is announced, and no process waits forever, although the server may
 * initialise the semaphore once while the receiver sleeps on it. */

#define RINGS 2                 /* number 0 is no ring */
#define ROUNDS 2

#include "locks.pml"

byte ring;                      /* mShareMemory */
bool isMapped[RINGS + 1];
bool isReceiving[RINGS + 1], hasReceiverEnded[RINGS + 1];
byte posts[RINGS + 1];
byte visitors;                  /* in the link's gate of accesses without the lock */
bool isAnnounced;               /* a ring, or its replacement, is announced */
bool isBlocked;                 /* guarded by the lock */

#define use(r) assert(isMapped[r])

/* The ring's receiver thread. */
proctype Receiver(byte mine) {
    byte seen;
    do
    :: atomic { posts[mine] > 0 -> posts[mine]-- }
        if
        :: !isReceiving[mine] -> break
        :: else
        fi;
        /* notify() */
        lock();
        if
        :: !isBlocked -> unlock()
        :: else ->
            seen = ring;
            if
            :: seen != 0 -> use(seen); use(seen)
            :: else
            fi;
            unlock();
            signal()
        fi
    od;
    hasReceiverEnded[mine] = true
}

inline deleteRing(old) {
    if
    :: old == 0
    :: else ->
#ifndef NO_DRAIN
        visitors == 0;
#endif
        isReceiving[old] = false;
        posts[old]++;
        do
        :: hasReceiverEnded[old] -> break
#ifndef POSTS_ONCE
        :: !hasReceiverEnded[old] && posts[old] == 0 -> posts[old]++
#endif
        od;
        isMapped[old] = false
    fi
}

/* Replaces the current ring by another or by none. Mapping is one step under the lock. */
inline exchange(number, old, announced) {
#ifndef TAKES_WITHOUT_LOCK
    lock();
#endif
    if
    :: number == 0
    :: else ->
        atomic {
            isMapped[number] = true;
            isReceiving[number] = true;
            run Receiver(number)
        }
    fi;
    d_step { old = ring; ring = number; isAnnounced = announced }
    if
    :: isBlocked -> signal()
    :: else
    fi;
#if !defined(TAKES_WITHOUT_LOCK) && !defined(DELETES_UNDER_LOCK)
    unlock()
#endif
}

#ifdef DELETES_UNDER_LOCK
#define afterDeletion() unlock()
#else
#define afterDeletion() skip
#endif

inline announce(number, old) {
#ifdef TAKES_AWAY_FIRST
    exchange(0, old, isAnnounced);
    deleteRing(old);
    afterDeletion();
#endif
    exchange(number, old, true);
    deleteRing(old);
    afterDeletion()
}

inline withdraw(old) {
    exchange(0, old, false);
#ifdef TELLS_FIRST
    assert(!isMapped[old]);     /* the server uses the memory again */
#endif
    deleteRing(old);
    afterDeletion();
    assert(!isMapped[old])
}

active proctype Notifier() {
    byte old;
    announce(1, old);
    announce(2, old);           /* replaces the first */
    withdraw(old)
}

/* An application's write(): waits for a ring, then for space in it. Each wait may also time
 * out. */
inline waitABit() {
    sleepOn(0);
    if
    :: wakeUp(0)
    :: atomic { sleeps[0] -> sleeps[0] = false } lock()
    fi
}

inline find(mine) { d_step { mine = ring; assert(mine != 0 || !isAnnounced) } }

active proctype Writer() {
    byte mine, round;
    do
    :: round == ROUNDS -> break
    :: round < ROUNDS ->
        round++;
        lock();
        if
        :: ring == 0 -> isBlocked = true; waitABit(); isBlocked = false
        :: else
        fi;
        find(mine);
        if
        :: mine == 0 -> skip
        :: mine != 0 ->
            use(mine);          /* no space */
            isBlocked = true;
            waitABit();
            isBlocked = false;
#ifndef KEEPS_THE_RING
            find(mine);
#endif
            if
            :: mine != 0 -> use(mine); use(mine)
            :: else
            fi
        fi;
        unlock()
    od
}

/* bytesFree() and getTotalBufferSize(), which take no lock. */
active proctype Looker() {
    byte mine, round;
    do
    :: round == ROUNDS -> break
    :: round < ROUNDS ->
        round++;
#ifdef ENTERS_LATE
        mine = ring;
        visitors++;
#else
        visitors++;
        mine = ring;
#endif
        if
        :: mine != 0 -> use(mine); use(mine)
        :: else
        fi;
        visitors--
    od
}

/* Posts and initialises at any time. */
active proctype Server() {
    byte r;
    byte times;
    bool hasInitialised;
end:
    do
    :: times < ROUNDS ->
        times++;
        if
        :: r = 1
        :: r = 2
        fi;
        if
        :: isMapped[r] && posts[r] < 2 -> posts[r]++
        :: isMapped[r] && !hasInitialised -> hasInitialised = true; posts[r] = 0
        :: else
        fi
    od
}
