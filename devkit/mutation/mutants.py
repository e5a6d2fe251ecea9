# SPDX-License-Identifier: Apache-2.0
"""Mutants of the library's locks, barriers, bounds and checks, and the test programs that must
catch them. A mutant has a place, which is a function, a type, a constant or a file (see
places.py), and a piece of code that occurs there exactly once, whatever its layout."""
from collections import namedtuple

# `reason` says why a surviving mutant makes no difference or, after these words, why no test
# reaches a mutant that does.
OUT_OF_REACH = "out of reach: "
Mutant = namedtuple("Mutant", "place name old new reason", defaults=("",))

# A peer that wakes blocked calls without end.
STORM = "hostile-server-test --gtest_filter=RepeatedWakeUps.*"

# File prefix -> test programs, the quickest first; the first matching entry applies.
TESTS = [
    ("shm/RingTransfer.cpp", ["shm-order-test", "shm-test", "client-uplink-test"]),
    ("shm/", ["shm-order-test", "shm-test"]),
    ("link/LinkPolicy.cpp", ["link-tests", "foundation-platform-test"]),
    ("link/RemoteCall.cpp", ["link-tests", "link-inside-tests", "race-test"]),
    ("link/Request.cpp", ["settings-test", "client-test", "client-fault-test"]),
    ("link/Request.h", ["link-tests", "settings-test", "client-end-test", "race-test",
                        "client-test"]),
    ("link/RemoteCallNotifierWorker.cpp", ["link-tests", "link-inside-tests", "race-test"]),
    ("link/RecordLoan.cpp", ["link-inside-tests", "link-tests", "race-wait-test", "race-test"]),
    ("link/", ["race-wait-test", "link-inside-tests", "link-tests", "client-stream-test",
               "race-test"]),
    ("foundation/AudioThread.cpp", ["foundation-platform-test", "link-tests", "shm-test"]),
    ("foundation/FaultSignals.h", ["foundation-platform-test", "link-tests", "shm-test"]),
    ("foundation/AudioTime.cpp", ["foundation-clock-test", "foundation-platform-test"]),
    ("foundation/LibraryClock.h", ["foundation-clock-test", "foundation-platform-test"]),
    ("foundation/AudioM", ["foundation-test", "foundation-platform-test"]),
    ("foundation/AudioAlert.cpp", ["foundation-test"]),
    ("foundation/AudioTypes.cpp", ["foundation-test"]),
    ("foundation/LibraryThread.h", ["link-tests", "shm-test"]),
    ("foundation/Log.h", ["foundation-test", "diag-test", "link-tests"]),
    ("foundation/UseGate", ["foundation-gate-test", "race-wait-test", "link-tests",
                            "client-uplink-test", "client-test"]),
    ("foundation/", ["foundation-platform-test", "foundation-test", "link-tests"]),
    ("wire/Frame.h", ["link-tests"]),
    ("wire/Ring.h", ["shm-test", "shm-order-test"]),
    ("wire/Stream.h", ["client-test", "client-record-test"]),
    ("wire/Settings.h", ["settings-test", "client-test"]),
    ("wire/SettingRecords.h", ["settings-test", "client-test"]),
    ("client/Playback.h", ["client-order-test", "race-wait-test", "client-end-test", "client-test",
                           STORM, "client-stream-test", "race-test"]),
    ("client/Playback.cpp", ["client-order-test", "race-wait-test", "client-end-test",
                             "client-test", STORM, "client-stream-test", "race-test"]),
    ("client/StreamParts", ["client-order-test", "race-wait-test", "client-end-test",
                            "client-test", "client-record-test",
                            "client-uplink-test", STORM, "client-stream-test", "race-test"]),
    ("client/Stream.cpp", ["race-wait-test", "client-end-test", "client-test",
                           "client-record-test", "client-stream-test"]),
    ("client/Stream.h", ["client-order-test", "client-end-test", "client-test",
                         "client-record-test", "client-uplink-test", "client-stream-test"]),
    ("client/StreamDump.cpp", ["client-stream-test"]),
    ("client/StreamLink.h", ["client-end-test", "client-test", "race-test"]),
    ("client/Setting", ["settings-test"]),
    ("client/ClientSourceSetting.cpp", ["settings-test"]),
    ("client/ClientAppSetting.cpp", ["settings-test"]),
    ("client/ClientMixerSetting.cpp", ["settings-test"]),
    ("client/ClientRecordControl.cpp", ["settings-test"]),
    ("client/ClientVersionSetting.cpp", ["client-test"]),
    ("client/EffectBlock.cpp", ["settings-test"]),
    ("client/SilentFrames.cpp", ["client-uplink-test"]),
    ("client/FramedRing.cpp", ["client-uplink-test", STORM]),
    ("client/UplinkPacing", ["client-uplink-test"]),
    ("client/UplinkSilence.cpp", ["client-uplink-test"]),
    ("client/ClientVolumeSetting.cpp", ["settings-test", "abi-test"]),
    ("diag/", ["diag-test"]),
    ("include/cabinaudio/", ["abi-test"]),
    ("client/ClientTrack.cpp", ["client-order-test", "client-fault-test", "client-end-test",
                                "client-test",
                                "client-stream-test", "race-test"]),
    ("client/ClientSink.cpp", ["client-order-test", "client-fault-test", "client-end-test",
                               "client-test",
                               "client-storm-test", "client-stream-test", "race-test"]),
    ("client/ClientRecord.cpp", ["client-order-test", "client-fault-test", "client-end-test",
                                 "client-record-test",
                                 STORM, "client-stream-test", "race-test"]),
    ("client/ClientRecordRt.cpp", ["client-order-test", "client-fault-test", "client-end-test",
                                   "client-uplink-test",
                                   "client-record-test", STORM, "client-stream-test",
                                   "race-test"]),
]
# Additional runs with the thread sanitizer, for mutants that the tests above miss.
SANITIZED_TESTS = [
    ("shm/", ["shm-test", "race-test"]),
    ("link/", ["race-test", "link-tests", "link-inside-tests"]),
    ("foundation/UseGate", ["foundation-gate-test", "race-test", "link-tests"]),
    ("foundation/", ["foundation-platform-test", "foundation-test"]),
    ("wire/", ["link-tests"]),
    ("client/Setting", ["settings-test"]),
    ("client/ClientRecordRt.cpp", ["race-test", "client-stream-test",
                                   "client-uplink-test --gtest_filter=LiveDataInRealTime.*"]),
    ("client/", ["race-test", "client-stream-test"]),
    ("diag/", ["diag-test"]),
    ("include/cabinaudio/", ["abi-test"]),
]
# Sources that check a header at compile time: additional compiler options, and whether compiling
# them must succeed.
COMPILED = {
    "client/Setting.h": [
        ("tests/settings/FieldsTest.cpp", "-DNDEBUG", True),
        ("tests/settings/RefusedRow.cpp", "-DROW=get<V::GetMasterRamp>(rc, {}, gain, gain)", True),
        ("tests/settings/RefusedRow.cpp", "-DROW=get<V::GetMasterRamp>(rc, {}, gain)", False),
        ("tests/settings/RefusedRow.cpp", "-DROW=setRecord<V::SetChannelStep>(rc, mixer)", False),
        ("tests/settings/RefusedRow.cpp", "-DROW=call<S::SetSpeakerTone>(rc, count)", False),
        ("tests/settings/RefusedRow.cpp", "-DROW=set<S::SetHandsfreeDelay>(rc, {.value = 1})",
         False)],
    "include/cabinaudio/setting/Volume.h": [("tests/abi/OverloadTest.cpp", "-DNDEBUG", True)],
    "include/cabinaudio/client/ClientVolumeSetting.h": [
        ("tests/abi/OverloadTest.cpp", "-DNDEBUG", True)],
}
# Programs that contain the library's objects, some of them compiled once more.
RELINKED = ("foundation-gate-test", "link-inside-tests", "shm-test")
OWN_COPIES = {
    "tests/foundation/CMakeFiles/foundation-gate-test.dir/__/__/foundation/UseGate.cpp.o":
        "foundation/CMakeFiles/cabinaudio-foundation.dir/UseGate.cpp.o",
    "tests/shm/CMakeFiles/shm-test.dir/__/__/shm/RingAccess.cpp.o":
        "shm/CMakeFiles/cabinaudio-shm.dir/RingAccess.cpp.o",
    "tests/shm/CMakeFiles/shm-test.dir/__/__/shm/SharedSemaphore.cpp.o":
        "shm/CMakeFiles/cabinaudio-shm.dir/SharedSemaphore.cpp.o",
}
# Their sources that use inline functions of private headers, compiled with the mutant's headers.
RECOMPILED = {"foundation-gate-test": ("tests/foundation/UseGateTest.cpp",)}
# Files that check_ring_code.py checks.
RING_CODE = ("shm/RingCore.h", "shm/RingTransfer.cpp")


def _of(table, path):
    return next(tests for start, tests in table if path.startswith(start))


def tests_of(path):
    return _of(TESTS, path)


def sanitized_tests_of(path):
    return _of(SANITIZED_TESTS, path)


ALL = []


def _in(place, *mutants):
    ALL.extend(Mutant(place, *mutant) for mutant in mutants)


_in("storeRelease",
    ("offsets stored without a barrier", "std::memory_order_release", "std::memory_order_relaxed"))
_in("loadAcquire",
    ("offsets loaded without a barrier", "std::memory_order_acquire", "std::memory_order_relaxed"))
_in("RingState::of",
    ("a size without a barrier", "loadAcquire(ring.size)", "loadRelaxed(ring.size)"))
_in("RingState::isPossible",
    ("a ring larger than its mapping", "- 1 < limit", "!= 0"),
    ("a read offset behind the end", "read < size &&", ""),
    ("a write offset behind the end", "&& write < size", ""))
_in("RingState::free",
    ("the spare byte", "1 - used", "used"))
_in("advanced",
    ("an offset at the end", "< left ?", "<= left ?"))
_in("forEachPiece",
    ("a piece beyond the end", "std::min(size - offset, length)", "length"),
    ("the second piece", "first < length", "false"))

_in("ShareMemoryEx::read",
    ("a short read of more than there is", "if (end > w) return inPieces();", ""),
    ("a short read up to an offset behind the end", "if (w >= size) return inPieces();", ""),
    ("a short read of another kind of ring", "if (size > hdl->plainLimit) return inPieces();", ""),
    ("a short read without a barrier behind the size", "size = loadAcquire", "size = loadRelaxed"),
    ("a short read without a barrier", "storeRelease", "storeRelaxed"),
    ("a writer is woken before the space",
     "storeRelease(ring.readOffset, static_cast<std::uint32_t>(end)); return finishRead(ring, "
     "static_cast<std::uint32_t>(count))",
     "const int done = finishRead(ring, static_cast<std::uint32_t>(count)); "
     "storeRelease(ring.readOffset, static_cast<std::uint32_t>(end)); return done"))
_in("ShareMemoryEx::write",
    ("a short write before the data", "if (r > w) return inPieces();", ""),
    ("a short write without a barrier behind the size", "size = loadAcquire", "size = loadRelaxed"),
    ("a short write to the ring's end", "end >= size", "end > size"),
    ("a short write beyond the mapping", "if (size > hdl->plainLimit) return inPieces();", ""),
    ("a reader is woken before the data",
     "std::memcpy(dataBehind(ring) + w, src, count); storeStamped(ring, ring.writeOffset, "
     "static_cast<std::uint32_t>(end)); return finishWrite(ring, "
     "static_cast<std::uint32_t>(count))",
     "const int done = finishWrite(ring, static_cast<std::uint32_t>(count)); "
     "std::memcpy(dataBehind(ring) + w, src, count); storeStamped(ring, ring.writeOffset, "
     "static_cast<std::uint32_t>(end)); return done"),
    ("a reader is woken before the offset and the time",
     "storeStamped(ring, ring.writeOffset, static_cast<std::uint32_t>(end)); return "
     "finishWrite(ring, static_cast<std::uint32_t>(count))",
     "const int done = finishWrite(ring, static_cast<std::uint32_t>(count)); storeStamped(ring, "
     "ring.writeOffset, static_cast<std::uint32_t>(end)); return done"),
    ("the time of a write is that before its copy",
     "std::memcpy(dataBehind(ring) + w, src, count); storeStamped(ring, ring.writeOffset, "
     "static_cast<std::uint32_t>(end))",
     "const std::uint64_t now = milliseconds(); std::memcpy(dataBehind(ring) + w, src, count); "
     "storeRelease(ring.writeOffset, static_cast<std::uint32_t>(end)); "
     "storeRelaxed(ring.updateTime, now)"))
_in("storeStamped",
    ("an offset and its time without a barrier", "storeRelease", "storeRelaxed"),
    ("an offset before the clock is read",
     "const std::uint64_t now = milliseconds(); storeRelease(offset, value)",
     "storeRelease(offset, value); const std::uint64_t now = milliseconds()"),
    ("an offset without its time", "storeRelaxed(ring.updateTime, now);", "(void)now; (void)ring;"))
_in("ShareMemoryEx::releaseBuffer",
    ("a release without a barrier behind the size", "size = loadAcquire", "size = loadRelaxed"),
    ("a release in a ring without size", "if (size == 0) return;", ""),
    ("a release round the end", "if (offset >= size) offset -= size;", "",
     "the line behind it comes to the same, more slowly"),
    ("a release of too much", "if (offset >= size) offset %= size;", ""))
_in("ShareMemoryEx::getTotalSize",
    ("a total size without a barrier", "loadAcquire", "loadRelaxed"))
_in("copyOut",
    ("an impossible ring is read", "if (!state.isPossible(hdl->len)) return 0;", ""),
    ("more is read than there is", "std::min(state.used(), len)", "len"),
    ("the cache is invalidated after the copy",
     "if (hdl->needCache) cache_invalidate(hdl, from, bytes); copyBytes(dst",
     "copyBytes(dst, from, bytes); if (hdl->needCache) cache_invalidate(hdl"),
    ("the cache is invalidated after the offset",
     "if (hdl->needCache) cache_invalidate(hdl, from, bytes); copyBytes(dst, from, bytes); dst "
     "+= bytes; taken(next)",
     "copyBytes(dst, from, bytes); dst += bytes; taken(next); if (hdl->needCache) "
     "cache_invalidate(hdl, from, bytes)"),
    ("bytes are given free before they are copied",
     "copyBytes(dst, from, bytes); dst += bytes; taken(next)",
     "taken(next); copyBytes(dst, from, bytes); dst += bytes"))
