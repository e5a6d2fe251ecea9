/* SPDX-License-Identifier: Apache-2.0
 *
 * The ring between its two sides (shm/RingTransfer.cpp: read(), write(), readInPieces(),
 * writeInPieces()) on a machine that reorders stores and loads: a side's stores become visible to
 * the other later and in any order, unless a barrier separates them; loads may execute early or
 * late in the same way. Both offsets wrap around several times. Every byte must arrive once, in
 * order. */

#define SIZE 4
#define TOTAL 9                 /* bytes that are sent */
#define VALUES 5                /* more than cells in the ring, so old and new bytes differ */
#define value(n) ((n) % VALUES + 1)

#ifdef NO_SPARE_BYTE            /* the ring is filled to the last byte */
#define SPARE 0
#else
#define SPARE 1
#endif

byte data[SIZE];
byte writeOffset, readOffset;

/* Stores not visible yet: one per location; a later store replaces it. */
bool isDataOut[SIZE];
byte dataOut[SIZE];
bool isWriteOut, isReadOut;
byte writeOut, readOut;

#define used(r, w) ((w) >= (r) -> (w) - (r) : SIZE - (r) + (w))
#define allDataArrived (!isDataOut[0] && !isDataOut[1] && !isDataOut[2] && !isDataOut[3])

active proctype Memory() {
    byte i;
end:
    do
    :: atomic { isWriteOut -> writeOffset = writeOut; isWriteOut = false }
    :: atomic { isReadOut -> readOffset = readOut; isReadOut = false }
    :: atomic { isDataOut[0] -> data[0] = dataOut[0]; isDataOut[0] = false }
    :: atomic { isDataOut[1] -> data[1] = dataOut[1]; isDataOut[1] = false }
    :: atomic { isDataOut[2] -> data[2] = dataOut[2]; isDataOut[2] = false }
    :: atomic { isDataOut[3] -> data[3] = dataOut[3]; isDataOut[3] = false }
    od
}

inline storeData(at, what) {
    atomic { !isDataOut[at] -> dataOut[at] = what; isDataOut[at] = true }
}

inline storeWriteOffset(next) {
#ifndef NO_RELEASE_IN_WRITE
    allDataArrived;             /* storeRelease() */
#endif
    atomic { writeOut = next; isWriteOut = true }
}

inline storeReadOffset(next) { atomic { readOut = next; isReadOut = true } }

active proctype Writer() {
    byte w, r, count, piece, sent;
    do
    :: sent == TOTAL -> break
    :: sent < TOTAL ->
        /* loadAcquire(readOffset), repeated while the ring is full */
        atomic { used(readOffset, w) < SIZE - SPARE -> r = readOffset }
        /* any length that fits */
        count = 1;
        do
        :: count < SIZE - SPARE - used(r, w) && sent + count < TOTAL -> count++
        :: break
        od;
        do
        :: count == 0 -> break
        :: count > 0 ->
            piece = (SIZE - w < count -> SIZE - w : count);
            count = count - piece;
#ifdef OFFSET_BEFORE_DATA
            storeWriteOffset((w + piece) % SIZE);
#endif
            do
            :: piece == 0 -> break
            :: piece > 0 ->
                storeData(w, value(sent));
                atomic { w = (w + 1) % SIZE; sent++; piece-- }
            od;
#ifndef OFFSET_BEFORE_DATA
            storeWriteOffset(w)
#endif
        od
    od
}

active proctype Reader() {
    byte r, w, at, count, piece, rest, got, seen;
    bool isAhead[SIZE];
    byte ahead[SIZE];
    do
    :: got == TOTAL -> break
    :: got < TOTAL ->
#ifdef NO_ACQUIRE_IN_READ
        /* Data that the machine loads before the offset. */
        at = 0;
        do
        :: at == SIZE -> break
        :: at < SIZE -> atomic { isAhead[at] = true; ahead[at] = data[at]; at++ }
        :: at < SIZE -> atomic { isAhead[at] = false; at++ }
        od;
#endif
        /* loadAcquire(writeOffset) */
        atomic { writeOffset != r -> w = writeOffset }
        count = 1;
        do
        :: count < used(r, w) -> count++
        :: break
        od;
        do
        :: count == 0 -> break
        :: count > 0 ->
            piece = (SIZE - r < count -> SIZE - r : count);
            count = count - piece;
#ifdef NO_RELEASE_IN_READ
            /* The offset is stored while the data is still being read. */
            storeReadOffset((r + piece) % SIZE);
#endif
            do
            :: piece == 0 -> break
            :: piece > 0 ->
                seen = (isAhead[r] -> ahead[r] : data[r]);
                assert(seen == value(got));
                atomic { r = (r + 1) % SIZE; got++; piece-- }
            od;
#ifndef NO_RELEASE_IN_READ
            storeReadOffset(r)
#endif
        od
    od
}
