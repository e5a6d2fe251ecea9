/* SPDX-License-Identifier: Apache-2.0
 *
 * A connection: how the receive thread hands a reply over to the requester, and what happens when
 * the server dies, the requester times out, or another thread disconnects
 * (link/AudioConnection.cpp, link/SktWorker.cpp, link/AudioSocket.cpp, link/ConnectionState.h,
 * link/RecordLoan.cpp). The receive thread takes headers only, a requester takes only the body of
 * its own reply, the record is not used after its release, and every thread terminates.
 *
 * One of three configurations:
 *   (none)      requests have no timeout; disconnect() may come at any time
 *   TIMEOUT     requesters may time out at any moment (LinkPolicy::replyTimeout)
 *   WAKES       a lost server ends requests (LinkPolicy::wakesOnServerLoss); disconnect() comes
 *               only after the requester has returned
 *   ABANDON     like WAKES, without the policy: the owner announces its end (_abandon()) */

#define REQUESTS 2

#include "locks.pml"

mtype = { HEADER, BODY, NOTIFICATION, END };

chan toServer = [REQUESTS] of { byte };
chan toClient = [3 * REQUESTS] of { mtype, byte };
bool serverIsGone, isShutDown;

/* The record. */
bool isConnected = true;        /* mSocketRecord is not null */
byte loans;                     /* in the low bits of mSocketRecord */
bool isDestroyed;
bool isReady, isStall, isBroken, isWorkerGone, isAbandoned;
bool isRunning = true;
byte taken;                     /* posts of mReplySem */
byte returned;                  /* mReturnedLoans */

bool hasWorkerEnded, hasRequesterEnded;

#define use() assert(!isDestroyed)

/* RecordLoan's constructor. */
inline borrow(isLent) {
#ifdef COUNTS_LATE
    isLent = isConnected;
    if
    :: isLent -> loans++
    :: else
    fi
#else
    atomic {
        isLent = isConnected;
        if
        :: isLent -> loans++
        :: else
        fi
    }
#endif
}

/* RecordLoan's destructor. */
inline giveBack() {
    if
    :: atomic { isConnected -> loans-- }
    :: !isConnected ->
#ifndef GIVES_NOTHING_BACK
        use();
        returned++
#endif
    fi
}

/* Blocks until a message arrives, or either side has closed the connection. */
inline receive(kind, number) {
    use();
    if
    :: toClient ? kind, number
    :: isShutDown -> kind = END
    :: serverIsGone && empty(toClient) -> kind = END
    fi
}

#ifdef WAKE_WITHOUT_LOCK
inline wakeRequester() { broadcast() }
#else
inline wakeRequester() { lock(); broadcast(); unlock() }
#endif

active proctype Server() {
    byte number;
    bool isMortal;
    if
    :: isMortal = true
    :: skip
    fi;
end:
    do
    :: toServer ? number ->
        if
        :: toClient ! NOTIFICATION, 0
        :: skip
        fi;
        toClient ! HEADER, number;
        toClient ! BODY, number
    :: atomic { isMortal -> serverIsGone = true; break }
    od
}

active proctype Worker() {
    mtype kind;
    byte number;
    do
    :: !isRunning -> break
    :: else ->
        receive(kind, number);
        if
        :: isBroken -> break
        :: else
        fi;
        if
        :: kind == END -> break
        :: kind == NOTIFICATION
        :: kind == BODY -> assert(false)
        :: kind == HEADER ->
            lock();
            if
            :: isBroken -> unlock()
            :: else ->
                isReady = true;
                signal();
                unlock();
#ifndef WORKER_GOES_ON
                atomic { taken > 0 -> taken-- }
#endif
            fi
        fi
    od;
    use();
#ifdef GONE_WITHOUT_LOCK
    isWorkerGone = true;
    broadcast();
#else
    lock();
    isWorkerGone = true;
    broadcast();
    unlock();
#endif
    hasWorkerEnded = true
}

#ifdef WAKES
#define ENDS_WITH_SERVER true
#else
#define ENDS_WITH_SERVER isAbandoned
#endif
#define mayBeAnswered (!isStall && !(isWorkerGone && ENDS_WITH_SERVER))

inline giveUp() {
    isBroken = true;
    isShutDown = true;
    taken++
}

active proctype Requester() {
    byte number, got;
    mtype kind;
    bool isOver, isMine;
    do
    :: number == REQUESTS -> break
    :: number < REQUESTS ->
        number++;
        /* send() */
        borrow(isMine);
        if
        :: !isMine -> goto over
        :: else
        fi;
        use();
        if
        :: isBroken || isShutDown || serverIsGone -> giveBack(); goto next
        :: else -> toServer ! number
        fi;
        giveBack();
        /* recv() */
        borrow(isMine);
        if
        :: !isMine -> goto over
        :: else
        fi;
        use();
        lock();
        if
        :: isBroken -> unlock(); giveBack(); goto next
        :: else
        fi;
        isOver = false;
        do
        :: isReady || isOver || !mayBeAnswered -> break
        :: else ->
#ifdef TIMEOUT
            sleepOn(0);
            if
            :: wakeUp(0)
            :: atomic { sleeps[0] -> sleeps[0] = false; isOver = true } lock()
            fi
#else
            wait(0)
#endif
        od;
        use();
        if
        :: !isReady && isOver ->
#ifndef TIMEOUT_WITHOUT_BREAK
            giveUp();
#endif
            unlock()
        :: !isReady && !isOver -> unlock()
#ifdef TIMEOUT
        :: isReady -> giveUp(); unlock()        /* the body is late */
#endif
        :: isReady ->
            isReady = false;
            receive(kind, got);
            assert(kind == END || (kind == BODY && got == number));
#ifndef NO_POST_AFTER_BODY
            taken++;
#endif
            unlock()
        fi;
        use();
        giveBack();
next:   skip
    od;
over:
    hasRequesterEnded = true
}

active proctype Owner() {
    byte lent;
#ifdef ABANDON
    bool wasGone;
#endif
#ifdef WAKES
    hasRequesterEnded;
#endif
#ifdef ABANDON
#ifdef ABANDON_LOOKS_FIRST
    if
    :: isWorkerGone -> isAbandoned = true; wakeRequester()
    :: else -> isAbandoned = true
    fi;
#else
    atomic { isAbandoned = true; wasGone = isWorkerGone }       /* ConnectionState::abandon() */
    if
    :: wasGone -> wakeRequester()
    :: else
    fi;
#endif
    hasRequesterEnded;
#endif
    /* disconnect() */
    d_step { isConnected = false; lent = loans; loans = 0 }
    isStall = true;
    isRunning = false;
#ifndef NO_SHUTDOWN
    isShutDown = true;
#endif
    wakeRequester();
#ifndef NO_POST_IN_DISCONNECT
    taken++;
#endif
    hasWorkerEnded;             /* join() */
#ifndef DOES_NOT_AWAIT
    returned == lent;           /* awaitReturn() */
#endif
    isDestroyed = true
}