_in("writeInPieces",
    ("an impossible ring is written", "if (!state.isPossible(hdl->len)) return 0;", ""),
    ("more is written than fits", "std::min(state.free(), len)", "len"),
    ("the cache is cleaned before the copy",
     "copyBytes(to, src, bytes); if (hdl->needCache) cache_clean(hdl, to, bytes)",
     "if (hdl->needCache) cache_clean(hdl, to, bytes); copyBytes(to, src, bytes)"),
    ("the cache is cleaned after the offset",
     "if (hdl->needCache) cache_clean(hdl, to, bytes); src += bytes; "
     "storeRelease(hdl->hdr->writeOffset, next)",
     "src += bytes; storeRelease(hdl->hdr->writeOffset, next); if (hdl->needCache) "
     "cache_clean(hdl, to, bytes)"))
_in("readAnyRing",
    ("an object without a mapping is read", "if (!hdl->isMapped()) return 0;", ""))
_in("writeAnyRing",
    ("an object without a mapping is written", "if (!hdl->isMapped()) return 0;", ""),
    ("a write in pieces without its time", "stampUpdate(ring);", ""),
    ("a reader of pieces is woken before the time",
     "stampUpdate(ring); return finishWrite(ring, count)",
     "const int done = finishWrite(ring, count); stampUpdate(ring); return done"))
_in("ShareMemoryEx::getUsedSize",
    ("the used size of an impossible ring", "isPossible(mHandle->len) ? state.used() : 0", "used()"))
_in("ShareMemoryEx::getFreeSize",
    ("the free size of an impossible ring", "isPossible(mHandle->len) ? state.free() : 0", "free()"))
_in("ShareMemoryEx::getNextBuffer",
    ("a view of an impossible ring", "isPossible ? state.usedInOnePiece() : 0",
     "state.usedInOnePiece()"),
    ("a view from an impossible offset", "(isPossible ? state.read : 0)", "state.read"))
_in("finishRead",
    ("a reader does not wake the writer",
     "if (loadRelaxed(ring.writeNotify) != 0) [[unlikely]] post(ring.writeSem, \"read\");", ""))
_in("finishWrite",
    ("a writer does not wake the reader",
     "if (loadRelaxed(ring.readNotify) != 0) [[unlikely]] post(ring.readSem, \"write\");", ""))
_in("ShareMemoryEx::updateReadOffset",
    ("a freed offset wakes nobody",
     "if (loadRelaxed(ring.writeNotify) != 0 && loadRelaxed(ring.wait) != 0) post(ring.writeSem, "
     "__func__);", ""),
    ("a freed offset wakes who does not wait", "&& loadRelaxed(ring.wait) != 0", ""),
    ("no fence before the wait flag is looked at",
     "std::atomic_thread_fence(std::memory_order_seq_cst);", ""),
    ("a writer is woken by the offset before the time",
     "storeStamped(ring, ring.readOffset, offset); "
     "std::atomic_thread_fence(std::memory_order_seq_cst); if (loadRelaxed(ring.writeNotify) != "
     "0 && loadRelaxed(ring.wait) != 0) post(ring.writeSem, __func__)",
     "storeRelease(ring.readOffset, offset); std::atomic_thread_fence(std::memory_order_seq_cst); "
     "if (loadRelaxed(ring.writeNotify) != 0 && loadRelaxed(ring.wait) != 0) post(ring.writeSem, "
     "__func__); stampUpdate(ring)"))
_in("ShareMemoryEx::updateWriteOffset",
    ("a written offset wakes nobody",
     "if (loadRelaxed(ring.readNotify) != 0) post(ring.readSem, __func__);", ""),
    ("a reader is woken by the offset before the time",
     "storeStamped(ring, ring.writeOffset, offset); if (loadRelaxed(ring.readNotify) != 0) "
     "post(ring.readSem, __func__)",
     "storeRelease(ring.writeOffset, offset); if (loadRelaxed(ring.readNotify) != 0) "
     "post(ring.readSem, __func__); stampUpdate(ring)"))
_in("ShareMemoryEx::setWait",
    ("no fence behind the wait flag", "std::atomic_thread_fence(std::memory_order_seq_cst);", ""))
_in("RingAccess::peek",
    ("looking takes the bytes", "[](std::uint32_t) {}",
     "[hdl](std::uint32_t next) { storeRelease(hdl->hdr->readOffset, next); }"))
_in("inMilliseconds",
    ("milliseconds of another length", "1000000", "1000"))
_in("milliseconds",
    ("the time of a clock that failed", "return millisecondsOfBrokenClock();", "return 0;"))
_in("millisecondsOfBrokenClock",
    ("a failing clock is not read again", "AudioTime::now(&now);", ""))

_in("initHeader",
    ("a sleeper is forgotten by a new read semaphore", "semaphoreWakeSleepers(readSem);", ""),
    ("a sleeper is forgotten by a new write semaphore", "semaphoreWakeSleepers(writeSem);", ""),
    ("the read semaphore is one of the process", "readSem, 1", "readSem, 0"),
    ("the write semaphore is one of the process", "writeSem, 1", "writeSem, 0"))
_in("openEmpty",
    ("a new ring keeps the time", "storeRelaxed<std::uint64_t>(ring.updateTime, 0);", ""),
    ("a new ring keeps the wait flag", "storeRelaxed<std::uint8_t>(ring.wait, 0);", ""),
    ("a new ring keeps the read offset", "storeRelaxed<std::uint32_t>(ring.readOffset, 0);", ""),
    ("a new ring's second offset", "writeOffset, 0", "writeOffset, 1"))
_in("createShmMap",
    ("the cache device goes to children", "O_RDWR | O_CLOEXEC", "O_RDWR"))

_in("uninitShmNotificationReceiver",
    ("a receiver is not told to stop", "receiver->prepareStop();", ""),
    ("a receiver whose post was taken away",
     "if (!semaphoreHasPost(hdl->recevierSem)) postFor(hdl, __func__);", ""),
    ("a receiver that destroys its ring", "receiver->isCaller()", "false"),
    ("a receiver is not waited for", "!receiver->waitForBodyEnd(RECEIVER_WAKE_INTERVAL_MS)",
     "false", "join() waits as well; what is in the loop has mutants of its own"))
_in("initShmNotificationReceiver",
    ("a receiver's semaphore is not shared", "semaphoreShare(hdl->recevierSem);", ""),
    ("a reader does not say that it waits", "storeRelaxed<std::uint8_t>(hdl->hdr->readNotify, 1);",
     ""),
    ("a writer does not say that it waits",
     "storeRelaxed<std::uint8_t>(hdl->hdr->writeNotify, 1);", ""),
    ("a reader waits for reads", "hdr->readSem", "hdr->writeSem"))

_in("ShareMemoryEx::ShareMemoryEx",
    ("a name that is not in the list",
     "if (hdl->hasKnownType()) addRingName(*hdl); const bool complete = createShmMap(hdl, name)",
     "const bool complete = createShmMap(hdl, name); if (hdl->hasKnownType()) addRingName(*hdl)"),
    ("a ring of an unknown type has a name", "if (hdl->hasKnownType())", ""))

_in("mapReserved",
    ("a length of more than 32 bits", "length > off_t{std::numeric_limits<std::uint32_t>::max()}",
     "false"),
    ("memory that is not there", "at == nullptr || reserve(fd, length)", "true"))
_in("headerLength",
    ("a hostile size is unmapped", "same ? shared : mapped", "shared"))
_in("reserve",
    ("an interrupted reservation", "result != 0 && errno == EINTR", "false"),
    ("no quota is room", "errno != EDQUOT &&", ""),
    ("no memory is room", "errno != ENOMEM &&", ""),
    ("a file system that cannot reserve", "result == 0 ||", "result == 0 &&"))
_in("mapShared",
    ("a failed mapping", "at != MAP_FAILED ? at : nullptr", "at"))
_in("openObject",
    ("everybody may open the object", "O_CREAT, 0600", "O_CREAT, 0666"))
_in("mapPhysicalMemory",
    ("physical memory goes to children", "O_RDWR | O_CLOEXEC", "O_RDWR"),
    ("the data at the page's start", "(at) + pages.dataAt", "(at)"))
_in("PhysicalPages::PhysicalPages",
    ("the pages without the data's place", "{hdl.len} + dataAt", "{hdl.len}"))

_in("dropRingName",
    ("a name that a younger ring uses", "used || hdl", "hdl"),
    ("a name that the ring keeps", "hdl.keepsName ||", ""),
    ("a name that goes after the decision",
     "const ConstantMutex::AutoLock lock(gRingNamesLock); const bool used = leaveList(hdl)",
     "gRingNamesLock.lock(); const bool used = leaveList(hdl); gRingNamesLock.unlock()"))
_in("sameNameAndSide",
    ("a name of the other side", "return ((one.mode ^ other.mode) & SHM_MODE_CREATOR) == 0 &&",
     "return"),
    ("another name", "&& std::strcmp(one.name, other.name) == 0", ""))

_in("complete",
    ("an incomplete ring is announced", "&& (!hdl.needCache || hdl.cacheFd >= 0)", ""),
    ("an inert ring is announced", "hdl.isMapped() &&", ""))
_in("RingAccess::mapsAnnounced",
    ("another address is announced", "hdl.phys == address &&", ""),
    ("another size is announced", "hdl.len == size &&", ""))
_in("nameIsMapped",
    ("a new object is announced", "found.st_ino == hdl.inode &&", ""),
    ("an object of another file system is announced", "found.st_dev == hdl.device &&", "",
     OUT_OF_REACH + "all objects lie in one file system"),
    ("another length is announced", "&& found.st_size == objectLength(hdl)", ""),
    ("a descriptor stays open", "close(fd);", ""))

_in("sem_post",
    ("a post too many", "countIn(seen) == COUNT_MAX", "false"),
    ("a post wakes nobody", "(seen & WAITERS_BIT) != 0", "false"))
_in("leaveWaiters",
    ("a sleeper that is not counted as one", "guess == 0", "false"),
    ("a waiter that leaves does not repair the bit", "guess != 1 || before == 1",
     "before != 0 || guess != 0"),
    ("a post that was missed meanwhile", "countIn(seen) != 0", "false"),
    ("a waiter that leaves keeps the bit", "guess == 1", "guess == 9"))
_in("sleepForPost",
    ("a post before going to sleep", "if (countIn(seen) != 0) continue;", "",
     "the kernel compares the word with one that has no post, and does not sleep"))
_in("sem_init",
    ("too large a count", "count > COUNT_MAX", "false"))
_in("PROCESS_SHARED",
    ("the mark of a shared semaphore", "128", "64"))
_in("semaphoreWakeSleepers",
    ("only one kind of sleeper is woken", "futexWake(word, FUTEX_WAKE_PRIVATE, INT_MAX);", "",
     OUT_OF_REACH + "sleepers of the C library's own kind need a 32-bit process on the other side"))
_in("semaphoreShare",
    ("a semaphore's kind is stored whatever it was", "0; std", "wordsOf(semaphore)[1]; std",
     "it is 0 or that of a shared one"))

_in("ShmUpdateNotificationRecevier::receive",
    ("the owner's post is delivered", "running() &&", ""))
_in("ShmUpdateNotificationRecevier::run",
    ("a body that was left to itself", "(mLeftToBody)", "(false)"))
_in("ShmUpdateNotificationRecevier::launch",
    ("a thread that did not start", "if (!running()) mBodyRuns = 0;", ""))
_in("ShmUpdateNotificationRecevier::ShmUpdateNotificationRecevier",
    ("the receiver is an ordinary thread", "1, POLICY_RR", "1, POLICY_OTHER"),
    ("the receiver has the lowest priority", "name, -1", "name, 1"))

_in("AudioSocket::waitForReader",
    ("a wait for a reader that ends early",
     "if (mState.isBodyTaken() || mIsStall != 0 || mState.isBroken())", ""),
    ("a reader that has gone is waited for", "|| mState.isBroken()", ""))
_in("AudioSocket::wakeRequester",
    ("waking without the lock", "const AudioMutex::AutoLock lock(*mReplyLock);", ""))
_in("AudioSocket::mayStillBeAnswered",
    ("a disconnected requester waits on", "mIsStall != 0 ||", ""),
    ("waiting for a thread that never ran", "|| !mState.hasWorkerStarted()", ""),
    ("an abandoned requester waits on", "!mState.isAbandoned() &&", ""),
    ("the policy about a lost server", "&& !cabinaudio::linkPolicy().wakesOnServerLoss", ""),
    ("a lost server always ends a request",
     "!mState.isAbandoned() && !cabinaudio::linkPolicy().wakesOnServerLoss", "false"),
    ("a policy that is asked the wrong way", "!cabinaudio::linkPolicy", "cabinaudio::linkPolicy"))
_in("AudioSocket::waitForReply",
    ("a wake-up without a reply", "while", "if"))
_in("AudioSocket::breakOff",
    ("a broken connection is used again", "mState.breakOff(*mReplyLock);", ""),
    ("a broken connection stays open", "::shutdown(mSocket, SHUT_RDWR);", ""),
    ("a broken connection keeps its receive thread", "mReplySem->signal();", ""))
_in("EARLY_WAKE_UP_PAUSE_US",
    ("a pause that is none", "1000", "0",
     "shortens a pause that keeps a broken semaphore from using the processor"))

_in("socket_make_sockaddr_un",
    ("too long a name", "name + 1 > sizeof address.sun_path", "false"),
    ("a name that is a file", "sun_path + 1", "sun_path"),
    ("a name with its terminator", "1 + name", "2 + name"),
    ("a name that just fits", "> sizeof address", ">= sizeof address"))
