/* SPDX-License-Identifier: Apache-2.0
 *
 * A stream's destructor and a blocking call on the stream (client/Playback.cpp: endWriter(),
 * waitForSpace(); client/StreamParts.cpp: awaitExit(), setRemoved(); client/StreamParts.h:
 * BlockedWait, whose end is leaveWait() here; with UPLINK client/ClientRecordRt.cpp:
 * ~ClientRecordRt(), waitFor()). The call returns before anything is released, and that does not
 * depend on the destructor's timeout, although notify() of the ring's receiver thread uses the same
 * condition and may wake the wrong waiter. The call may time out once, at any moment. */

#include "locks.pml"

mtype = { ACTIVE, STOPPING, NO_INIT };
mtype state = ACTIVE;           /* guarded by the lock, like isBlocked */
bool isBlocked;
bool hasBegun;                  /* no call may begin once the destructor runs */
bool isReleased;
byte readers;                   /* in the link's gate of reads */
byte posts;
byte timeouts;
bool isReceiving = true, hasReceiverEnded, hasNotifierEnded;

#define CALLER 0
#define DESTRUCTOR 1
#define use() assert(!isReleased)

/* The server may remove the stream during destruction: the state is STOPPING then. */
#ifdef ANSWERS_THE_DESTRUCTOR_ONLY
#define mustAnswer (state == NO_INIT)
#else
#define mustAnswer (state != ACTIVE)
#endif

inline leaveWait() {
    isBlocked = false;
#ifndef CALLER_KEEPS_SILENT
    if
    :: mustAnswer -> signal()
    :: else
    fi
#endif
}

active proctype Caller() {
    bool isTimedOut;
    if
    :: timeouts = 1
    :: skip
    fi;
#ifdef UPLINK
    readers++;
    hasBegun = true;
#endif
    lock();
    hasBegun = true;
    if
    :: state != ACTIVE -> goto leave
    :: else
    fi;
    do
    :: break                    /* the awaited data or space is available */
    :: isBlocked = true;
        sleepOn(CALLER);
        if
        :: wakeUp(CALLER); isTimedOut = false
        :: atomic { timeouts > 0 && sleeps[CALLER] -> timeouts--; sleeps[CALLER] = false }
            isTimedOut = true;
            lock()
        fi;
        use();
        if
        :: isTimedOut ->
#ifdef TIMED_OUT_CALLER_KEEPS_SILENT
            isBlocked = false;
#else
            leaveWait();
#endif
            break
        :: !isTimedOut && state != ACTIVE -> leaveWait(); break
        :: else
        fi;
        isBlocked = false
    od;
leave:
    use();
    unlock();
#ifdef UPLINK
    use();                      /* writes the dump */
    readers--
#endif
}

/* The ring's receiver thread. */
active proctype Receiver() {
    do
    :: atomic { posts > 0 -> posts-- }
        if
        :: !isReceiving -> break
        :: else
        fi;
        use();
        lock();
        if
        :: isBlocked -> unlock(); use(); signal()
        :: else -> unlock()
        fi
    od;
    hasReceiverEnded = true
}

active proctype Server() {
    byte times;
end:
    do
    :: times < 2 -> times++; posts++
    od
}

/* The notifier thread: the server is gone. */
active proctype Notifier() {
    if
    :: skip                     /* no server loss */
    :: use();
        lock();
        state = STOPPING;
        if
        :: isBlocked -> signal()
        :: else
        fi;
        unlock()
    fi;
    hasNotifierEnded = true
}

active proctype Destructor() {
    hasBegun;
    lock();
    state = NO_INIT;
    if
    :: isBlocked ->
#ifndef DOES_NOT_WAKE
        signal();
#endif
#ifdef WAITS_ONCE
        wait(DESTRUCTOR)
#else
        do
        :: isBlocked -> wait(DESTRUCTOR)
        :: else -> break
        od
#endif
    :: else
    fi;
    unlock();
#ifdef UPLINK
#ifndef NO_DRAIN
    readers == 0;
#endif
#endif
    isReceiving = false;
    posts++;
    hasReceiverEnded;
    hasNotifierEnded;
    isReleased = true
}
