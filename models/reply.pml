/* SPDX-License-Identifier: Apache-2.0
 *
 * A connection: how the receive thread hands a reply over to the requester, and what happens when
 * the server goes, the requester's time is over, or another thread disconnects
 * (link/AudioConnection.cpp, link/AudioSocket.cpp, foundation/UseGate.h). The receive thread takes
 * headers and nothing else, a requester takes the body of its own reply and nothing else, nobody
 * uses the record once it is released, and everybody comes to an end.
 *
 * One of three configurations:
 *   (none)      no reply is waited for longer than it takes; disconnect() may come at any time
 *   TIMEOUT     requesters give up whenever they like (LinkPolicy::replyTimeout)
 *   WAKES       a lost server ends requests (LinkPolicy::wakesOnServerLoss); disconnect() comes
 *               only after the requester has returned
 *   ABANDON     the same without the policy: the owner says that it is going (_abandon()) */

#define REQUESTS 2

#include "locks.pml"

mtype = { HEADER, BODY, NOTIFICATION, END };

chan toServer = [REQUESTS] of { byte };
chan toClient = [3 * REQUESTS] of { mtype, byte };
bool serverIsGone, isShutDown;

/* The record. */
bool isConnected = true;        /* mSocketRecord is not null */
bool isDestroyed;
bool isReady, isStall, isBroken, isWorkerGone, isAbandoned;
bool isRunning = true;
byte taken;                     /* posts of mReplySem */
byte users;                     /* in mUsers */

bool hasWorkerEnded, hasRequesterEnded;

#define use() assert(!isDestroyed)

/* Blocks until something has come, or the connection has ended on one side. */
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
#ifdef ENTERS_LATE
        isMine = isConnected;
        users++;
#else
        users++;
        isMine = isConnected;
#endif
        if
        :: !isMine -> users--; goto over
        :: else
        fi;
        use();
        if
        :: isBroken || isShutDown || serverIsGone -> users--; goto next
        :: else -> toServer ! number
        fi;
        users--;
        /* recv() */
        users++;
        isMine = isConnected;
        if
        :: !isMine -> users--; goto over
        :: else
        fi;
        use();
        lock();
        if
        :: isBroken -> unlock(); users--; goto next
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
        :: isReady -> giveUp(); unlock()        /* the body does not come in time */
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
        users--;
next:   skip
    od;
over:
    hasRequesterEnded = true
}

active proctype Owner() {
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
    isAbandoned = true;
    if
    :: isWorkerGone -> wakeRequester()
    :: else
    fi;
#endif
    hasRequesterEnded;
#endif
    /* disconnect() */
    isConnected = false;
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
#ifndef NO_DRAIN
    users == 0;
#endif
    isDestroyed = true
}