_in("openSocket",
    ("a standard stream as a socket", "descriptor <= STDERR_FILENO", "descriptor < 0"))
_in("AudioConnection::send",
    ("a negative length is sent", "if (length < 0) result = cabinaudio::refuseLength(); else", ""),
    ("sending does not hold the record",
     "const RecordLoan loan(mSocketRecord); AudioSocket* const pSocket = loan",
     "AudioSocket* const pSocket = RecordLoan(mSocketRecord)"),
    ("a limit of sending outlasts the policy", "limitSending",
     "if (deadline.isSet()) limitSending"),
    ("sending on no connection",
     "if (pSocket == nullptr) { AUDIO_LOGE(\"pSocket is null\\n\"); return 1; }", ""),
    ("sending on a broken connection",
     "if (pSocket->mState.isBroken()) { AUDIO_LOGE(\"connection is broken\\n\"); return 1; }", ""),
    ("a lost server ends the process", "(length), MSG_NOSIGNAL", "(length), 0"),
    ("the retries of sending are one less", "retry <= MAX_RETRIES", "retry < MAX_RETRIES"),
    ("no result is a failure", "result < 0", "result <= 0"))
_in("sendingLimit",
    ("sending without a limit", "1, SEND_TIMEOUT_MS", "0, SEND_TIMEOUT_MS",
     "differs only when the time runs out between two neighbouring lines"),
    ("the policy does not limit sending",
     "std::clamp<std::uint64_t>(deadline.remainingMs(), 1, SEND_TIMEOUT_MS)", "SEND_TIMEOUT_MS"))
_in("waitForBody",
    ("a body is not waited for with a limit", "if (ms == 0) return false;", ""))
_in("AudioConnection::connect",
    ("a second connection", "if (mSocketRecord.load() != nullptr) return 0;", ""),
    ("no server is no memory", "return 2;", "return 1;"))
_in("AudioConnection::recv",
    ("receiving does not hold the record",
     "const RecordLoan loan(mSocketRecord); AudioSocket* const pSocket = loan",
     "AudioSocket* const pSocket = RecordLoan(mSocketRecord)"),
    ("receiving on a broken connection",
     "if (pSocket->mState.isBroken()) { AUDIO_LOGE(\"connection is broken\\n\"); return 1; }", ""),
    ("receiving without the lock", "const AudioMutex::AutoLock lock(*pSocket->mReplyLock);", ""),
    ("a reply is taken twice", "pSocket->mReplyReady = 0;", ""),
    ("the receive thread is not let go on", "pSocket->mReplySem->signal();", ""),
    ("a time that is over does not break the connection", "pSocket->breakOff();", ""))
_in("AudioConnection::_abandon",
    ("abandoning does not hold the record",
     "const RecordLoan loan(mSocketRecord); AudioSocket* const pSocket = loan",
     "AudioSocket* const pSocket = RecordLoan(mSocketRecord)",
     "its callers hold the call that owns the connection"),
    ("abandoned without waking", "if (pSocket->mState.abandon()) pSocket->wakeRequester",
     "(void)pSocket->mState.abandon"))
_in("limitSending",
    ("a limit of sending that is not remembered", "record.mSendLimitMs = ms", "return"),
    ("milliseconds of the limit", "ms % 1000 * 1000", "ms % 1000"))
_in("AudioConnection::disconnect",
    ("a disconnect that looks like a lost server", "pSocket->mIsStall = 1;", ""),
    ("a disconnect without shutting down", "::shutdown(pSocket->mSocket, SHUT_RDWR);", ""),
    ("a disconnect that does not wake the requester", "pSocket->wakeRequester();", ""),
    ("a disconnect that does not wake the receive thread", "pSocket->mReplySem->signal();", ""),
    ("a receive thread that is not joined", "pSocket->mWorker->join();", "",
     "its own destructor joins it"),
    ("requesters are not waited for", "taken.waitForReturn();", ""))
_in("AudioConnection::_interrupt",
    ("interrupted without waking", "pSocket->wakeRequester();", ""))
_in("SEND_TIMEOUT_MS",
    ("another limit of sending", "10000", "5000"))
_in("prepareSocket",
    ("the socket goes to children", "F_SETFD, FD_CLOEXEC", "F_SETFD, 0"))
_in("readBody",
    ("the errno of a failed body", "error; if", "0; if"))

_in("receiveOnce",
    ("a negative length is received", "if (length < 0) return refuseLength();", ""),
    ("nothing is received", "if (length == 0) return 0;", ""))
_in("worthRetrying",
    ("every failure is tried again", "result == 0 || (result == -1 && error == EAGAIN)", "true"),
    ("no failure is tried again", "result == 0 || (result == -1 && error == EAGAIN)", "false"))
_in("MAX_ATTEMPTS",
    ("one attempt less", "11", "10"))
_in("RETRY_PAUSE_US",
    ("shorter pauses", "10000", "100"))

_in("SktWorker::run",
    ("the receive thread goes without saying so",
     "mRecord->mState.endWorker(*mRecord->mReplyLock);", ""),
    ("the receive thread goes without waking", "mRecord->mReplyCond->broadcast();", ""),
    ("the receive thread goes without the lock",
     "const AudioMutex::AutoLock lock(*mRecord->mReplyLock);", ""))
_in("SktWorker::_handOverReply",
    ("a reply is handed over without the lock",
     "const AudioMutex::AutoLock lock(*mRecord->mReplyLock);", ""),
    ("a reply is handed over on a broken connection", "if (mRecord->mState.isBroken()) return;",
     "",
     "nobody reads on a broken connection but a second request at the same time, which no client "
     "makes"),
    ("a reply wakes nobody", "mRecord->mReplyCond->signal();", ""),
    ("the receive thread does not wait for the body", "mRecord->waitForReader();", ""))
_in("SktWorker::_readFrames",
    ("a broken connection is no loss",
     "if (mRecord->mState.isBroken()) { _reportLoss(); return; }", ""),
    ("any bytes are a frame", "&& header.magic == FRAME_MAGIC", ""))
_in("SLOW_FRAME_US",
    ("another idea of a slow frame", "3000", "3000000"))
_in("SktWorker::_reportNoFrame",
    ("a lost server that looks like a pause", "error != EAGAIN", "true"),
    ("no frame after a loss", "&& result <= 0", ""),
    ("bytes that are no frame are skipped", "|| magic != FRAME_MAGIC", ""))
_in("SktWorker::_takeFrame",
    ("a notification's numbers", "event, header.param", "param, header.event"))
_in("SktWorker::SktWorker",
    ("the receive thread is an ordinary one", "1, POLICY_RR", "1, POLICY_OTHER"))

_in("ConnectionState::abandon",
    ("abandoned without saying so", "fetch_or(ABANDONED)", "load()"))
_in("ConnectionState::offerBody",
    ("a body that was read before counts for the next",
     "mFlags &= static_cast<std::uint8_t>(~BODY_TAKEN);", ""))

_in("RecordLoan::RecordLoan",
    ("a loan is not counted", "withOneMore(seen)", "seen"),
    ("a loan more than can be counted", "&& loansIn(seen) != LOANS", ""))
_in("RecordLoan::~RecordLoan",
    ("a loan stays counted in the slot", "withOneLess(seen)", "seen"),
    ("a loan is given back to the slot of the next record", "recordIn(seen) == mRecord", "true"),
    ("a loan is not given back to the record", "mRecord->mReturnedLoans.add();", ""))
_in("ReturnedLoans::add",
    ("a loan is given back without the lock", "const AudioMutex::AutoLock lock(mLock);", ""),
    ("a loan that is given back wakes nobody", "mChanged.signal();", ""))
_in("takeRecord",
    ("a record stays in the slot", "exchange(nullptr, std::memory_order_acq_rel)",
     "load(std::memory_order_acquire)"),
    ("a record is taken with its count", "recordIn(taken)", "taken"))
_in("TakenRecord::waitForReturn",
    ("the taker does not wait", "record->mReturnedLoans.await(loans);", ""))
_in("ReturnedLoans::await",
    ("one loan that is given back is enough", "mCount < count", "mCount == 0"),
    ("the taker looks without the lock", "const AudioMutex::AutoLock lock(mLock);", ""))

_in("messageLength",
    ("a message of more than 31 bits", "if (payload > MAX_LENGTH - HEADER_SIZE) return -1;", ""))
_in("bodyLength",
    ("a body of more than 31 bits", "wanted < MAX_LENGTH ? wanted : MAX_LENGTH", "wanted"))
_in("RemoteCall::~RemoteCall",
    ("the destructor does not wait for requests", "mNotifier->requests.drain();", ""),
    ("the destructor does not end requests", "conn->_interrupt();", ""))
_in("RemoteCall::rcalloc",
    ("a second block", "!mReqPayload.compare_exchange_strong(idle, CLAIMED)",
     "(void)idle, (mReqPayload = CLAIMED) == nullptr"),
    ("too large a block", "reqLen > std::numeric_limits<std::uint32_t>::max() - HEADER_SIZE",
     "false"),
    ("a reply block of no bytes", "retLen != 0 ? retLen : 1", "retLen",
     "the C library has a block of no bytes, too"))
_in("RemoteCall::call",
    ("a foreign block is sent", "|| req != mReqPayload", ""),
    ("the claim is sent as a block", "req == CLAIMED ||", "",
     "a caller has no way to know that address"),
    ("a call without a connection", "conn == nullptr ||", ""),
    ("a call without a handle", "|| handle == 0", ""),
    ("a call does not hold the connection", "const UseGate::Visit visit(mNotifier->requests);", ""),
    ("the flag is turned round", "AUDIO_CMD_CALL_FLAG : AUDIO_CMD_CALL",
     "AUDIO_CMD_CALL : AUDIO_CMD_CALL_FLAG"),
    ("a request under its own name", "cabinaudio::wire::NAME_UNKNOWN", "\"none\""),
    ("the reply has the request's length", "(retLen)", "(reqLen)"))
_in("RemoteCall::rcfree",
    ("a foreign reply block is released", "|| ret != mRetBlock", ""),
    ("a block stays claimed", "if (mine) mReqPayload = outstanding;", ""),
    ("blocks of nothing are released", "req == nullptr || ret == nullptr", "false"))
_in("RemoteCall::init_audio_param",
    ("a name that is too long", "sizeof param.name - 1", "2 * sizeof param.name"),
    ("a name without an end", "name - 1", "name"),
    ("a request has no time", "param.timestamp = AudioTime::now();", ""))
_in("RemoteCall::RemoteCall",
    ("the handle of another word", "registered.handle", "registered.spare0"),
    ("a registration's length", "audio_param::name", "audio_param"))
_in("requestWords",
    ("the status as value", "reply + sizeof(std::int32_t)", "reply"),
    ("a value without a place", "&& value != nullptr", ""),
    ("a value of a reply that did not arrive", "called == AUDIO_NO_ERROR &&", ""))
_in("RemoteCall::callFuncId",
    ("a reply without the value that nobody wants", "out != nullptr ? out : &unwanted", "out"),
    ("two numbers change places", "(b), word(c)", "(c), word(b)"))
_in("RemoteCall::initCheck",
    ("a refused client is one", "mHandle != 0", "mHandle == 0"))

_in("RemoteCall::RemoteCallNotifierWorker::post",
    ("notifications are queued without the lock", "const AudioMutex::AutoLock lock(mLock);", ""),
    ("a notification wakes nobody", "mWakeUps.signal();", ""),
    ("notifications from the end", "mMessages.push_back", "mMessages.push_front"))
_in("RemoteCall::RemoteCallNotifierWorker::_takeFirst",
    ("notifications are taken without the lock", "const AudioMutex::AutoLock lock(mLock);", ""),
    ("an empty queue", "if (mMessages.empty()) return nullptr;", ""))
_in("RemoteCall::RemoteCallNotifierWorker::~RemoteCallNotifierWorker",
    ("the notifier is not woken at its end", "mWakeUps.signal();", ""))
_in("RemoteCall::RemoteCallNotifierWorker::run",
    ("a stopped notifier delivers nothing", "mWakeUps.wait(); if (!running()) return",
     "if (!running()) return; mWakeUps.wait()",
     OUT_OF_REACH + "differs when a notification comes between the stop and the wake-up"))

_in("createDeafToSignals",
    ("signals reach a thread's body", "&others, &", "nullptr, &"),
    ("a creator hears what it blocks", "SIG_BLOCK, &", "SIG_SETMASK, &"),
    ("a creator stays deaf", "AUDIO_IGNORE(pthread_sigmask(SIG_SETMASK, &before, nullptr) == 0);",
     ""))
_in("otherSignals",
    ("signals of faults are blocked", "sigdelset(&signals, signal)", "(void)signal",
     "the new thread takes them out of its mask before its body"))
_in("AudioThread::_run",
    ("signals of faults stay blocked",
     "AUDIO_IGNORE(pthread_sigmask(SIG_UNBLOCK, &faults, nullptr) == 0)", "(void)faults"))
_in("setStack",
    ("no stack is set", "bytes != 0", "false"))
_in("AudioThread::start",
    ("an application's thread has the library's stack", "this, 0", "this"))
_in("cabinaudio::LibraryThread::start",
    ("any failure makes an ordinary thread", "ret == EPERM", "ret != 0"),
    ("an ordinary thread that nobody allowed",
     "&& cabinaudio::gAllowsOrdinaryThreads.load(std::memory_order_relaxed)", ""),
    ("a thread inherits its policy", "attr, PTHREAD_EXPLICIT_SCHED", "attr, PTHREAD_INHERIT_SCHED"),
    ("the lowest priority", "1 ? sched_get_priority_max", "1 ? sched_get_priority_min"),
    ("which priority is the highest", "mPriority == -1", "mPriority < 2"),
    ("a thread that did not start runs", "thread.mRunning = false;", ""),
    ("a second start", "(thread.mRunning)", "(false)"),
    ("an ended thread is not let go",
     "!thread.mJoined && pthread_tryjoin_np(mThread, nullptr) != 0", "false"))
