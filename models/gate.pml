/* SPDX-License-Identifier: Apache-2.0
 *
 * The gate of an object that one thread deletes while others use it (foundation/UseGate.h: enter(),
 * leave(), empty(); foundation/UseGate.cpp: drain(), wakeDrains(); link/RemoteCall.cpp:
 * ~RemoteCall()). No visitor uses a deleted object, no visitor touches the gate after it has been
 * deleted, and the owner's wait ends.
 *
 * Entering acquires and does not release. On the target, the load of the pointer may therefore come
 * between the two halves of the read-modify-write, of which the second fails if the word was
 * written in between.
 *
 * Two configurations:
 *   (none)      the gate outlives the object; visitors come at any time
 *   INSIDE      the gate is deleted with the object, when all visitors have entered */

#define VISITORS 2

bool isReachable = true;        /* the pointer to the object is set */
bool isObjectGone, isGateGone;

byte visitors;                  /* the gate's word: mState */
bool isDraining;
byte writes;                    /* of the gate's word */

byte emptied;                   /* gEmptied, outside the gate */
bool isAsleep;                  /* the owner */

byte entered;

#define useObject() assert(!isObjectGone)
#define useGate() assert(!isGateGone)

inline wakeDrains() {
#ifndef KEEPS_THE_WORD
    emptied++;
#endif
#ifdef WAKES_THROUGH_THE_GATE
    useGate();
#endif
#ifndef WAKES_NOBODY
    isAsleep = false
#else
    skip
#endif
}

inline enter(found) {
#ifdef LOADS_BEFORE_ENTERING
    found = isReachable;
    hasLoaded = true;
#endif
    do
    :: d_step { useGate(); seen = writes }
        if
        :: !hasLoaded -> found = isReachable; hasLoaded = true
        :: skip
        fi;
        if
        :: atomic { writes == seen -> visitors++; writes++; entered++ } break
        :: writes != seen -> hasLoaded = false
        fi
    od;
    if
    :: !hasLoaded -> found = isReachable
    :: else
    fi
}

inline leave() {
#ifdef WAKES_BEFORE_LEAVING
    useGate();
    if
    :: visitors == 1 && isDraining -> wakeDrains()
    :: else
    fi;
#endif
    d_step { useGate(); isLast = (visitors == 1 && isDraining); visitors--; writes++ }
#ifdef LOOKS_AGAIN
    d_step { useGate(); isLast = (visitors == 0 && isDraining) }
#endif
#ifndef WAKES_BEFORE_LEAVING
    if
    :: isLast -> wakeDrains()
    :: else
    fi
#endif
}

active [VISITORS] proctype Visitor() {
    bool found, hasLoaded, isLast;
    byte seen;
    enter(found);
    if
    :: found -> useObject()
    :: else
    fi;
#ifndef NO_RELEASE_IN_LEAVE
    if
    :: found -> useObject()
    :: else
    fi;
    leave()
#else
    leave();
    if
    :: found -> useObject()
    :: else
    fi
#endif
}

inline announce() {
#ifdef DOES_NOT_ANNOUNCE
    writes++
#else
    d_step { isDraining = true; writes++ }
#endif
}

inline drain() {
    announce();
    do
    ::
#ifdef COUNTS_BEFORE_THE_WORD
        if
        :: visitors == 0 -> break
        :: else
        fi;
        seen = emptied;
#else
        seen = emptied;
        if
        :: visitors == 0 -> break
        :: else
        fi;
#endif
        /* Comparing the word and falling asleep are one step of the kernel. */
        atomic {
            if
            :: emptied == seen -> isAsleep = true
            :: else
            fi
        }
        !isAsleep
    od;
    atomic { isDraining = false; writes++ }
}

inline isEmpty(result) {
#ifdef EMPTY_ONLY_LOADS
    result = (visitors == 0)
#else
    d_step { result = (visitors == 0); writes++ }
#endif
}

active proctype Owner() {
    byte seen;
    bool isFree;
#ifdef INSIDE
    entered == VISITORS;
#endif
#ifndef DRAINS_BEFORE_CLEARING
    isReachable = false;
#endif
#ifndef NO_DRAIN
    if
    :: isEmpty(isFree)          /* ~RemoteCall() */
    :: skip
    fi;
    if
    :: isFree
    :: else -> drain()
    fi;
#endif
#ifdef DRAINS_BEFORE_CLEARING
    isReachable = false;
#endif
    isObjectGone = true;
#ifdef INSIDE
    isGateGone = true
#endif
}