_in("createOrdinary",
    ("an ordinary thread inherits its policy", "attr, PTHREAD_EXPLICIT_SCHED",
     "attr, PTHREAD_INHERIT_SCHED"))
_in("AudioThread::AudioThread",
    ("a shorter name", "\"AS-%.12s\", name", "\"AS-%.11s\", name"),
    ("a name of nothing", "name : \"Default\"", "name : \"default\""))
_in("AudioThread::join",
    ("a thread is joined twice", "mJoined = true;", ""))
_in("AudioThread::_getPolicyId",
    ("first in, first out is round robin", "SCHED_FIFO; case", "SCHED_RR; case"))
_in("AudioThread::prepareStop",
    ("a body that was stopped is still running", "mRunning = false;", ""))

_in("UseGate::drain",
    ("nobody is waited for", "(mState.load(std::memory_order_acquire) & VISITORS) == 0", "true"),
    ("a drain does not announce itself", "fetch_or(DRAINING,", "fetch_or(0,"),
    ("a drain counts before it looks at the word",
     "const std::uint32_t seen = gEmptied; if ((mState.load(std::memory_order_acquire) & VISITORS) "
     "== 0) break;",
     "if ((mState.load(std::memory_order_acquire) & VISITORS) == 0) break; "
     "const std::uint32_t seen = gEmptied;",
     OUT_OF_REACH + "differs when a visitor leaves between two loads; models/gate.pml has it"),
    ("a drain does not acquire", "mState.load(std::memory_order_acquire)",
     "mState.load(std::memory_order_relaxed)",
     OUT_OF_REACH + "differs when a visitor leaves between two steps; the thread sanitizer sees it "
     "in some runs"),
    ("a drained gate stays marked", "mState.fetch_and(VISITORS, std::memory_order_relaxed);", ""))
_in("UseGate::empty",
    ("no gate is empty", "== 0", "== VISITORS"),
    ("every gate is empty", "== 0", "<= VISITORS"))
_in("UseGate::enter",
    ("a visitor is not counted", "fetch_add(1,", "fetch_add(0,"))
_in("UseGate::leave",
    ("a visitor stays counted", "fetch_sub(1,", "fetch_sub(0,"),
    ("leaving does not release", "std::memory_order_release", "std::memory_order_relaxed"),
    ("the gate is looked at after leaving",
     "if (mState.fetch_sub(1, std::memory_order_release) == (DRAINING | 1))",
     "mState.fetch_sub(1, std::memory_order_release); if (mState == DRAINING)"),
    ("leaving without waking", "wakeDrains()", "(void)0"))
_in("UseGate::wakeDrains",
    ("the word of the drains stays the same", "++gEmptied;", ""),
    ("nobody is woken", "gEmptied.notify_all();", ""),
    ("one drain is woken for all", "notify_all", "notify_one"))

_in("requestBlocks",
    ("a request does not hold the call",
     "const UseGate::Visit visit(RemoteCallAccess::requests(rc));", ""),
    ("blocks are freed before the outcome is handed over",
     "conclude(status, static_cast<const std::uint8_t*>(ret)); if (arrived) std::memcpy(&status, "
     "ret, sizeof status); const bool isFreed = rc.rcfree(param, ret) == AUDIO_NO_ERROR",
     "auto* const copy = new std::uint8_t[replySize]; std::memcpy(copy, ret, replySize); const "
     "bool isFreed = rc.rcfree(param, ret) == AUDIO_NO_ERROR; conclude(status, static_cast<const "
     "std::uint8_t*>(copy)); if (arrived) std::memcpy(&status, copy, sizeof status); delete[] "
     "copy"),
    ("the server's status", "if (arrived) std::memcpy(&status, ret, sizeof status);", ""),
    ("a lost answer has arrived", "arrived, isFreed", "true, isFreed"),
    ("a lost answer has a status", "if (arrived)", ""),
    ("another status of no memory", "AUDIO_NO_MEMORY, allocated", "allocated, allocated"),
    ("a reply that is not zeros before", "std::memset(ret, 0, replySize);", ""),
    ("the flag is turned round", "replySize, flag", "replySize, !flag"))

_in("adoptRing",
    ("a ring that is mapped is mapped again",
     "current != nullptr && RingAccess::mapsAnnounced(*current, place.address, place.size)",
     "false"),
    ("a new ring is taken for the mapped one",
     "&& RingAccess::mapsAnnounced(*current, place.address, place.size)", ""),
    ("a ring that could not be mapped replaces the earlier one",
     "current != nullptr && current->isUsable() && !ring->isUsable()", "false"),
    ("a ring that could not be mapped takes the name away", "RingAccess::keepName(*ring);", ""),
    ("a new ring does not replace the earlier one", "slot = ring; return current",
     "if (current != nullptr) return ring; slot = ring; return nullptr"),
    ("a replaced ring is not deleted", "return current;", "return nullptr;"))
_in("deleteRing",
    ("no ring is deleted", "if (ring == nullptr) return;", "",
     "deleting nothing does nothing, and no thread stays in the gate"),
    ("lookers are not waited for", "link.ringVisitors.drain();", ""))
_in("createRequest",
    ("a size that is not a process's", "static_cast<std::int32_t>(syscall(SYS_getpid))", "0"),
    ("the parameter of a stream", "streamParam, static_cast", "0 * streamParam, static_cast"))
_in("nowMs",
    ("a lag of another unit", "now() / 1000", "now() / 1024"))

_in("BlockedWait::BlockedWait",
    ("a blocked call is not marked", "mIsBlocked = true;", ""))
_in("BlockedWait::~BlockedWait",
    ("a call on its way out stays blocked", "mIsBlocked = false;", ""),
    ("a call on its way out keeps silent", "if (mState != ACTIVE) mChanged.signal();", ""),
    ("a removed stream's call keeps silent", "mState != ACTIVE", "mState == NO_INIT"))
_in("LAG_WARNING_MS",
    ("a late wake-up", "2", "3",
     OUT_OF_REACH + "differs for a wake-up that took 2 ms to the millisecond"))

_in("sendInTurn",
    ("requests of two threads at once",
     "const AudioMutex::AutoLock lock(StreamLink::of(&rc).requestLock);", ""))
_in("changeState",
    ("a state that is there already is asked for",
     "if (stream.isIn(to)) return {StateChange::Outcome::NotNeeded, AUDIO_NO_ERROR};", ""),
    ("a change from any state",
     "if (!stream.isIn(from)) return {StateChange::Outcome::Refused, AUDIO_INVALID_STATE};", ""),
    ("a change that failed is one",
     "if (status != AUDIO_NO_ERROR) return {StateChange::Outcome::Failed, status}; stream.state "
     "= to",
     "stream.state = to; if (status != AUDIO_NO_ERROR) return {StateChange::Outcome::Failed, "
     "status}"))
_in("setRemoved",
    ("a removed stream is stopped", "STOPPING; stream", "IDLE; stream"),
    ("removal wakes nobody", "stream.wakeBlocked();", ""))
_in("wakeAfterUpdate",
    ("an update while nobody is blocked", "if (!stream.isBlocked) return 0;", "",
     "comes to a wake-up of nobody and, when it is late, a line of the log too many"),
    ("an update wakes nobody", "stream.changed.signal();", ""),
    ("an update of a ring that is not mapped", "|| !ring->isUsable()", "",
     "a ring that is not mapped has no receiver thread, which alone asks"),
    ("an update of no ring", "ring == nullptr ||", ""))
_in("waitForExit",
    ("the destructor does not wake the blocked call", "stream.changed.signal();", ""),
    ("the destructor waits once",
     "for (; stream.isBlocked && waited < limitMs; waited = nowMs() - begin)",
     "if (stream.isBlocked)"),
    ("a wait beyond its limit", "limitMs - waited", "limitMs",
     OUT_OF_REACH + "differs after a wake-up that was the blocked call's, and then only in length"))
_in("endReader",
    ("the destructor does not wait for a reader",
     "true; (void)waitForExit(stream, READER_EXIT_WAIT_MS);", "true;"))
_in("READER_EXIT_WAIT_MS",
    ("another wait for a reader", "500", "250"))
_in("clearCapture",
    ("a running stream is cleared", "!stream.isIn(IDLE)", "false"),
    ("a stream without a ring is cleared", "if (ShareMemoryEx* const ring = stream.ring) ring",
     "stream.ring.load()"))

_in("StreamDump::begin",
    ("a dump in use is closed", "dump->mEarlier =", "delete"),
    ("an earlier dump is forgotten",
     "dump->mEarlier = static_cast<StreamDump*>(current.exchange(dump, "
     "std::memory_order_acq_rel))", "(void)current.exchange(dump, std::memory_order_acq_rel)"),
    ("a dump is stored without a barrier", "std::memory_order_acq_rel",
     "std::memory_order_relaxed",
     OUT_OF_REACH + "a read would have to be held up between its data and its dump while other "
     "threads stop and check the stream"))
_in("StreamDump::endAll",
    ("dumps stay open", "delete dump;", ""))

_in("StreamLink::rc",
    ("an early notification finds no link", "(rc = this, type)", "type"))
_in("StreamLink",
    ("a late notification finds no extras", "StreamExtras, public RemoteCall",
     "RemoteCall, public StreamExtras"))

_in("Playback::step",
    ("a step of nothing", "std::max(perLoopSize, 1)", "perLoopSize"),
    ("a step of less than there is", "0 ? free", "1 ? free"))
_in("Playback::writableNow",
    ("more is written than fits", "std::min(freeSize(ring), bytes)", "bytes"),
    ("a negative count is written", "std::max(count, 0)", "count",
     OUT_OF_REACH + "takes a ring of 2 GiB"))
_in("Playback::mapRing",
    ("a ring for reading", "SHM_MODE_WRITER, &", "SHM_MODE_READER, &"),
    ("a failed request drops the ring", "; return;",
     "; replaced = stream.mShareMemory.exchange(nullptr); return;"))
_in("Playback::writeOnce",
    ("a dump of nothing", "StreamDump::write(dump, buffer, static_cast<unsigned>(len));", ""))
_in("Playback::freeSize",
    ("the free size of no ring", "ring != nullptr ? static_cast<int>(ring->getFreeSize()) : 0",
     "static_cast<int>(ring->getFreeSize())"))
_in("Playback::SPACE_WAIT_MS",
    ("another wait for space", "600", "300"))
_in("Playback::WRITER_EXIT_WAIT_MS",
    ("another wait for a writer", "2000", "1000"))

_in("Playback::waitForSpace",
    ("a full ring is looked at once only",
     "if (freeSize(stream.ring) >= need) { setRingWait(stream, false); return need; }", ""),
    ("the ring's flag is not set", "setRingWait(stream, true);", ""),
    ("the flag stays after a wait", "setRingWait(stream, false); }", "}"),
    ("the flag stays after a second look", "setRingWait(stream, false); return need",
     "return need"),
    ("a writer that is woken for ever", "|| (patience.isOver() && freeSize(stream.ring) < need)",
     ""),
    ("a stopped stream is written to", "isWoken && !stream.isIn(ACTIVE)", "false"),
    ("a source that went away", "if (isWoken && isGivenUp != nullptr && *isGivenUp) return 0;", ""))
_in("Playback::refusal",
    ("a second writer", "(stream.isBlocked)", "(false)"),
    ("a second writer is in another state", "isBlocked); return AUDIO_INVALID_OPERATION",
     "isBlocked); return AUDIO_INVALID_STATE"))
_in("Playback::stop",
    ("stop wakes nobody", "stream.wakeBlocked();", ""),
    ("a stopped stream stays at its end", "stream.isWriteDone = false;", ""))
_in("Playback::writeDone",
    ("the time of the end is that of the answer",
     "stream.writeDoneTime = nowMs(); const std::int32_t status = "
     "stream.request(id(wire::StreamFunction::WriteDone), true)",
     "const std::int32_t status = stream.request(id(wire::StreamFunction::WriteDone), true); "
     "stream.writeDoneTime = nowMs()"),
    ("the end is not remembered", "stream.isWriteDone = true;", ""),
    ("the flag of requests", "true);", "false);"))
_in("Playback::endWriter",
    ("a stream that is destroyed is stopping", "NO_INIT; if", "STOPPING; if"),
    ("the destructor does not wait for a writer", "waitForExit(stream, WRITER_EXIT_WAIT_MS)", "0"))
_in("setRingWait",
    ("a ring that is not mapped has a flag", "&& ring->isUsable()", ""))

_in("ClientTrack::start",
    ("start waits before it is logged",
     "AUDIO_LOGD(\"[%s]start In\\n\", mName); const AudioMutex::AutoLock lock(mLock)",
     "const AudioMutex::AutoLock lock(mLock); AUDIO_LOGD(\"[%s]start In\\n\", mName)"))
_in("ClientTrack::stop",
    ("stop waits before it is logged",
     "AUDIO_LOGD(\"[%s]stop In\\n\", mName); const AudioMutex::AutoLock lock(mLock)",
     "const AudioMutex::AutoLock lock(mLock); AUDIO_LOGD(\"[%s]stop In\\n\", mName)"))
_in("ClientTrack::clear",
    ("clear waits before it is logged",
     "AUDIO_LOGD(\"[%s]clear In\\n\", mName); const AudioMutex::AutoLock lock(mLock)",
     "const AudioMutex::AutoLock lock(mLock); AUDIO_LOGD(\"[%s]clear In\\n\", mName)"))
_in("ClientTrack::writeDone",
    ("the end of the data waits before it is logged",
     "AUDIO_LOGD(\"[%s]writeDone In\\n\", mName); const AudioMutex::AutoLock lock(mLock)",
     "const AudioMutex::AutoLock lock(mLock); AUDIO_LOGD(\"[%s]writeDone In\\n\", mName)"),
    ("an alternative track has an end", "(!mIsAuxiliary)", "(false)"))
_in("ClientTrack::onRemoved",
    ("removal without the lock", "const AudioMutex::AutoLock lock(mLock);", ""),
    ("removal waits before it is logged",
     "AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, \"[%s]server track has be deleted, disconnect.\\n\", "
     "mName); const AudioMutex::AutoLock lock(mLock)",
     "const AudioMutex::AutoLock lock(mLock); AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, \"[%s]server "
     "track has be deleted, disconnect.\\n\", mName)"))
_in("ClientTrack::~ClientTrack",
    ("the destructor without the lock", "const AudioMutex::AutoLock lock(mLock);", ""),
    ("a ring of the last moment stays", "delete mShareMemory;", ""),
    ("dumps stay open", "StreamDump::endAll(mDump);", ""),
    ("a request that waits for a dead server", "RemoteCallAccess::abandon(*mRc);", ""))
_in("ClientTrack::notify",
    ("an update is looked at without the lock", "const AudioMutex::AutoLock lock(mLock);", ""),
    ("an update is logged without the lock",
     "const AudioMutex::AutoLock lock(mLock); cabinaudio::logUpdate(parts(), AUDIO_LOG_SITE)",
     "mLock.lock(); const std::uint64_t lag = cabinaudio::wakeAfterUpdate(parts()); "
     "mLock.unlock(); if (lag >= cabinaudio::LAG_WARNING_MS) AUDIO_LOGW(\"[%s] update share "
     "memory IPC interVal:%llu ms > 1 ms\\n\", mName, llu(lag))"))
_in("ClientTrack::write",
    ("writing without the lock", "const AudioMutex::AutoLock lock(mLock);", ""),
    ("a stopped stream takes a write", "|| mState.load(std::memory_order_relaxed) != ACTIVE", ""),
    ("no ring is another status", "return AUDIO_TIMED_OUT;", "return AUDIO_INVALID_STATE;"),
    ("no bytes are written", "bytes < 1", "false"),
    ("no buffer is written", "buffer == nullptr", "false"),
    ("every write is the first", "exchange(true)", "load()"),
    ("a write without the space for it", "Playback::freeSize(mShareMemory) >= bytes", "true"),
    ("a write waits for one byte more", ">= bytes", "> bytes",
     "the step that follows takes all bytes as well"))
_in("ClientTrack::ClientTrack",
    ("notifications before the end of construction", "const AudioMutex::AutoLock lock(mLock);", ""),
    ("which track is auxiliary", "tag != AUDIO_TAG_ALTERNATIVE", "tag == AUDIO_TAG_AUXILIARY"))
_in("ClientTrack::init",
    ("a stream that was removed while it was made", "if (mState == NO_INIT)", ""))
_in("ClientTrack::getTotalBufferSize",
    ("the total size of a ring that goes",
     "const UseGate::Visit visit(StreamLink::of(mRc).ringVisitors);", ""))
_in("ClientTrack::bytesFree",
    ("the free size of a ring that goes",
     "const UseGate::Visit visit(StreamLink::of(mRc).ringVisitors);", ""))
_in("ClientTrack::checkAndWaitShareBufferReady",
    ("a signal without a ring",
     "for (std::uint64_t waited = 0; mShareMemory == nullptr && mState == ACTIVE && !isTimedOut; "
     "waited = nowMs() - begin)", "const std::uint64_t waited = 0;"),
    ("a stopped writer waits on for its ring", "mState == ACTIVE &&", ""))
_in("ClientTrack::onRingReady",
    ("a new ring wakes nobody", "if (mIsBlocked) mCond.signal();", ""),
    ("a replaced ring is deleted under the lock",
     "ReplacedRing replaced(StreamLink::of(mRc)); const AudioMutex::AutoLock lock(mLock)",
     "const AudioMutex::AutoLock lock(mLock); ReplacedRing replaced(StreamLink::of(mRc))"))
_in("ClientTrack::setKeyShift",
    ("too small a key shift", "key < KEY_SHIFT_MIN ||", ""),
    ("too large a key shift", "|| key > KEY_SHIFT_MAX", ""),
    ("a key's status", "answer.status", "AUDIO_NO_ERROR"))
_in("client/ClientTrack.cpp: RING_WAIT_MS",
    ("another wait for a ring", "1000", "2000"))
_in("KEY_SHIFT_MAX",
    ("the highest key", "1.2F", "1.3F"))
_in("ClientTrack::initCheck",
    ("the flag of the confirmation", "false", "true"))
_in("ClientTrack::onFinished",
    ("the end of the stream", "(false)", "(true)"))

_in("ClientSink::start",
    ("start waits before it is logged",
     "AUDIO_LOGD(\"[%s]start In\\n\", mName); const InTurn turn(StreamLink::of(mRc).turn, mLock)",
     "const InTurn turn(StreamLink::of(mRc).turn, mLock); AUDIO_LOGD(\"[%s]start In\\n\", mName)"))
_in("ClientSink::stop",
    ("stop waits before it is logged",
     "AUDIO_LOGD(\"[%s]stop In\\n\", mName); const InTurn turn(StreamLink::of(mRc).turn, mLock)",
     "const InTurn turn(StreamLink::of(mRc).turn, mLock); AUDIO_LOGD(\"[%s]stop In\\n\", mName)"))
_in("ClientSink::clear",
    ("clear waits before it is logged",
     "AUDIO_LOGD(\"[%s]clear In\\n\", mName); const InTurn turn(StreamLink::of(mRc).turn, mLock)",
     "const InTurn turn(StreamLink::of(mRc).turn, mLock); AUDIO_LOGD(\"[%s]clear In\\n\", mName)"))
_in("ClientSink::writeDone",
    ("the end of the data waits before it is logged",
     "AUDIO_LOGD(\"[%s]writeDone In\\n\", mName); const InTurn turn(StreamLink::of(mRc).turn, "
     "mLock)",
     "const InTurn turn(StreamLink::of(mRc).turn, mLock); AUDIO_LOGD(\"[%s]writeDone In\\n\", "
     "mName)"))
_in("ClientSink::onRemoved",
    ("removal without the lock", "const InTurn turn(StreamLink::of(mRc).turn, mLock);", ""),
    ("removal waits before it is logged",
     "AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, \"[%s]server track has be deleted, disconnect.\\n\", "
     "mName); const InTurn turn(StreamLink::of(mRc).turn, mLock)",
     "const InTurn turn(StreamLink::of(mRc).turn, mLock); AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, "
     "\"[%s]server track has be deleted, disconnect.\\n\", mName)"))
_in("ClientSink::~ClientSink",
    ("the destructor without the lock", "const AudioMutex::AutoLock lock(mLock);", ""),
    ("a ring of the last moment stays", "delete mShareMemory;", ""),
    ("dumps stay open", "StreamDump::endAll(mDump);", ""),
    ("a request that waits for a dead server", "RemoteCallAccess::abandon(*mRc);", ""))
_in("ClientSink::notify",
    ("an update is looked at without the lock", "const AudioMutex::AutoLock lock(mLock);", ""),
    ("an update is logged without the lock",
     "const AudioMutex::AutoLock lock(mLock); cabinaudio::logUpdate(parts(), AUDIO_LOG_SITE)",
     "mLock.lock(); const std::uint64_t lag = cabinaudio::wakeAfterUpdate(parts()); "
     "mLock.unlock(); if (lag >= cabinaudio::LAG_WARNING_MS) AUDIO_LOGW(\"[%s] update share "
     "memory IPC interVal:%llu ms > 1 ms\\n\", mName, llu(lag))"))
_in("ClientSink::onSourceActivated",
    ("a replaced ring is deleted under the lock",
     "ReplacedRing replaced(StreamLink::of(mRc)); const InTurn turn(StreamLink::of(mRc).turn, "
     "mLock)",
     "const InTurn turn(StreamLink::of(mRc).turn, mLock); ReplacedRing "
     "replaced(StreamLink::of(mRc))"),
    ("a new source wakes nobody", "if (mIsBlocked) mCond.signal();", ""),
    ("a source that went stays gone", "mSourceRemoved = false;", ""),
    ("a source is never there", "mSourceActive = true;", ""))
_in("ClientSink::acknowledgeWithdrawal",
    ("the server hears before the ring is gone",
     "cabinaudio::deleteRing(StreamLink::of(mRc), ring); return cabinaudio::sendInTurn(*mRc, "
     "id(StreamFunction::SourceDeactivated), true) == AUDIO_NO_ERROR",
     "const bool isTold = cabinaudio::sendInTurn(*mRc, id(StreamFunction::SourceDeactivated), "
     "true) == AUDIO_NO_ERROR; cabinaudio::deleteRing(StreamLink::of(mRc), ring); return isTold"),
    ("the flag of an acknowledgement", "true", "false"))
_in("ClientSink::ClientSink",
    ("notifications before the end of construction", "const AudioMutex::AutoLock lock(mLock);", ""),
    ("any parameter is real time", "streamParam > 0", "streamParam >= 0"))
_in("ClientSink::init",
    ("a stream that was removed while it was made", "if (mState == NO_INIT)", ""),
    ("a creation beside an acknowledgment",
     "const AudioMutex::AutoLock requestLock(StreamLink::of(mRc).requestLock);", ""))
_in("ClientSink::getTotalBufferSize",
    ("the total size of a ring that goes",
     "const UseGate::Visit visit(StreamLink::of(mRc).ringVisitors);", ""))
_in("ClientSink::initShareMemory",
    ("a ring is asked for beside another request",
     "const AudioMutex::AutoLock lock(StreamLink::of(mRc).requestLock);", ""))
_in("ClientSink::bytesFree",
    ("the free size of a ring that goes",
     "const UseGate::Visit visit(StreamLink::of(mRc).ringVisitors);", ""))
_in("ClientSink::write",
    ("nobody else has a turn",
     "turn.lock(); const AudioMutex::AutoLock lock(mLock); turn.unlock()",
     "(void)turn; const AudioMutex::AutoLock lock(mLock)"),
    ("no bytes are written", "len < 1", "false"),
    ("a write without the space for it", "Playback::freeSize(mShareMemory) >= len", "true"))
_in("ClientSink::checkAndWaitSourceReady",
    ("a wait for a source without the policy's end",
     "if (deadline.isOver()) return AUDIO_TIMED_OUT;", ""),
    ("coded formats do not wait", "&& mFormat.codecType == 0", ""),
    ("what a write threw away", "add(mIneffectiveLen, len);", ""))
_in("ClientSink::onSourceDeactivated",
    ("a withdrawn source wakes nobody", "if (mIsBlocked) mCond.signal();", ""))
_in("ClientSink::detachRing",
    ("a source that went is still there", "mSourceActive = false;", ""))
_in("SOURCE_WAIT_MS",
    ("another wait for a source", "2000", "1000"))
_in("REMOVED_PAUSE_US",
    ("a shorter pause without a source", "500'000", "50'000"))
_in("MISSING_RING_PAUSE_US",
    ("a shorter pause without a ring", "1'000'000", "100'000"))
_in("ClientSink::onFinished",
    ("the end of the stream", "(false)", "(true)"))
_in("ClientSink::writeOnce",
    ("what was written", "add(mTotalWritedLen, len);", ""),
    ("the mode that the log names", "isBlock ?", "!isBlock ?"))

_in("ClientRecord::read",
    ("a stopped stream is read", "mState.load(std::memory_order_relaxed) != ACTIVE", "false"),
    ("more is read than a ring holds", "|| bytes > bufferSize", ""),
    ("no bytes are read", "bytes <= 0 ||", ""),
    ("no buffer is read to", "buffer == nullptr ||", ""),
    ("a second reader", "mIsBlocked ||", ""),
    ("the begin is overwritten", "buffer += got;", ""),
    ("the bytes that follow are dumped",
     "StreamDump::write(mDump, buffer, count); buffer += got",
     "buffer += got; StreamDump::write(mDump, buffer, count)"),
    ("a part counts as the whole", "remaining -= got;", "remaining = 0;"),
    ("reading does not wait", "0 && isBlock", "0 && !isBlock"))
_in("refusal",
    ("a refusal is logged for another reason", "!stream.isIn(ACTIVE)", "stream.isBlocked"))
_in("ClientRecord::notify",
    ("an update is logged without the lock",
     "const AudioMutex::AutoLock lock(mLock); const std::uint64_t lag = "
     "cabinaudio::wakeAfterUpdate(parts())",
     "mLock.lock(); const std::uint64_t lag = cabinaudio::wakeAfterUpdate(parts()); "
     "mLock.unlock()"),
    ("an update is looked at without the lock", "const AudioMutex::AutoLock lock(mLock);", ""))
_in("ClientRecord::waitForData",
    ("reading over a stop", "|| mState != ACTIVE", ""),
    ("reading on after the time", "!isWoken ||", ""))
_in("ClientRecord::setVolume",
    ("a volume beyond the largest", "static_cast<unsigned>(volume) > VOLUME_MAX", "false"),
    ("the same volume is sent again", "volume == mVolume", "false"),
    ("a volume is not remembered", "mVolume = volume;", ""),
    ("the flag of a volume", "volume, true", "volume, false"))
_in("ClientRecord::~ClientRecord",
    ("dumps stay open", "StreamDump::endAll(mDump);", ""))
_in("ClientRecord::accept",
    ("a stream that was removed while it was made", "if (mState == NO_INIT)", ""),
    ("the size of a step", "perLoopSize; mPerLoopTime", "perLoopTime; mPerLoopTime"),
    ("a ring for writing", "SHM_MODE_READER, this", "SHM_MODE_WRITER, this"))
_in("ClientRecord::getVolume",
    ("silence is not remembered", "mVolume >= 0", "mVolume > 0"))
_in("VOLUME_MAX",
    ("the highest volume", "100", "101"))
_in("DATA_WAIT_MS",
    ("another wait for data", "1000", "500"))
_in("ClientRecord::stop",
    ("the flag of a stop", "true", "false"))

_in("ClientRecordRt::notify",
    ("an update is logged without the lock",
     "const AudioMutex::AutoLock lock(mLock); cabinaudio::logUpdate(parts(), AUDIO_LOG_SITE)",
     "mLock.lock(); const std::uint64_t lag = cabinaudio::wakeAfterUpdate(parts()); "
     "mLock.unlock(); if (lag >= cabinaudio::LAG_WARNING_MS) AUDIO_LOGW(\"[%s] update share "
     "memory IPC interVal:%llu ms > 1 ms\\n\", mName, llu(lag))"),
    ("an update is looked at without the lock", "const AudioMutex::AutoLock lock(mLock);", ""))
_in("ClientRecordRt::stop",
    ("stop wakes nobody", "if (mIsBlocked) mCond.signal();", ""),
    ("the flag of a stop", "false", "true"))
_in("ClientRecordRt::onRingGone",
    ("the server hears before the ring is gone",
     "cabinaudio::deleteRing(StreamLink::of(mRc), ring); if (cabinaudio::sendInTurn(*mRc, "
     "id(CaptureFunction::RemoveShareMemory), false) != AUDIO_NO_ERROR) AUDIO_LOGE(\"remove[%s] "
     "share memory failed\\n\", mName)",
     "if (cabinaudio::sendInTurn(*mRc, id(CaptureFunction::RemoveShareMemory), false) != "
     "AUDIO_NO_ERROR) AUDIO_LOGE(\"remove[%s] share memory failed\\n\", mName); "
     "cabinaudio::deleteRing(StreamLink::of(mRc), ring)"),
    ("a ring that goes wakes nobody", "if (mIsBlocked) mCond.signal();", ""))
_in("ClientRecordRt::_prepareData",
    ("a part of a frame is taken for the frame", "if (wanted.unit == Unit::Frame) ready = 0;", ""))
_in("ClientRecordRt::waitForRest",
    ("silence is waited for again", "if (!supply.isLive) break;", ""),
    ("less is ready than was waited for", "ready = supply.needed;", ""))
_in("ClientRecordRt::waitForMore",
    ("a wait that ends in vain goes on", "!chooseSource(wanted, site).isEnough()", "false"),
    ("a wake-up is a time-out", "(!isWoken || isInVain)", "!isWoken"))
_in("ClientRecordRt::ClientRecordRt",
    ("notifications before the end of construction", "const AudioMutex::AutoLock lock(mLock);", ""))
_in("ClientRecordRt::accept",
    ("a stream that was removed while it was made", "if (mState == NO_INIT)", ""),
    ("another backlog", "1; mPerLoopTime", "2; mPerLoopTime"))
_in("ClientRecordRt::~ClientRecordRt",
    ("dumps stay open", "StreamDump::endAll(mDump);", ""),
    ("readers are not waited for", "if (!isGivenUp) StreamLink::of(mRc).readers.drain();", ""),
    ("a reader that never woke up is waited for", "if (!isGivenUp)", ""),
    ("a request that waits for a dead server", "RemoteCallAccess::abandon(*mRc);", ""))
_in("ClientRecordRt::readAs",
    ("a reader is not in the gate", "const UseGate::Visit visit(StreamLink::of(mRc).readers);", ""),
    ("what was read is not counted", "mTotalReadBytes += taken.counted;", ""))
_in("ClientRecordRt::getTotalBufferSize",
    ("the total size of a ring that goes",
     "const UseGate::Visit visit(StreamLink::of(mRc).ringVisitors);", ""))
_in("ClientRecordRt::init",
    ("a creation beside an acknowledgment",
     "const AudioMutex::AutoLock requestLock(StreamLink::of(mRc).requestLock);", ""))
_in("ClientRecordRt::initShareMem",
    ("a ring is asked for beside another request",
     "const AudioMutex::AutoLock lock(StreamLink::of(mRc).requestLock);", "",
     "the notifier thread alone makes a request without the stream's lock, and it asks for the "
     "ring as well"),
    ("a ring during destruction", "mState == NO_INIT", "false"),
    ("a failed request drops the ring", "; else logNoRing",
     "; else replaced = mShareMemory.exchange(nullptr), logNoRing"),
    ("the flag of a ring", "false, [&]", "true, [&]"))
_in("ClientRecordRt::adopt",
    ("a new ring is live before its data", "if (ring != earlier) mSourceReady = false",
     "(void)earlier"),
    ("a ring that is announced unchanged is live no more", "if (ring != earlier)",
     "(void)earlier;"),
    ("a new ring is live at once", "false; AUDIO_LOG_AT", "true; AUDIO_LOG_AT"))
_in("ClientRecordRt::onRingReady",
    ("a new ring wakes nobody", "if (mIsBlocked) mCond.signal();", ""),
    ("a replaced ring is deleted under the lock",
     "ReplacedRing replaced(StreamLink::of(mRc)); const AudioMutex::AutoLock lock(mLock)",
     "const AudioMutex::AutoLock lock(mLock); ReplacedRing replaced(StreamLink::of(mRc))"))
_in("ClientRecordRt::chooseSource",
    ("any data is live", "isEnough()", "bytes > 0"))
_in("ClientRecordRt::unInitShareMem",
    ("a ring that is gone is live", "mSourceReady = false;", ""))
_in("PERIOD_SHIFT",
    ("another period", "4", "5"))
_in("ClientRecordRt::setUpCodec",
    ("a coded frame's samples", "mPerLoopSamples = 480", "mPerLoopSamples = 960"),
    ("a coded frame's bytes", "40; if", "20; if"))
_in("LATE_MS",
    ("a late wait", "2", "200"))

_in("Number",
    ("a number of any width is sent", "sizeof(T) == 4 &&", ""),
    ("an address is sent", "Number = sizeof", "Number = std::is_pointer_v<T> || sizeof"))
_in("WordRecord",
    ("a record with an address is sent", "alignof(T) <= 4", "true"),
    ("a record of any length is sent", "sizeof(T) % 4 == 0", "true"),
    ("an object is sent", "std::is_trivially_copyable_v<T>", "true"))
_in("setRecord",
    ("any record of the application is sent", "std::is_same_v<decltype(Request::value), Value>",
     "true"))
_in("call",
    ("any number of numbers is sent",
     "sizeof(wire::RequestOf<FUNCTION>) == 4 * (1 + sizeof...(Numbers))", "true"))
_in("ARE_FIELDS_OF",
    ("results of any size", "sizeof(Reply) == REPLY_SIZE<Results...>", "true"),
    ("results of any kind", "(IS_RECORD<Results...> || InitializedBy<Reply, Results...>)", "true"))
_in("IS_RECORD",
    ("many results are a record", "sizeof...(Results) == 1 && (WordRecord<Results> && ...)",
     "true"))
_in("GAIN_MIN_DB",
    ("the lowest gain", "103.5F", "104.0F"))
_in("GAIN_MAX_DB",
    ("the highest gain", "24.0F", "24.5F"))
_in("isAttenuation",
    ("an attenuation that amplifies", "GAIN_MIN_DB, 0.0F", "GAIN_MIN_DB, 0.5F"))
_in("isWithin",
    ("no number is within limits", "value >= least && value <= most",
     "!(value < least || value > most)"),
    ("the highest is too high", "<= most;", "< most;"))
_in("fitsField",
    ("a text that fills its field", "< FIELD;", "<= FIELD;"))
_in("most",
    ("a field without an end", "text) - 1", "text)"))
_in("Result::field",
    ("a small result's field", "std::max(size, std::uint32_t{4})", "size"))
_in("set",
    ("no function", "request.function = id(FUNCTION);", ""))

_in("sendRequest",
    ("no result is taken",
     "if (called == AUDIO_NO_ERROR && reply.take != nullptr) reply.take(block, reply.context);",
     ""),
    ("the flag of settings", "size, true", "size, false"),
    ("an answer that did not arrive is taken", "called == AUDIO_NO_ERROR &&", ""))
_in("text",
    ("a text beyond its field", "strnlen(text, most)", "std::strlen(text)"))
_in("store",
    ("a result without a place", "if (result.to != nullptr)", ""),
    ("the next result", "result.field()", "0"),
    ("results behind nothing", "reply + sizeof(std::int32_t)", "reply"))
_in("fill",
    ("nothing behind the record",
     "if (request.behind.size != 0) std::memcpy(block + request.record.size, request.behind.at, "
     "request.behind.size);", ""))
_in("fetch",
    ("a reply's size without its status", "sizeof(std::int32_t)", "0"))
_in("refuseAt",
    ("a refusal's status", "return AUDIO_BAD_VALUE;", "return AUDIO_INVALID_STATE;"))

_in("append",
    ("more slots than the reply has",
     "count = std::clamp(count, std::int32_t{0}, static_cast<std::int32_t>(SLOTS));", ""),
    ("a list that is too short", "(SLOTS)", "(SLOTS - 1)"))
_in("textOf",
    ("a name beyond its field", "sizeof name.text", "sizeof name.text - 1"))

_in("keep",
    ("what lies behind a kept name", "strnlen(name.text, sizeof buffer - 1)", "sizeof buffer - 1"),
    ("a former name shows behind the next one", "std::memset(buffer, 0, sizeof buffer);", ""))
_in("MAPPING_MAX",
    ("the highest mapping", "10", "11"))
_in("FREQUENCY_MAX",
    ("the highest frequency", "47999", "48000"))
_in("ClientSourceSetting::setMainAudioSpeakerTestPattern",
    ("the lowest frequency", "1 || frequency", "0 || frequency"))
_in("CAPABILITY_MAX",
    ("the highest capability", "5", "6"))
_in("OUTPUT_MASK",
    ("the outputs", "3", "1"))
_in("ClientSourceSetting::setOutPutSource",
    ("the source before the tag", "(tag), .name = text(source)", "(source), .name = text(tag)"))
_in("ClientSourceSetting::setI2sFormatAndConfig",
    ("a half word", "format->opaque4", "static_cast<std::uint16_t>(format->opaque0)"))
_in("ClientSourceSetting::getActivedSourceNumber",
    ("a refused number", "status != AUDIO_NO_ERROR ? status :", ""))
_in("ClientSourceSetting::selectSource",
    ("any management is the new one", "== 1", "!= 0"),
    ("seats and sources", "seat, .second = source", "source, .second = seat"))
_in("ClientSourceSetting::getInputDestination",
    ("any input", "std::strcmp(tag, \"uplink\") != 0", "false"))
_in("ClientSourceSetting::setFrontAudioState",
    ("two states", "Function::SetFrontState", "Function::SetRearState"))
_in("transport",
    ("a refused list", "answer.arrived ? AUDIO_NO_ERROR :", ""))
_in("getName",
    ("a refused name is none", "arrived ? buffer", "status == 0 ? buffer"))

_in("ClientAppSetting::getDownlinkDelayEstimation",
    ("a delay's word is stored at its half", "word, sizeof word", "word, sizeof *delay"),
    ("a delay without a place", "word); if (delay != nullptr)", "word);"))
_in("US_PER_MS",
    ("milliseconds of another length", "1000.0F", "1024.0F"))
_in("ClientAppSetting::getSpeakerDelay",
    ("a delay's status", "answer.arrived ? AUDIO_NO_ERROR :", ""))
_in("lowWord",
    ("the low word of a large number", "(whole)", "(whole >> 32)"),
    ("a number beyond all", "&& value < LIMIT", "",
     OUT_OF_REACH + "this machine's conversion has 0 in its lower half then, the target's has not"))
_in("ClientAppSetting::setEffectEnabled",
    ("the effect before the tag", "(tag), .effect = text(effect)", "(effect), .effect = text(tag)"))
_in("ClientAppSetting::enableByPassMode",
    ("bypassing is ending it", "Function::EnableBypass", "Function::DisableBypass"))
_in("ClientAppSetting::setDACGainControl",
    ("a line too early", "site, \"client end\\n\"", "site, \"client begin\\n\""))
_in("ClientAppSetting::getNLPConfig",
    ("another selector", "number(configuration->selector)", "0"))

_in("isValid",
    ("the third gain before the fourth", "(matrix->gain[3]) && isAttenuation(matrix->gain[2])",
     "(matrix->gain[2]) && isAttenuation(matrix->gain[3])"),
    ("a gain that is not checked", "isAttenuation(matrix->gain[3]) &&", ""))
_in("STEP_MAX",
    ("the highest step", "100", "101"))
_in("CHANNEL_MAX",
    ("the highest channel", "65534", "65535"))
_in("ClientMixerSetting::setGpsMixerGain",
    ("a matrix is a list of steps", "Function::SetGpsMatrix", "Function::SetAlternativeMatrix"))

_in("ClientVolumeSetting::setVolumeByStreamType",
    ("any step of a stream type", "|| volume > STEP_MAX", ""),
    ("a type's last byte", "type, FIELD", "type"))
_in("STEP_MAX",
    ("the highest step", "148", "149"))
_in("PERCENT_MAX",
    ("the highest percentage", "100", "101"))
_in("NO_CHANNEL",
    ("no channel", "65535", "65534"))
_in("MIC_MIN_DB",
    ("the lowest gain of a microphone", "24.0F", "25.0F"))
_in("MIC_MAX_DB",
    ("the highest gain of a microphone", "46.0F", "45.0F"))
_in("micGain",
    ("a microphone's gain is rounded", "dB - MIC_MIN_DB", "dB - MIC_MIN_DB + 0.5F"),
    ("a microphone's gain is rounded up", "dB - MIC_MIN_DB", "std::ceil(dB - MIC_MIN_DB)"))
_in("ClientVolumeSetting::getMicAnalogGain",
    ("a microphone's gain is told rounded down", "left = std::ceil", "left = std::floor"),
    ("the other one is told rounded down", "right = std::ceil", "right = std::floor"),
    ("a microphone's gain is told rounded", "left = std::ceil", "left = std::round"))
_in("ClientVolumeSetting::setMicAnalogGain",
    ("both sides have one gain", "r.op", "l.op"),
    ("both sides have one second gain", "l.pga, r", "r.pga, l"),
    ("the amplifiers in the other order",
     "setAdcOpGain(audio::AUDIO_INPUT_MUX_0, l.op, r.op); if (status != AUDIO_NO_ERROR) return "
     "status; return setAdcPgaGain(audio::AUDIO_INPUT_MUX_0, l.pga, r.pga)",
     "setAdcPgaGain(audio::AUDIO_INPUT_MUX_0, l.pga, r.pga); if (status != AUDIO_NO_ERROR) "
     "return status; return setAdcOpGain(audio::AUDIO_INPUT_MUX_0, l.op, r.op)"))
_in("percentOf",
    ("percent are not rounded", "stepMax / 2 + 100", "100"),
    ("a fade without its sign", "? -percent", "? percent"))
_in("ClientVolumeSetting::setFadeBalance",
    ("a channel's sign", "- b + f", "+ b + f"),
    ("two channels of the balance", "100 - b -", "100 - b +"),
    ("only the last channel's status", "status |= static_cast", "status = static_cast"),
    ("fewest steps", "2 || stepMax", "1 || stepMax"))
_in("ClientVolumeSetting::getMuteState",
    ("any number is on", "isOn != 0", "isOn == 1"))
_in("ClientVolumeSetting::setSecondAudioVolume",
    ("the second audio's gain", "Function::SetSecondGain", "Function::SetAlternativeGain"))
_in("ClientVolumeSetting::getMicGainCalibrationResult",
    ("a calibration's words", "gain, result",
     "reinterpret_cast<float&>(result), reinterpret_cast<int&>(gain)"))
_in("ClientVolumeSetting::setTrackVolume",
    ("a track's names", "(tag), .name = text(name), .step", "(name), .name = text(tag), .step"))
_in("isTrack",
    ("a track without a tag", "|| is(tag, \"auxiliary\")", ""),
    ("a long name", "fitsField(name)", "name != nullptr"))
_in("ClientVolumeSetting::setMainAudioDunkingTargetGain",
    ("ducking that amplifies", "isAttenuation(dB)", "isGain(dB)"))
_in("ClientVolumeSetting::setAdcPgaGain",
    ("a second input", "input > audio", "input >= audio"))
_in("ClientVolumeSetting::setAdcOpGain",
    ("the sides of a gain", "left, .right = right", "right, .right = left"))
_in("CHANNELS",
    ("channels of a track", "8", "7"))
_in("ClientVolumeSetting::setMasterVolumeRampDuration",
    ("the ramps change places", "first, .down = second", "second, .down = first"))
_in("ClientVolumeSetting::setMute",
    ("what a mute does", "mute(path, true) : demute", "demute(path, true) : mute"))

_in("stepOf",
    ("a whole number is narrowed to some step", "255 ? 255 : number", "999 ? 255 : number"),
    ("a fraction is narrowed to some step", "number >= 0 && number < 256 ? number : 255", "number"))
_in("Volume::NoVolume",
    ("a flag is a volume of stream types",
     "template <typename Flag, NoVolume<Flag> = 0> int setVolumeByStreamType(const char* type, "
     "Flag volume) = delete;", ""))

_in("ClientVolumeSetting",
    ("the client hides its base's steps by stream type", "using Volume::setVolumeByStreamType;",
     ""))

_in("AudioConfig::_writeConfigItems",
    ("a write-back without memory ends the process", "std::exception", "std::ios_base::failure"),
    ("a write-back that stops in the middle is not logged", "file.good()", "error != EISDIR"),
    ("why a write-back has failed", "error = errno;", ""),
    ("a write-back that appends", "ios::trunc", "ios::app"),
    ("traces before dumps",
     "(file, \"Dump\", mDumpItems); cabinaudio::writeItems(file, \"Trace\", mTraceItems)",
     "(file, \"Trace\", mTraceItems); cabinaudio::writeItems(file, \"Dump\", mDumpItems)"),
    ("on is off", "mEnMark ? '1' : '0'", "mEnMark ? '0' : '1'"),
    ("the error of missing memory", "error = ENOMEM", "error = 0"))
_in("AudioConfig::~AudioConfig",
    ("a reader writes back", "if (!mReadOnly)", ""))
_in("AudioConfig::AudioConfig",
    ("another first level", "(AUDIO_LOG_LEVEL_INFO)", "(AUDIO_LOG_LEVEL_WARN)"))
_in("toNumber",
    ("numbers of another base", "nullptr, 10", "nullptr, 0"),
    ("a number beyond the target's", "clamp(std::strtol(text, nullptr, 10), LEAST, MOST)",
     "strtol(text, nullptr, 10)"))
_in("AudioConfig::_parseLogItem",
    ("only 1 is on", "!= 0; AUDIO_LOGI", "== 1; AUDIO_LOGI"),
    ("a level that is not told", "mLogLevel = static_cast<AudioLogLevel>(toNumber(level))",
     "(void)level"))
_in("CONFIG_FILE",
    ("another file", "\"/media/flash/nvm/as_server/audio_config\"",
     "\"/media/flash/nvm/as_server/audio_conf\""))
_in("AudioConfig::_parseConfigItems",
    ("an item of no memory ends the process", "std::bad_alloc", "std::ios_base::failure"),
    ("a trace of another word", "startsWith(\"Trace\")", "startsWith(\"Tracing\")"))

_in("cache_invalidate",
    ("invalidating is cleaning", "CACHE_INVALIDATE, &", "CACHE_CLEAN, &"))
_in("cache_clean",
    ("cleaning is invalidating", "CACHE_CLEAN, &", "CACHE_INVALIDATE, &"))

_in("setLinkPolicy",
    ("a negative time is a limit", "max<std::int64_t>(policy.replyTimeout.count(), 0)",
     "int64_t{policy.replyTimeout.count()}"),
    ("two switches of the policy", "wakesOnServerLoss, std", "allowsOrdinaryThreads, std"),
    ("threads that the policy does not reach", "policy.allowsOrdinaryThreads", "false"))
_in("gWakesOnServerLoss",
    ("a lost server wakes at first", "false", "true"))

_in("ReplyDeadline::isOver",
    ("a deadline that is over at its time only", ">= mEnd;", "== mEnd;"))
_in("ReplyDeadline::ReplyDeadline",
    ("a deadline beyond the clock", "std::min(mTimeout, LONGEST)", "mTimeout"))
_in("ReplyDeadline::remainingMs",
    ("what is left is rounded down", "ceil<std", "floor<std"))

_in("FAULT_SIGNALS",
    ("a fault signal less", "SIGABRT, SIGTRAP", "SIGABRT"))

_in("AudioCondition::AudioCondition",
    ("a condition of the process", "shared ? PTHREAD_PROCESS_SHARED",
     "false ? PTHREAD_PROCESS_SHARED"),
    ("a condition of all processes", "shared ? PTHREAD_PROCESS_SHARED",
     "true ? PTHREAD_PROCESS_SHARED"),
    ("a condition of another clock", "attr, CLOCK_MONOTONIC", "attr, CLOCK_REALTIME"))
_in("AudioCondition::waitRelative",
    ("an error without its sign", "return -pthread_cond_timedwait",
     "return pthread_cond_timedwait"))
_in("AudioCondition::broadcast",
    ("a broadcast to one", "pthread_cond_broadcast(&mCond)", "pthread_cond_signal(&mCond)"))

_in("AudioMutex::AudioMutex",
    ("a mutex of the process", "shared ? PTHREAD_PROCESS_SHARED", "false ? PTHREAD_PROCESS_SHARED"))
_in("AudioMutex::tryLock",
    ("an error without its sign", "return -pthread_mutex_trylock", "return pthread_mutex_trylock"))
_in("AudioMutex::AutoLock::~AutoLock",
    ("a scope that leaves the lock", "mMutex.unlock();", ""))

_in("AudioSemaphore::AudioSemaphore",
    ("a semaphore of the process", "shared ? 1 :", ""),
    ("a semaphore of all processes", "shared ? 1 : 0", "1"))
_in("AudioSemaphore::waitRelative",
    ("a wait on another clock", "CLOCK_MONOTONIC, deadline", "CLOCK_REALTIME, deadline"),
    ("a time-out is a failure", "if (error == ETIMEDOUT) return 1;", ""),
    ("an interrupted wait is a time-out", "error == ETIMEDOUT",
     "error == ETIMEDOUT || error == EINTR"))
_in("AudioSemaphore::signal",
    ("a failed post is silent", "ret < 0", "ret > 0"))

_in("semaphoresCanWaitOnTheMonotonicClock",
    ("version 2.30 is old", "(version, \"2.30\") >=", "(version, \"2.30\") >"),
    ("a library without the function", "sem_clockwait == nullptr ||", "",
     OUT_OF_REACH + "every C library that the tests run with has the function"))
_in("cabinaudio::chooseClock",
    ("the other clock", "CLOCK_MONOTONIC : CLOCK_REALTIME", "CLOCK_REALTIME : CLOCK_MONOTONIC"))
_in("AudioTime::travel",
    ("back over a second's begin", "nanoseconds < 0", "false"),
    ("a whole second of nanoseconds", "nanoseconds %= NANOSECONDS_PER_SECOND;", ""),
    ("the other end of the clock", "LAST_SECOND : FIRST_SECOND", "FIRST_SECOND : LAST_SECOND"))
_in("AudioTime::now",
    ("microseconds of another length", "tv_nsec / 1000", "tv_nsec / 1024"),
    ("a clock that cannot be read is silent", "== 0", "!= 1"))
_in("AudioTime::sleep",
    ("a sleep's rest", "us % MICROSECONDS_PER_SECOND", "0 * us"))

_in("chosenClock",
    ("the clock is chosen each time", "clock != CLOCK_NOT_CHOSEN ? clock :", ""))

_in("deadlineIn",
    ("a deadline that wraps round", "std::min(ms, LONGEST_MS)", "ms"))

_in("LibraryThread::STACK_BYTES",
    ("another stack", "size_t{1024}", "size_t{4096}"))

_in("gAllowsOrdinaryThreads",
    ("ordinary threads from the start", "false", "true"))

_in("audioMathLog10Extend",
    ("a midpoint goes down", "amplitude > 0.0F", "amplitude >= 0.0F"),
    ("the search goes the wrong way", "amplitude > AMPLITUDES", "amplitude < AMPLITUDES"))
_in("audioMathPow10Extend",
    ("decibels are rounded", "(step)", "(step + 0.5F)"),
    ("no number is loud", "AMPLITUDES[0]", "AMPLITUDES[LAST_STEP]"),
    ("the last step is looked up", "(LAST_STEP)", "(LAST_STEP) + 9"))
_in("audioMathRandn",
    ("another volume of noise", "0.005", "0.0049"),
    ("the generator's other way", "4294967296.0 - next", "4294967295.0 - next"))
_in("gNoiseState",
    ("another begin of noise", "868346455.0", "868346456.0"))
_in("amplitudes",
    ("the lowest step is not silenced", "table[0] = 0.0F;", "",
     "the loop in front of it ends before that step, which is 0 from the beginning"))
_in("gmic_gain_table",
    ("the amplifier has all steps", "27.5F, 0", "28, 0"),
    ("two rows of the gain table", "{9, -2}, {9, -1}", "{9, -1}, {9, -2}"))

_in("MALLOC_LINE",
    ("the line of an allocation", "8", "9"))
_in("REALLOC_LINE",
    ("the line of a resizing", "22", "24"))
_in("existing",
    ("exhausted memory is handed out", "std::abort()", "return nullptr"))

_in("AudioAlert::alert",
    ("a threshold that is just met", "elapsedUs > thresholdUs", "elapsedUs >= thresholdUs"),
    ("no threshold", "thresholdUs == 0", "thresholdUs == 1"),
    ("two numbers of an alert", "elapsedUs, thresholdUs", "thresholdUs, elapsedUs"),
    ("a missing name", "name, \"Unknown\"", "name, \"-\""))

_in("TAGS",
    ("the connection of a tag", "AUDIO_TAG_INPUT1, AUDIO_CONNECT_INPUT1",
     "AUDIO_TAG_INPUT1, AUDIO_CONNECT_INPUT2"),
    ("the path of a tag", "AUDIO_OUT_PATH_ALTERNATIVE, AUDIO_TAG_ALTERNATIVE",
     "AUDIO_OUT_PATH_AUXILIARY, AUDIO_TAG_ALTERNATIVE"),
    ("the name of a shared tag", "\"output_input0_invocation\", AUDIO_OUT_PATH_NONE",
     "\"output_input1_invocation\", AUDIO_OUT_PATH_NONE"))
_in("CODECS",
    ("the number of a codec", "AUDIO_CODEC_6, 64", "AUDIO_CODEC_6, 65"),
    ("the usage of a codec", "AUDIO_CODEC_4_USAGE2, 16, 2", "AUDIO_CODEC_4_USAGE2, 16, 1"))
_in("BIT_DEPTHS",
    ("the format of 32 bits", "MULTI_AUDIO_FMT_S24, 2", "MULTI_AUDIO_FMT_S24, 1"),
    ("the bytes of 24 bits", "MULTI_AUDIO_FMT_S24, 1, 24, 3", "MULTI_AUDIO_FMT_S24, 1, 24, 4"))
_in("CHANNEL_MAPS",
    ("the channels of a layout", "AUDIO_CHANNEL_MAP_5, 10, 5", "AUDIO_CHANNEL_MAP_5, 10, 6"))
_in("CHANNEL_NAMES",
    ("the name of a loudspeaker", "AUDIO_CHANNEL_CF, \"CF\"", "AUDIO_CHANNEL_CF, \"FC\""))
_in("SAMPLE_RATES",
    ("a usual rate", "11025", "11024"))
_in("AudioTypes::getFfmpegSampleRate",
    ("an unusual rate", "known : 48000", "known : 44100"))
_in("carriesFlag",
    ("a codec with a flag", "|| codecType == 65", ""))
_in("AudioTypes::getFormatDesc",
    ("a flag of any number", "flag != 0 ? 1 : 0", "flag"),
    ("a codec's parameter", "filled.codecParam = parameter.codecParam;", ""),
    ("a coded stream has a bit depth", "if (filled.codecType == PCM) filled", "filled"),
    ("a conversion keeps what was there",
     "audio_uplink_parameter_t& parameter) { AudioFormatDesc filled = {}",
     "audio_uplink_parameter_t& parameter) { AudioFormatDesc filled = format"))
_in("AudioTypes::getChannelNumber",
    ("the channels of the default", "channels, 2", "channels, 1"))

_in("foundation/Log.h",
    ("a line number without zeros", "\"AS\", \"[%s][%s][%04u]\" format",
     "\"AS\", \"[%s][%s][%4u]\" format"),
    ("another tag", "\"AS\", \"[%s][%s][%04u]\" format", "\"AU\", \"[%s][%s][%04u]\" format"))
_in("SourceStem::SourceStem",
    ("a name with its extension", "&& name[i] != '.'", ""))

_in("copyText",
    ("a text without an end", "SIZE - 1", "SIZE"),
    ("what lies behind a text", "std::memset(to + length, 0, SIZE - length);", ""))
_in("findItem",
    ("an item of another usage", "&& std::strcmp(item->usage, key.usage) == 0", ""),
    ("an item of another tag", "std::strcmp(item->tag, key.tag) == 0 &&", ""))
_in("addItem",
    ("a known item keeps its path", "copyText((*known)->outPath, copy->outPath);", ""),
    ("the newest item first", "items.push_back", "items.push_front"))
_in("removeItem",
    ("a removed item is not freed", "delete *found;", "",
     OUT_OF_REACH + "a leak; LeakSanitizer sees it"),
    ("a removed item stays", "delete *found; items.erase(found)", "(void)found"),
    ("removing looks beyond a text", "terminated(item)", "item"))
_in("getItem",
    ("an item of no name", "if (tag == nullptr || usage == nullptr) return nullptr;", ""),
    ("a hit is silent", "site, \"%02d-%02d: tag:%s usage:%s\\n\"",
     "site, \"%d-%d: tag:%s usage:%s\\n\""))
_in("readItem",
    ("tag and usage in a file",
     "(lines, \" tag=\", item.tag) && readField(lines, \" usage=\", item.usage)",
     "(lines, \" usage=\", item.usage) && readField(lines, \" tag=\", item.tag)"))
_in("writeItems",
    ("tag and usage in a written file",
     "\"\\n tag=\" << item->tag << \"\\n usage=\" << item->usage",
     "\"\\n usage=\" << item->usage << \"\\n tag=\" << item->tag"))
_in("clearItems",
    ("cleared items stay in the list", "items.clear();", ""))

_in("LineReader::mLine",
    ("lines of another length", "256", "300"))
_in("LineReader::startsWith",
    ("a keyword anywhere", "substr(0, text.size()) == text",
     "find(text) != std::string_view::npos"))
_in("LineReader::nextValue",
    ("a value with its sign", ": nullptr;", "- 1 : nullptr;"))

_in("makeDirectory",
    ("a directory for everybody", "directory, 0700", "directory, 0777"),
    ("a line when it was not made", "(directory, 0700) ==", "(directory, 0700) !="))

_in("AudioDump::AudioDump",
    ("the driver dumps", "std::strcmp(usage, \"driver\") != 0", "true"),
    ("a dump writes settings back", "mConfig(true)", "mConfig(false)"),
    ("a dump of nowhere", "|| item->outPath[0] == '\\0'", ""),
    ("a dump of no description", "|| desc == nullptr", ""))
_in("AudioDump::_init",
    ("a dump does not append", "append ? mode | std::ios::app :", ""),
    ("the name of a dump", "tag, name", "name, tag"),
    ("a dump without memory goes on", "mFile.setstate(std::ios::failbit);", "",
     "a file without a buffer fails at its first write"),
    ("why a dump could not be opened", "errno; if", "0; if"))
_in("AudioDump::write",
    ("a dump that rests writes", "!mRunning ||", ""),
    ("no data is written", "data == nullptr ||", ""))
_in("AudioDump::resume",
    ("resting is running", "mRunning = on", "mRunning = true"))
_in("AudioDump::_deinit",
    ("a dump is not flushed to the disk", "AUDIO_IGNORE(fsync(mFile.fd()) == 0);", ""))

_in("AudioOfstream::fd",
    ("a closed file has a descriptor", "fd() : -1", "fd() : 0"))

_in("FRAME_MAGIC",
    ("the frame's magic", "0x00112233", "0x00112234"))
_in("HEADER_REPLY",
    ("the number of a reply", "1", "2"))
_in("HEADER_NOTIFY",
    ("the number of a notification", "0", "3"))
_in("AUDIO_CMD_CALL",
    ("the command of a call", "195", "194"))
_in("AUDIO_CMD_REGISTER",
    ("the command of a registration", "196", "197"))
_in("AUDIO_CMD_CALL_FLAG",
    ("the command of a flagged call", "198", "199"))
_in("AUDIO_REGISTER_WORD",
    ("the registration's word", "0x00191802", "0x00191803"))
_in("SERVER_SOCKET",
    ("the server's name", "\"/tmp/as_internal_file\"", "\"/tmp/as_internal_files\""))
_in("NAME_UNKNOWN",
    ("no name", "\"unkn\"", "\"none\""))
_in("EVENT_SERVER_GONE",
    ("a lost server's number", "255", "254"))
_in("SocketFrameHeader",
    ("two fields of a frame", "event; std", "param; std"))
_in("audio_param",
    ("two fields of a request", "type; std", "length; std"))
_in("RegistrationReply",
    ("two fields of a registration", "spare0; std::uint32_t handle",
     "handle; std::uint32_t spare0"))

_in("CACHE_CLEAN",
    ("the number of cleaning", "0x40084303", "0x40084305"))
_in("CACHE_INVALIDATE",
    ("the number of invalidating", "0x40084304", "0x40084306"))
_in("RingHeader",
    ("two fields of a ring", "readOffset; std", "writeOffset; std"))

_in("StreamFunction",
    ("the end of the data", "12, SourceDeactivated", "11, SourceDeactivated"),
    ("a source that was let go", "19, GetShareMemory", "18, GetShareMemory"),
    ("a playback's ring", "20, Create", "23, Create"),
    ("a playback stream's creation", "21, SetKeyShift", "1, SetKeyShift"),
    ("a key shift", "SetKeyShift = 22", "SetKeyShift = 24"))
_in("CaptureFunction",
    ("a capture stream's creation", "2, Start", "3, Start"),
    ("a capture's volume", "8, GetVolume", "9, GetVolume"),
    ("a capture's volume is asked for", "9, InitCheck", "8, InitCheck"),
    ("a capture's confirmation", "10, GetShareMemory", "11, GetShareMemory"),
    ("an uplink's ring", "18, RemoveShareMemory", "17, RemoveShareMemory"),
    ("an uplink's ring that was let go", "RemoveShareMemory = 19", "RemoveShareMemory = 20"))
_in("TrackEvent",
    ("a track's ring", "3, Finished", "2, Finished"))
_in("CaptureEvent",
    ("an uplink's notification", "2, Removed", "3, Removed"))
_in("SinkEvent",
    ("a sink's source", "3, SourceDeactivated", "2, SourceDeactivated"),
    ("a sink's end", "5, Removed", "6, Removed"))
_in("CreateRequest",
    ("the process of a creation", "streamParam; std::int32_t pid", "pid; std::int32_t streamParam"))

_in("VersionFunction",
    ("the server's versions", "GetServerVersions = 0", "GetServerVersions = 1"))
_in("MixerFunction",
    ("a mixer's matrix", "8, SetAlternativeMatrix", "9, SetAlternativeMatrix"))
_in("VolumeFunction",
    ("the main volume's step", "4, GetMasterStep", "3, GetMasterStep"),
    ("a mute's state", "33, SetStreamTypeStep", "34, SetStreamTypeStep"),
    ("a ramp", "44, GetMasterRamp", "45, GetMasterRamp"))
_in("SourceFunction",
    ("a source's selection", "2, SetFrontState", "1, SetFrontState"),
    ("a converter's pin", "6, SetDacMapping", "7, SetDacMapping"))
_in("AppFunction",
    ("a delay of loudspeakers", "22, GetSpeakerDelay", "23, GetSpeakerDelay"),
    ("an effect", "4098, GetEffectParameter", "4097, GetEffectParameter"))
_in("RecordControlFunction",
    ("a record's effect", "Get = 1", "Get = 2"))
_in("VOLUME_SETTINGS",
    ("the flag of a mute", "{\"mute\", \"mutes paths\"}, Setting",
     "{\"mute\", \"mutes paths\", NO_FLAG}, Setting"),
    ("the flag of an end of a mute", "{\"demute\", \"unmutes paths\"}, Setting",
     "{\"demute\", \"unmutes paths\", NO_FLAG}, Setting"),
    ("the flag of a calibration", "\"calibrates the microphone\", NO_FLAG",
     "\"calibrates the microphone\""))
_in("APP_SETTINGS",
    ("the flag of a delay",
     "{ \"setSpeakerDelay\", \"delay of loudspeakers, in microseconds\"}, Setting",
     "{ \"setSpeakerDelay\", \"delay of loudspeakers, in microseconds\", NO_FLAG}, Setting"),
    ("the flag of a duplex", "\"setDuplexOfAEC\", \"duplex of the echo canceller\", NO_FLAG",
     "\"setDuplexOfAEC\", \"duplex of the echo canceller\""),
    ("the flag of a reverberation", "{\"setReverbMode\", \"reverb mode\"}, Setting",
     "{\"setReverbMode\", \"reverb mode\", NO_FLAG}, Setting"))
_in("SOURCE_SETTINGS",
    ("the flag of a ramp", "\"ramps changes or not\", NO_FLAG", "\"ramps changes or not\""),
    ("the flag of a tone", "\"tests loudspeakers with a tone, in Hz\", NO_FLAG",
     "\"tests loudspeakers with a tone, in Hz\""),
    ("the flag of a pattern", "\"tests loudspeakers with a pattern\", NO_FLAG",
     "\"tests loudspeakers with a pattern\""))
_in("MIXER_SETTINGS",
    ("the flag of a mixture",
     "{ \"setHwAlternativeAudioMixerWithMain\", \"mixes alternative audio in hardware: channels, "
     "on\"}, Setting",
     "{ \"setHwAlternativeAudioMixerWithMain\", \"mixes alternative audio in hardware: channels, "
     "on\", NO_FLAG}, Setting"))

_in("List",
    ("a list's number", "std::int32_t count; Slot slots[SLOTS]",
     "Slot slots[SLOTS]; std::int32_t count"))
_in("Name",
    ("a name's length", "64", "60"))

_in("sendEffect",
    ("a block's place", "from + 1", "from"),
    ("a block of any length", "if (from.size > LARGEST) return AUDIO_NO_MEMORY;", ""),
    ("the effect before the tag", "(tag), text(effect)", "(effect), text(tag)"),
    ("a block without its head", "std::uint32_t{sizeof *into}", "0U"))

_in("setEffect",
    ("an effect that is set is told", "parameter, nullptr",
     "parameter, const_cast<audio::effect_param_t*>(&parameter)"),
    ("setting is getting", ", tag, effect", "+ 1, tag, effect"))

_in("ClientAudioRecordControl::get",
    ("no effect", "|| effect == nullptr", ""))

_in("ClientVersionSetting::getClientVersions",
    ("another version", "24, 25", "25, 24"),
    ("the rest of the version", "second, 3", "second, 2"))
_in("ClientVersionSetting::getServerVersions",
    ("two versions", "first, 3", "second, 3"))

_in("logUnfreed",
    ("a block that stays is silent", "!answer.isFreed", "false"))

_in("RingPatience::isOver",
    ("a time that is over too early", "mDeadline.isOver() &&", ""))
_in("Received::isGranted",
    ("a refusal is a grant", "&& reply.status == AUDIO_NO_ERROR", ""))
_in("endOfWait",
    ("why a wait ended", "== STOPPING ?", "!= STOPPING ?"))

_in("FramedRing::takeWhole",
    ("a frame longer than what there is", "if (body >= mRing.getUsedSize()) return 0;", ""),
    ("a header that is not there yet", "if (mHeaderBytes > mRing.getUsedSize()) return 0;", ""),
    ("a header that came short", "if (got < mHeaderBytes) return 0;", ""),
    ("a frame as long as the ring's data", "body >= mRing", "body > mRing"))
_in("LOAS_LENGTH_MASK",
    ("the length of a frame", "0x1FFF", "0x0FFF"))
_in("FramedRing::bodyBytes",
    ("a length the other way round", "{header[0]} << 24 | std::uint32_t{header[1]}",
     "{header[1]} << 24 | std::uint32_t{header[0]}"))
_in("FramedRing::takeWithin",
    ("a frame that fits is refused", "bytes > capacity", "bytes >= capacity"),
    ("a frame as long as the ring", "whole >= mRing", "whole > mRing"),
    ("a frame's first bytes are the server's", "std::memcpy(buffer, header, mHeaderBytes);", "",
     OUT_OF_REACH + "differs when the server changes the header between two neighbouring lines"))

_in("UplinkPacing::due",
    ("a server without a pace", "if (mBytesPerMs == 0) return 0;", ""),
    ("a backlog without an end", "if (due <= mMostBytes)", ""))

_in("UplinkPacing::UNPACED_WAIT_MS",
    ("an unpaced wait", "16", "8"))
_in("UplinkPacing::msUntil",
    ("a wait is rounded down", "ceilDiv(moreBytes, mBytesPerMs)", "moreBytes / mBytesPerMs"))

_in("UplinkSilence::noiseFrames",
    ("noise beyond the buffer", "std::min(wanted, room)", "wanted"))
_in("UplinkSilence::fillNoise",
    ("quiet noise", "(bytes, 2), 16", "(bytes, 2), 17"),
    ("another noise of bytes", "24", "23",
     "the random numbers have fewer than 24 bits: either shift leaves the sign alone"))
_in("UplinkSilence::fill",
    ("silence of mSBC in a short buffer", "(msbc_silent) >", "(msbc_silent) >="))

_in("OPUS_16000",
    ("a packet of another rate", "0xB8", "0xB9"))
_in("msbc_silent",
    ("a frame of noise", "0xC5", "0xC4"))
_in("opusSilence",
    ("packets of two rates", "OPUS_8000; case", "OPUS_16000; case"))
