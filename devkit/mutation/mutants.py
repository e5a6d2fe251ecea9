# SPDX-License-Identifier: Apache-2.0
"""The library's locks, barriers, bounds and checks: how each is taken away, and the test programs
that must notice. `old` stands in its file exactly once."""
from collections import namedtuple

# `reason` says why a mutant that survives makes no difference, or, after these words, why no test
# gets at it although it does.
OUT_OF_REACH = "out of reach: "
Mutant = namedtuple("Mutant", "file name old new reason", defaults=("",))

# A peer that wakes up blocked calls without end.
STORM = "hostile-server-test --gtest_filter=AStormOfWakeUps.*"

# File -> test programs, the quickest first; the first entry that the file's name begins with.
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
    ("foundation/UseGate.h", ["race-wait-test", "link-tests", "client-uplink-test", "client-test"]),
    ("foundation/", ["foundation-platform-test", "foundation-test", "link-tests"]),
    ("wire/Frame.h", ["link-tests"]),
    ("wire/Ring.h", ["shm-test", "shm-order-test"]),
    ("wire/Stream.h", ["client-test", "client-sink-test", "client-record-test"]),
    ("wire/Settings.h", ["settings-test", "client-test"]),
    ("wire/SettingRecords.h", ["settings-test", "client-test"]),
    ("client/Playback.h", ["client-order-test", "race-wait-test", "client-end-test", "client-test",
                           "client-sink-test",
                           STORM, "client-stream-test", "race-test"]),
    ("client/Playback.cpp", ["client-order-test", "race-wait-test", "client-end-test",
                             "client-test", "client-sink-test",
                             STORM, "client-stream-test", "race-test"]),
    ("client/StreamParts", ["client-order-test", "race-wait-test", "client-end-test",
                            "client-test", "client-sink-test", "client-record-test",
                            "client-uplink-test", STORM, "client-stream-test", "race-test"]),
    ("client/Stream.cpp", ["race-wait-test", "client-end-test", "client-test",
                           "client-record-test", "client-stream-test"]),
    ("client/Stream.h", ["client-order-test", "client-end-test", "client-test", "client-sink-test",
                         "client-record-test",
                         "client-uplink-test", "client-stream-test"]),
    ("client/StreamDump.cpp", ["client-stream-test"]),
    ("client/StreamLink.h", ["client-end-test", "client-sink-test", "race-test"]),
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
                               "client-sink-test",
                               "client-storm-test", "client-stream-test", "race-test"]),
    ("client/ClientRecord.cpp", ["client-order-test", "client-fault-test", "client-end-test",
                                 "client-record-test",
                                 STORM, "client-stream-test", "race-test"]),
    ("client/ClientRecordRt.cpp", ["client-order-test", "client-fault-test", "client-end-test",
                                   "client-uplink-test",
                                   "client-record-test", STORM, "client-stream-test",
                                   "race-test"]),
]
# With the thread sanitizer, for what the others let through.
SANITIZED_TESTS = [
    ("shm/", ["shm-test", "race-test"]),
    ("link/", ["race-test", "link-tests", "link-inside-tests"]),
    ("foundation/UseGate.h", ["race-test", "link-tests"]),
    ("foundation/", ["foundation-platform-test", "foundation-test"]),
    ("wire/", ["link-tests"]),
    ("client/Setting", ["settings-test"]),
    ("client/ClientRecordRt.cpp", ["race-test", "client-stream-test",
                                   "client-uplink-test --gtest_filter=LiveDataInRealTime.*"]),
    ("client/", ["race-test", "client-stream-test"]),
    ("diag/", ["diag-test"]),
    ("include/cabinaudio/", ["abi-test"]),
]
# Sources that look at a header while they are compiled: what the compiler is told besides, and
# whether they compile.
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
# These have objects of the library in themselves, some of them compiled once more.
RELINKED = ("link-inside-tests", "shm-test")
OWN_COPIES = {
    "tests/shm/CMakeFiles/shm-test.dir/__/__/shm/RingAccess.cpp.o":
        "shm/CMakeFiles/cabinaudio-shm.dir/RingAccess.cpp.o",
    "tests/shm/CMakeFiles/shm-test.dir/__/__/shm/SharedSemaphore.cpp.o":
        "shm/CMakeFiles/cabinaudio-shm.dir/SharedSemaphore.cpp.o",
}
# What check_ring_code.py looks at.
RING_CODE = ("shm/RingCore.h", "shm/RingTransfer.cpp")


def _of(table, path):
    return next(tests for start, tests in table if path.startswith(start))


def tests_of(path):
    return _of(TESTS, path)


def sanitized_tests_of(path):
    return _of(SANITIZED_TESTS, path)


ALL = []


def _in(file, *mutants):
    ALL.extend(Mutant(file, *mutant) for mutant in mutants)


_in("shm/RingCore.h",
    ("offsets stored without a barrier",
     ".store(value, std::memory_order_release)", ".store(value, std::memory_order_relaxed)"),
    ("offsets loaded without a barrier",
     ".load(std::memory_order_acquire)", ".load(std::memory_order_relaxed)"),
    ("a size without a barrier", "loadAcquire(ring.size)", "loadRelaxed(ring.size)"),
    ("a ring larger than its mapping", "return size - 1 < limit &&", "return size != 0 &&"),
    ("a read offset behind the end", " && read < size", ""),
    ("a write offset behind the end", " && write < size", ""),
    ("the spare byte", "return size - 1 - used();", "return size - used();"),
    ("an offset at the end", "return step < left ?", "return step <= left ?"),
    ("a piece beyond the end", "std::min(size - offset, length)", "length"),
    ("the second piece", "if (first < length)", "if (false)"))

_in("shm/RingTransfer.cpp",
    ("a short read of more than there is", "    if (end > w) return inPieces();\n", ""),
    ("a short read up to an offset behind the end", "    if (w >= size) return inPieces();\n", ""),
    ("a short read of another kind of ring",
     "    if (size > hdl->plainLimit) return inPieces();\n    std::memcpy(dst",
     "    std::memcpy(dst"),
    ("a short write before the data", "    if (r > w) return inPieces();\n", ""),
    ("a short read without a barrier behind the size",
     "size = loadAcquire(ring.size);\n    const std::uint32_t r = loadRelaxed",
     "size = loadRelaxed(ring.size);\n    const std::uint32_t r = loadRelaxed"),
    ("a short write without a barrier behind the size",
     "size = loadAcquire(ring.size);\n    const std::uint32_t r = loadAcquire",
     "size = loadRelaxed(ring.size);\n    const std::uint32_t r = loadAcquire"),
    ("a release without a barrier behind the size",
     "size = loadAcquire(ring.size);\n    if (size == 0)",
     "size = loadRelaxed(ring.size);\n    if (size == 0)"),
    ("a total size without a barrier", "return loadAcquire(mHandle->ring->size);",
     "return loadRelaxed(mHandle->ring->size);"),
    ("a short write to the ring's end", "if (end >= size) return", "if (end > size) return"),
    ("a short write beyond the mapping",
     "    if (size > hdl->plainLimit) return inPieces();\n    std::memcpy(dataBehind",
     "    std::memcpy(dataBehind"),
    ("a short read without a barrier", "storeRelease(ring.readOffset, static_cast",
     "storeRelaxed(ring.readOffset, static_cast"),
    ("a short write without a barrier", "storeRelease(ring.writeOffset, static_cast",
     "storeRelaxed(ring.writeOffset, static_cast"),
    ("an impossible ring is read",
     "if (!state.possible(hdl->len)) return 0;\n    const std::uint32_t count = "
     "std::min(state.used(), len);",
     "const std::uint32_t count = std::min(state.used(), len);"),
    ("an impossible ring is written",
     "if (!state.possible(hdl->len)) return 0;\n    const std::uint32_t count = "
     "std::min(state.free(), len);",
     "const std::uint32_t count = std::min(state.free(), len);"),
    ("more is read than there is", "std::min(state.used(), len)", "len"),
    ("more is written than fits", "std::min(state.free(), len)", "len"),
    ("an object without a mapping is read",
     "if (!hdl->isMapped()) return 0;\n    return finishRead", "return finishRead"),
    ("an object without a mapping is written",
     "if (!hdl->isMapped()) return 0;\n    return finishWrite", "return finishWrite"),
    ("the used size of an impossible ring",
     "state.possible(mHandle->len) ? state.used() : 0", "state.used()"),
    ("the free size of an impossible ring",
     "state.possible(mHandle->len) ? state.free() : 0", "state.free()"),
    ("a view of an impossible ring", "possible ? state.usedInOnePiece() : 0",
     "state.usedInOnePiece()"),
    ("a view from an impossible offset", "(possible ? state.read : 0)", "state.read"),
    ("a release in a ring without size", "if (size == 0) return;\n", "\n"),
    ("a release round the end", "if (offset >= size) offset -= size;\n", "\n",
     "the line behind it comes to the same, more slowly"),
    ("a release of too much", "if (offset >= size) offset %= size;", ""),
    ("a reader does not wake the writer",
     "if (loadRelaxed(ring.writeNotify) != 0) [[unlikely]]\n        post(ring.writeSem, \"read\");",
     ""),
    ("a writer does not wake the reader",
     "if (loadRelaxed(ring.readNotify) != 0) [[unlikely]]\n        post(ring.readSem, \"write\");",
     ""),
    ("a freed offset wakes nobody",
     "if (loadRelaxed(ring.writeNotify) != 0 && loadRelaxed(ring.wait) != 0)\n"
     "        post(ring.writeSem, __func__);", ""),
    ("a freed offset wakes who does not wait", " && loadRelaxed(ring.wait) != 0)", ")"),
    ("a written offset wakes nobody",
     "if (loadRelaxed(ring.readNotify) != 0) post(ring.readSem, __func__);", ""),
    ("no fence before the wait flag is looked at",
     "    std::atomic_thread_fence(std::memory_order_seq_cst);\n    // Deliberate: read()",
     "    // Deliberate: read()"),
    ("no fence behind the wait flag",
     "    std::atomic_thread_fence(std::memory_order_seq_cst);\n}", "}"))

_in("shm/RingMapping.cpp",
    ("a sleeper is forgotten by a new read semaphore",
     "    semaphoreWakeSleepers(readSem);\n", ""),
    ("a sleeper is forgotten by a new write semaphore",
     "    semaphoreWakeSleepers(writeSem);\n", ""))

_in("shm/RingReceiver.cpp",
    ("a receiver is not told to stop", "    receiver->prepareStop();\n", ""),
    ("a receiver whose post was taken away",
     "        if (!semaphoreHasPost(hdl->recevierSem)) postFor(hdl, __func__);\n",
     ""),
    ("a receiver that destroys its ring", "if (receiver->isCaller()) {", "if (false) {"),
    ("a receiver is not waited for",
     "while (!receiver->waitForBodysEnd(kReceiverWakeIntervalMs)) {", "while (false) {",
     "join() waits as well; what is in the loop has mutants of its own"))

_in("shm/ShareMemory.cpp",
    ("a name that is not in the list", "    if (hdl->hasKnownType()) addRingName(*hdl);\n"
     "    const bool complete = createShmMap(hdl, name);\n",
     "    const bool complete = createShmMap(hdl, name);\n"
     "    if (hdl->hasKnownType()) addRingName(*hdl);\n"),
    ("a ring of an unknown type has a name", "if (hdl->hasKnownType()) addRingName", "addRingName"))

_in("shm/Mapping.cpp",
    ("a length of more than 32 bits",
     "if (length > off_t{std::numeric_limits<std::uint32_t>::max()}) {", "if (false) {"),
    ("memory that is not there", "at == nullptr || reserve(fd, length)", "true"),
    ("a hostile size is unmapped", "same ? shared : mapped", "shared"),
    ("an interrupted reservation", "result != 0 && errno == EINTR", "false"),
    ("a failed mapping", "return at != MAP_FAILED ? at : nullptr;", "return at;"))

_in("shm/RingNames.cpp",
    ("a name that a younger ring uses", "return used || hdl.keepsName", "return hdl.keepsName"),
    ("a name that the ring keeps", "return used || hdl.keepsName || ", "return used || "),
    ("a name of the other side", "((one.mode ^ other.mode) & SHM_MODE_CREATOR) == 0 &&", ""),
    ("another name", " &&\n           std::strcmp(one.name, other.name) == 0", ""),
    ("a name that goes after the decision",
     "    const ConstantMutex::AutoLock lock(gRingNamesLock);\n"
     "    const bool used = leaveList(hdl);\n",
     "    gRingNamesLock.lock();\n    const bool used = leaveList(hdl);\n"
     "    gRingNamesLock.unlock();\n"))

_in("shm/RingAccess.cpp",
    ("an incomplete ring is announced", "hdl.isMapped() && (!hdl.needCache || hdl.cacheFd >= 0)",
     "hdl.isMapped()"),
    ("an inert ring is announced", "hdl.isMapped() && (", "("),
    ("another address is announced", " && hdl.phys == address", ""),
    ("another size is announced", " && hdl.len == size", ""),
    ("a new object is announced", " && found.st_ino == hdl.inode", ""),
    ("an object of another file system is announced", " && found.st_dev == hdl.device", "",
     OUT_OF_REACH + "all objects lie in one file system"),
    ("another length is announced", " &&\n           found.st_size == objectLength(hdl)", ""),
    ("a descriptor stays open", "    close(fd);\n", ""))

_in("shm/SharedSemaphore.cpp",
    ("a post too many", "if (countIn(seen) == kCountMax) {", "if (false) {"),
    ("a post wakes nobody", "if ((seen & kWaitersBit) != 0) futexWake", "if (false) futexWake"),
    ("a sleeper that is not counted as one",
     "guess == 0) return;  // initialised meanwhile: this waiter is not counted", "false) return;"),
    ("a post before going to sleep", "if (countIn(seen) != 0) continue;", "",
     "the kernel compares the word with one that has no post, and does not sleep"),
    ("too large a count", "if (count > kCountMax) {", "if (false) {"))

_in("shm/ShmUpdateNotificationRecevier.cpp",
    ("the owner's post is delivered", "if (running() && mCallback", "if (mCallback"),
    ("a body that was left to itself", "if (mLeftToBody) {", "if (false) {"),
    ("a thread that did not start", "if (!running()) mBodyRuns = 0;", ""))

_in("link/AudioSocket.cpp",
    ("a wait for a reader that ends early",
     "        if (mState.isBodyTaken() || mIsStall != 0 || mState.isBroken()) return;\n",
     "        return;\n"),
    ("a reader that has gone is waited for", "mIsStall != 0 || mState.isBroken()",
     "mIsStall != 0"),
    ("waking without the lock", "    const AudioMutex::AutoLock lock(*mReplyLock);\n", ""),
    ("a disconnected requester waits on", "mIsStall != 0 || !mState", "!mState"),
    ("waiting for a thread that never ran", " || !mState.hasWorkerStarted()", ""),
    ("an abandoned requester waits on", "return !mState.isAbandoned() && ", "return "),
    ("the policy about a lost server",
     " && !cabinaudio::linkPolicy().wakesOnServerLoss", ""),
    ("a lost server always ends a request", "return !mState.isAbandoned() && "
     "!cabinaudio::linkPolicy().wakesOnServerLoss;", "return false;"),
    ("a wake-up without a reply", "while (mReplyReady == 0 &&", "if (mReplyReady == 0 &&"),
    ("a broken connection is used again", "    mState.breakOff(*mReplyLock);\n", ""),
    ("a broken connection stays open", "    ::shutdown(mSocket, SHUT_RDWR);\n", ""),
    ("a broken connection keeps its receive thread", "    mReplySem->signal();\n", ""))

HOLDS_RECORD = ("    const RecordLoan loan(mSocketRecord);\n"
                "    AudioSocket* const pSocket = loan.record();\n")
HOLDS_NO_RECORD = "    AudioSocket* const pSocket = RecordLoan(mSocketRecord).record();\n"

_in("link/AudioConnection.cpp",
    ("too long a name", "if (name + 1 > sizeof address.sun_path) {", "if (false) {"),
    ("a standard stream as a socket", "if (descriptor <= STDERR_FILENO) {",
     "if (descriptor < 0) {"),
    ("a negative length is sent",
     "        if (length < 0)\n            result = cabinaudio::refuseLength();\n        else\n",
     ""),
    ("sending without a limit", "1, SEND_TIMEOUT_MS);\n}", "0, SEND_TIMEOUT_MS);\n}",
     "differs only when the time runs out between two neighbouring lines"),
    ("a body is not waited for with a limit", "if (ms == 0) return false;", ""),
    ("a second connection", "if (mSocketRecord.load() != nullptr) return 0;", ""),
    ("sending does not hold the record",
     HOLDS_RECORD + "    if (pSocket == nullptr) {\n        AUDIO_LOGE(\"pSocket is null\\n\");\n"
     "        return 1;\n    }\n    if (pSocket->mState.isBroken()) {",
     HOLDS_NO_RECORD + "    if (pSocket == nullptr) {\n"
     "        AUDIO_LOGE(\"pSocket is null\\n\");\n        return 1;\n    }\n"
     "    if (pSocket->mState.isBroken()) {"),
    ("receiving does not hold the record",
     HOLDS_RECORD + "    if (pSocket == nullptr) {\n        AUDIO_LOGE(\"pSocket is null\\n\");\n"
     "        return 1;\n    }\n    const ReplyDeadline",
     HOLDS_NO_RECORD + "    if (pSocket == nullptr) {\n"
     "        AUDIO_LOGE(\"pSocket is null\\n\");\n        return 1;\n    }\n"
     "    const ReplyDeadline"),
    ("abandoning does not hold the record",
     HOLDS_RECORD + "    if (pSocket == nullptr) return;\n    // A living",
     HOLDS_NO_RECORD + "    if (pSocket == nullptr) return;\n    // A living",
     "its callers hold the call that owns the connection"),
    ("a limit of sending outlasts the policy",
     "limitSending(*pSocket, sendingLimit(deadline));",
     "if (deadline.isSet()) limitSending(*pSocket, sendingLimit(deadline));"),
    ("a limit of sending that is not remembered",
     "limitSending(record.mSocket, ms)) record.mSendLimitMs = ms;",
     "limitSending(record.mSocket, ms)) return;"),
    ("the policy does not limit sending",
     "    return std::clamp<std::uint64_t>(deadline.remainingMs(), 1, SEND_TIMEOUT_MS);",
     "    return SEND_TIMEOUT_MS;"),
    ("sending on no connection",
     "    if (pSocket == nullptr) {\n        AUDIO_LOGE(\"pSocket is null\\n\");\n"
     "        return 1;\n    }\n    if (pSocket->mState.isBroken()) {",
     "    if (pSocket->mState.isBroken()) {"),
    ("sending on a broken connection",
     "    if (pSocket->mState.isBroken()) {\n        AUDIO_LOGE(\"connection is broken\\n\");\n"
     "        return 1;\n    }\n    const ReplyDeadline deadline;\n    std::int32_t result",
     "    const ReplyDeadline deadline;\n    std::int32_t result"),
    ("receiving on a broken connection",
     "    if (pSocket->mState.isBroken()) {\n        AUDIO_LOGE(\"connection is broken\\n\");\n"
     "        return 1;\n    }\n    const bool isReady",
     "    const bool isReady"),
    ("receiving without the lock",
     "    const AudioMutex::AutoLock lock(*pSocket->mReplyLock);\n", ""),
    ("a reply is taken twice", "    pSocket->mReplyReady = 0;\n", ""),
    ("the receive thread is not let go on",
     "    pSocket->mState.takeBody(*pSocket->mReplyLock);\n    pSocket->mReplySem->signal();\n",
     "    pSocket->mState.takeBody(*pSocket->mReplyLock);\n"),
    ("a time that is over does not break the connection", "        pSocket->breakOff();\n", ""),
    ("a disconnect that looks like a lost server",
     "    pSocket->mIsStall = 1;\n    pSocket->mWorker->prepareStop();",
     "    pSocket->mWorker->prepareStop();"),
    ("a disconnect without shutting down",
     "    ::shutdown(pSocket->mSocket, SHUT_RDWR);\n    pSocket->wakeRequester();\n"
     "    pSocket->mReplySem",
     "    pSocket->wakeRequester();\n    pSocket->mReplySem"),
    ("a disconnect that does not wake the requester",
     "    pSocket->wakeRequester();\n    pSocket->mReplySem", "    pSocket->mReplySem"),
    ("a disconnect that does not wake the receive thread",
     "    pSocket->mReplySem->signal();\n    pSocket->mWorker->join();",
     "    pSocket->mWorker->join();"),
    ("a receive thread that is not joined", "    pSocket->mWorker->join();\n", "",
     "its own destructor joins it"),
    ("requesters are not waited for", "    taken.awaitReturn();\n", ""),
    ("abandoned without waking", "if (pSocket->mState.abandon()) pSocket->wakeRequester();",
     "(void)pSocket->mState.abandon();"),
    ("interrupted without waking",
     "    ::shutdown(pSocket->mSocket, SHUT_RDWR);\n    pSocket->wakeRequester();\n}",
     "    ::shutdown(pSocket->mSocket, SHUT_RDWR);\n}"))

_in("link/SocketAttempt.h",
    ("a negative length is received",
     "    if (length < 0) return refuseLength();\n", ""),
    ("nothing is received", "if (length == 0) return 0;", ""),
    ("every failure is tried again", "result == 0 || (result == -1 && error == EAGAIN)", "true"),
    ("no failure is tried again", "result == 0 || (result == -1 && error == EAGAIN)", "false"))

_in("link/SktWorker.cpp",
    ("the receive thread goes without saying so",
     "    mRecord->mState.endWorker(*mRecord->mReplyLock);\n", ""),
    ("the receive thread goes without waking",
     "    mRecord->mState.endWorker(*mRecord->mReplyLock);\n    mRecord->mReplyCond->broadcast();",
     "    mRecord->mState.endWorker(*mRecord->mReplyLock);"),
    ("the receive thread goes without the lock",
     "    const AudioMutex::AutoLock lock(*mRecord->mReplyLock);\n    mRecord->mState.endWorker",
     "    mRecord->mState.endWorker"),
    ("a reply is handed over without the lock",
     "        const AudioMutex::AutoLock lock(*mRecord->mReplyLock);\n", ""),
    ("a reply is handed over on a broken connection",
     "        if (mRecord->mState.isBroken()) return;  // nobody will read it\n", "",
     "nobody reads on a broken connection but a second request at the same time, which no client "
     "makes"),
    ("a reply wakes nobody", "        mRecord->mReplyCond->signal();\n", ""),
    ("the receive thread does not wait for the body", "    mRecord->waitForReader();\n", ""),
    ("a broken connection is no loss",
     "if (mRecord->mState.isBroken()) {\n            _reportLoss();\n            return;\n        }",
     ""),
    ("any bytes are a frame", "result > 0 && header.magic == FRAME_MAGIC", "result > 0"))

_in("link/ConnectionState.h",
    ("abandoned without saying so", "mFacts.fetch_or(ABANDONED)", "mFacts.load()"),
    ("a body that was read before counts for the next",
     "mFacts &= static_cast<std::uint8_t>(~BODY_TAKEN);", ""))

_in("link/RecordLoan.cpp",
    ("a loan is not counted", "withLoans(record, loansIn(seen) + 1)",
     "withLoans(record, loansIn(seen))"),
    ("a loan more than can be counted", " && loansIn(seen) != LOANS", ""),
    ("a loan stays counted in the slot", "withLoans(mRecord, loansIn(seen) - 1)",
     "withLoans(mRecord, loansIn(seen))"),
    ("a loan is given back to the slot of the next record",
     "while (recordIn(seen) == mRecord) {", "while (true) {"),
    ("a loan is not given back to the record", "    mRecord->mReturnedLoans.add();", "    "),
    ("a loan is given back without the lock",
     "void ReturnedLoans::add() {\n    const AudioMutex::AutoLock lock(mLock);\n",
     "void ReturnedLoans::add() {\n"),
    ("a loan that is given back wakes nobody", "    mChanged.signal();\n", ""),
    ("a record stays in the slot", "slot.exchange(nullptr, std::memory_order_acq_rel)",
     "slot.load(std::memory_order_acquire)"),
    ("a record is taken with its count", "return {recordIn(taken), ", "return {taken, "),
    ("the taker does not wait", "    record->mReturnedLoans.await(loans);\n", ""),
    ("one loan that is given back is enough", "while (mCount < count)", "while (mCount == 0)"),
    ("the taker looks without the lock",
     "void ReturnedLoans::await(std::uint32_t count) {\n"
     "    const AudioMutex::AutoLock lock(mLock);\n",
     "void ReturnedLoans::await(std::uint32_t count) {\n"))

_in("link/RemoteCall.cpp",
    ("a message of more than 31 bits", "if (payload > MAX_LENGTH - HEADER_SIZE) return -1;", ""),
    ("a body of more than 31 bits", "wanted < MAX_LENGTH ? wanted : MAX_LENGTH", "wanted"),
    ("the destructor does not wait for requests", "        mNotifier->requests.drain();\n", ""),
    ("the destructor does not end requests", "        conn->_interrupt();\n", ""),
    ("a second block", "if (!mReqPayload.compare_exchange_strong(idle, CLAIMED)) {",
     "if ((void)idle, (mReqPayload = CLAIMED) == nullptr) {"),
    ("too large a block",
     "if (reqLen > std::numeric_limits<std::uint32_t>::max() - HEADER_SIZE) {", "if (false) {"),
    ("a reply block of no bytes", "retLen != 0 ? retLen : 1", "retLen",
     "the C library has a block of no bytes, too"),
    ("a foreign block is sent", " || req != mReqPayload) {", ") {"),
    ("the claim is sent as a block", "req == nullptr || req == CLAIMED ||", "req == nullptr ||",
     "a caller has no way to know that address"),
    ("a call without a connection", "if (conn == nullptr || handle == 0) {",
     "if (handle == 0) {"),
    ("a call without a handle", "if (conn == nullptr || handle == 0) {",
     "if (conn == nullptr) {"),
    ("a call does not hold the connection",
     "    const UseGate::Visit visit(mNotifier->requests);\n"
     "    AudioConnection* const conn = mConn;\n    const std::uint32_t handle",
     "    AudioConnection* const conn = mConn;\n    const std::uint32_t handle"),
    ("a foreign reply block is released", "if (!mine || ret != mRetBlock) {", "if (!mine) {"),
    ("a block stays claimed", "        if (mine) mReqPayload = outstanding;\n", ""),
    ("blocks of nothing are released", "if (req == nullptr || ret == nullptr) {",
     "if (false) {"),
    ("a name that is too long",
     "strnlen(name, sizeof param.name - 1)", "strnlen(name, 2 * sizeof param.name)"))

_in("link/RemoteCallNotifierWorker.cpp",
    ("notifications are queued without the lock",
     "        const AudioMutex::AutoLock lock(mLock);\n        mMessages.push_back",
     "        mMessages.push_back"),
    ("notifications are taken without the lock",
     "    const AudioMutex::AutoLock lock(mLock);\n    if (mMessages.empty())",
     "    if (mMessages.empty())"),
    ("an empty queue", "    if (mMessages.empty()) return nullptr;\n", ""),
    ("a notification wakes nobody",
     "        mMessages.push_back(message);\n    }\n    mWakeUps.signal();",
     "        mMessages.push_back(message);\n    }"),
    ("the notifier is not woken at its end", "    mWakeUps.signal();\n    join();", "    join();"))

_in("foundation/AudioThread.cpp",
    ("signals reach a thread's body", "pthread_sigmask(SIG_BLOCK, &others, &before)",
     "pthread_sigmask(SIG_BLOCK, nullptr, &before)"),
    ("signals of faults are blocked", "        sigdelset(&signals, signal);\n",
     "        (void)signal;\n",
     "the new thread takes them out of its mask before its body"),
    ("signals of faults stay blocked",
     "    AUDIO_IGNORE(pthread_sigmask(SIG_UNBLOCK, &faults, nullptr) == 0);\n",
     "    (void)faults;\n"),
    ("a creator hears what it blocks", "pthread_sigmask(SIG_BLOCK, &others",
     "pthread_sigmask(SIG_SETMASK, &others"),
    ("a creator stays deaf",
     "    AUDIO_IGNORE(pthread_sigmask(SIG_SETMASK, &before, nullptr) == 0);\n", ""),
    ("no stack is set", "if (bytes != 0) AUDIO_IGNORE", "if (false) AUDIO_IGNORE"),
    ("an application's thread has the library's stack", "LibraryThread::start(*this, 0)",
     "LibraryThread::start(*this)"))

_in("foundation/UseGate.h",
    ("nobody is waited for", "while (mCount != 0)", "while (false)"),
    ("one wake-up is enough", "while (mCount != 0)", "if (mCount != 0)",
     "nobody enters any more, and only the last one who leaves wakes"),
    ("entering without the lock",
     "        const AudioMutex::AutoLock lock(mLock);\n        ++mCount;", "        ++mCount;"),
    ("leaving without the lock",
     "        const AudioMutex::AutoLock lock(mLock);\n        if (--mCount",
     "        if (--mCount"),
    ("leaving without waking", "if (--mCount == 0) mEmpty.broadcast();", "--mCount;"))

_in("link/Request.h",
    ("a request does not hold the call",
     "    const UseGate::Visit visit(RemoteCallAccess::requests(rc));\n", ""),
    ("blocks are freed before the outcome is handed over",
     "    conclude(status, static_cast<const std::uint8_t*>(ret));\n"
     "    if (arrived) std::memcpy(&status, ret, sizeof status);\n"
     "    const bool isFreed = rc.rcfree(param, ret) == AUDIO_NO_ERROR;\n",
     "    auto* const copy = new std::uint8_t[replySize];\n"
     "    std::memcpy(copy, ret, replySize);\n"
     "    const bool isFreed = rc.rcfree(param, ret) == AUDIO_NO_ERROR;\n"
     "    conclude(status, static_cast<const std::uint8_t*>(copy));\n"
     "    if (arrived) std::memcpy(&status, copy, sizeof status);\n"
     "    delete[] copy;\n"))

_in("client/Stream.cpp",
    ("a ring that is mapped is mapped again",
     "if (current != nullptr && RingAccess::mapsAnnounced(*current, place.address, place.size))",
     "if (false)"),
    ("a new ring is taken for the mapped one",
     "current != nullptr && RingAccess::mapsAnnounced(*current, place.address, place.size)",
     "current != nullptr"),
    ("a ring that could not be mapped replaces the earlier one",
     "if (current != nullptr && current->isUsable() && !ring->isUsable()) {", "if (false) {"),
    ("a ring that could not be mapped takes the name away",
     "        RingAccess::keepName(*ring);\n", ""),
    ("a new ring does not replace the earlier one",
     "    slot = ring;\n    return current;",
     "    if (current != nullptr) return ring;\n    slot = ring;\n    return nullptr;"),
    ("a replaced ring is not deleted", "    slot = ring;\n    return current;",
     "    slot = ring;\n    return nullptr;"),
    ("no ring is deleted", "    if (ring == nullptr) return;\n    link", "    link",
     "deleting nothing does nothing, and no thread stays in the gate"),
    ("lookers are not waited for", "    link.ringVisitors.drain();\n", ""))

_in("client/StreamParts.h",
    ("a blocked call is not marked", "        mIsBlocked = true;\n", ""),
    ("a call on its way out stays blocked", "        mIsBlocked = false;\n", ""),
    ("a call on its way out keeps silent", "        if (mState != ACTIVE) mChanged.signal();\n", ""),
    ("a removed stream's call keeps silent", "        if (mState != ACTIVE) mChanged.signal();\n",
     "        if (mState == NO_INIT) mChanged.signal();\n"),
    ("a late wake-up", "LAG_WARNING_MS = 2", "LAG_WARNING_MS = 3",
     OUT_OF_REACH + "differs for a wake-up that took 2 ms to the millisecond"))

_in("client/StreamParts.cpp",
    ("requests of two threads at once",
     "    const AudioMutex::AutoLock lock(StreamLink::of(&rc).requestLock);\n", ""),
    ("a state that is there already is asked for",
     "    if (stream.isIn(to)) return {StateChange::Outcome::NotNeeded, AUDIO_NO_ERROR};\n", ""),
    ("a change from any state",
     "    if (!stream.isIn(from)) return {StateChange::Outcome::Refused, AUDIO_INVALID_STATE};\n", ""),
    ("a change that failed is one",
     "    if (status != AUDIO_NO_ERROR) return {StateChange::Outcome::Failed, status};\n"
     "    stream.state = to;\n",
     "    stream.state = to;\n"
     "    if (status != AUDIO_NO_ERROR) return {StateChange::Outcome::Failed, status};\n"),
    ("a removed stream is stopped", "    stream.state = STOPPING;\n", "    stream.state = IDLE;\n"),
    ("removal wakes nobody", "    stream.state = STOPPING;\n    stream.wakeBlocked();\n",
     "    stream.state = STOPPING;\n"),
    ("an update while nobody is blocked", "    if (!stream.isBlocked) return 0;\n", "",
     "comes to a wake-up of nobody and, when it is late, a line of the log too many"),
    ("an update wakes nobody", "    stream.changed.signal();\n    ShareMemoryEx", "    ShareMemoryEx"),
    ("an update of a ring that is not mapped", "ring == nullptr || !ring->isUsable()",
     "ring == nullptr", "a ring that is not mapped has no receiver thread, which alone asks"),
    ("an update of no ring", "ring == nullptr || !ring->isUsable()", "!ring->isUsable()"),
    ("the destructor does not wake the blocked call",
     "    stream.changed.signal();\n    const std::uint64_t begin", "    const std::uint64_t begin"),
    ("the destructor waits once",
     "    for (; stream.isBlocked && waited < limitMs; waited = nowMs() - begin)\n",
     "    if (stream.isBlocked)\n"),
    ("a wait beyond its limit", "limitMs - waited)", "limitMs)",
     OUT_OF_REACH + "differs after a wake-up that was the blocked call's, and then only in length"),
    ("the destructor does not wait for a reader",
     "    (void)awaitExit(stream, READER_EXIT_WAIT_MS);\n", ""),
    ("another wait for a reader", "READER_EXIT_WAIT_MS = 500", "READER_EXIT_WAIT_MS = 250"),
    ("a running stream is cleared", "    if (!stream.isIn(IDLE)) {", "    if (false) {"),
    ("a stream without a ring is cleared",
     "    if (ShareMemoryEx* const ring = stream.ring) ring->clear();",
     "    stream.ring.load()->clear();"))

_in("client/StreamDump.cpp",
    ("a dump in use is closed",
     "    dump->mEarlier = static_cast<StreamDump*>(current.exchange",
     "    delete static_cast<StreamDump*>(current.exchange"),
    ("an earlier dump is forgotten",
     "    dump->mEarlier = static_cast<StreamDump*>(current.exchange(dump, "
     "std::memory_order_acq_rel));",
     "    (void)current.exchange(dump, std::memory_order_acq_rel);"),
    ("a dump is stored without a barrier", "std::memory_order_acq_rel",
     "std::memory_order_relaxed",
     OUT_OF_REACH + "a read would have to be held up between its data and its dump while other "
     "threads stop and check the stream"),
    ("dumps stay open", "        delete dump;\n", ""))

_in("client/StreamLink.h",
    ("an early notification finds no link", "RemoteCall((rc = this, type), notify",
     "RemoteCall(type, notify"),
    ("a late notification finds no extras", "public StreamExtras, public RemoteCall",
     "public RemoteCall, public StreamExtras"))

_in("client/Playback.h",
    ("a step of nothing", "std::max(perLoopSize, 1)", "perLoopSize"),
    ("more is written than fits", "std::min(freeSize(ring), bytes)", "bytes"),
    ("a ring for reading", "SHM_MODE_WRITER, &updated", "SHM_MODE_READER, &updated"),
    ("a dump of nothing",
     "        StreamDump::write(dump, buffer, static_cast<unsigned>(len));\n", ""),
    ("a failed request drops the ring",
     "asked.reply.status);\n                    return;\n",
     "asked.reply.status);\n                    replaced = stream.mShareMemory.exchange(nullptr);\n"
     "                    return;\n"),
    ("a negative count is written", "return std::max(count, 0);", "return count;",
     OUT_OF_REACH + "takes a ring of 2 GiB"),
    ("the free size of no ring",
     "return ring != nullptr ? static_cast<int>(ring->getFreeSize()) : 0;",
     "return static_cast<int>(ring->getFreeSize());"))

_in("client/Playback.cpp",
    ("a full ring is looked at once only",
     "        if (freeSize(stream.ring) >= need) {\n            setRingWait(stream, false);\n"
     "            return need;\n        }\n", ""),
    ("the ring's flag is not set", "        setRingWait(stream, true);\n", ""),
    ("the flag stays after a wait", "        setRingWait(stream, false);\n    } while",
     "    } while"),
    ("the flag stays after a second look",
     "            setRingWait(stream, false);\n            return need;",
     "            return need;"),
    ("a writer that is woken for ever",
     "        if (!isWoken || (patience.isOver() && freeSize(stream.ring) < need)) {",
     "        if (!isWoken) {"),
    ("a stopped stream is written to", "        if (isWoken && !stream.isIn(ACTIVE)) {",
     "        if (false) {"),
    ("a source that went away",
     "        if (isWoken && isGivenUp != nullptr && *isGivenUp) return 0;\n", ""),
    ("a second writer",
     "    if (stream.isBlocked) {\n        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site,\n"
     "                     \"[%s]Can not write,the last",
     "    if (false) {\n        AUDIO_LOG_AT(ANDROID_LOG_ERROR, site,\n"
     "                     \"[%s]Can not write,the last"),
    ("a second writer is in another state",
     "stream.isBlocked);\n        return AUDIO_INVALID_OPERATION",
     "stream.isBlocked);\n        return AUDIO_INVALID_STATE"),
    ("stop wakes nobody", "            stream.wakeBlocked();\n", ""),
    ("a stopped stream stays at its end",
     "            stream.isWriteDone = false;\n            stream.wakeBlocked();",
     "            stream.wakeBlocked();"),
    ("the time of the end is that of the answer",
     "    stream.writeDoneTime = nowMs();\n"
     "    const std::int32_t status = stream.request(id(wire::StreamFunction::WriteDone), true);\n",
     "    const std::int32_t status = stream.request(id(wire::StreamFunction::WriteDone), true);\n"
     "    stream.writeDoneTime = nowMs();\n"),
    ("the end is not remembered", "    stream.isWriteDone = true;\n", ""),
    ("the flag of requests", "StreamFunction::WriteDone), true", "StreamFunction::WriteDone), false"),
    ("a stream that is destroyed is stopping", "    stream.state = NO_INIT;\n",
     "    stream.state = STOPPING;\n"),
    ("the destructor does not wait for a writer",
     "        const std::uint64_t waited = awaitExit(stream, WRITER_EXIT_WAIT_MS);\n",
     "        const std::uint64_t waited = 0;\n"),
    ("a ring that is not mapped has a flag",
     "if (ring != nullptr && ring->isUsable()) ring->setWait",
     "if (ring != nullptr) ring->setWait"))

_in("client/ClientTrack.cpp",
    ("start waits before it is logged",
     "    AUDIO_LOGD(\"[%s]start In\\n\", mName);\n"
     "    const AudioMutex::AutoLock lock(mLock);\n",
     "    const AudioMutex::AutoLock lock(mLock);\n"
     "    AUDIO_LOGD(\"[%s]start In\\n\", mName);\n"),
    ("stop waits before it is logged",
     "    AUDIO_LOGD(\"[%s]stop In\\n\", mName);\n"
     "    const AudioMutex::AutoLock lock(mLock);\n",
     "    const AudioMutex::AutoLock lock(mLock);\n"
     "    AUDIO_LOGD(\"[%s]stop In\\n\", mName);\n"),
    ("clear waits before it is logged",
     "    AUDIO_LOGD(\"[%s]clear In\\n\", mName);\n"
     "    const AudioMutex::AutoLock lock(mLock);\n",
     "    const AudioMutex::AutoLock lock(mLock);\n"
     "    AUDIO_LOGD(\"[%s]clear In\\n\", mName);\n"),
    ("the end of the data waits before it is logged",
     "    AUDIO_LOGD(\"[%s]writeDone In\\n\", mName);\n"
     "    const AudioMutex::AutoLock lock(mLock);\n",
     "    const AudioMutex::AutoLock lock(mLock);\n"
     "    AUDIO_LOGD(\"[%s]writeDone In\\n\", mName);\n"),
    ("removal without the lock", "    const AudioMutex::AutoLock lock(mLock);\n    cabinaudio::setRemoved",
     "    cabinaudio::setRemoved"),
    ("removal waits before it is logged",
     "    AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, \"[%s]server track has be deleted, "
     "disconnect.\\n\", mName);\n    const AudioMutex::AutoLock lock(mLock);\n",
     "    const AudioMutex::AutoLock lock(mLock);\n"
     "    AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, \"[%s]server track has be deleted, "
     "disconnect.\\n\", mName);\n"),
    ("the destructor without the lock",
     "        const AudioMutex::AutoLock lock(mLock);\n        ring = Playback::endWriter",
     "        ring = Playback::endWriter"),
    ("an update is looked at without the lock",
     "void ClientTrack::notify() {\n    const AudioMutex::AutoLock lock(mLock);\n",
     "void ClientTrack::notify() {\n"),
    ("an update is logged without the lock",
     "    const AudioMutex::AutoLock lock(mLock);\n"
     "    cabinaudio::logUpdate(parts(), AUDIO_LOG_SITE);\n",
     "    mLock.lock();\n"
     "    const std::uint64_t lag = cabinaudio::wakeAfterUpdate(parts());\n"
     "    mLock.unlock();\n"
     "    if (lag >= cabinaudio::LAG_WARNING_MS)\n"
     "        AUDIO_LOGW(\"[%s] update share memory IPC interVal:%llu ms > 1 ms\\n\", mName, llu(lag));\n"),
    ("writing without the lock", "    const AudioMutex::AutoLock lock(mLock);\n    if (mIsBlocked ||",
     "    if (mIsBlocked ||"),
    ("a stopped stream takes a write", " || mState.load(std::memory_order_relaxed) != ACTIVE)", ")"),
    ("no ring is another status",
     "!checkAndWaitShareBufferReady()) return AUDIO_TIMED_OUT;",
     "!checkAndWaitShareBufferReady()) return AUDIO_INVALID_STATE;"),
    ("notifications before the end of construction",
     "        const AudioMutex::AutoLock lock(mLock);\n        StreamLink::open",
     "        StreamLink::open"),
    ("a stream that was removed while it was made", "    if (mState == NO_INIT) mState = IDLE;",
     "    mState = IDLE;"),
    ("a ring of the last moment stays",
     "    delete mShareMemory;  // mapped for a notification that came during destruction\n", ""),
    ("dumps stay open", "    StreamDump::endAll(mDump);\n", ""),
    ("the total size of a ring that goes",
     "    const UseGate::Visit visit(StreamLink::of(mRc).ringVisitors);\n    ShareMemoryEx",
     "    ShareMemoryEx"),
    ("the free size of a ring that goes",
     "    const UseGate::Visit visit(StreamLink::of(mRc).ringVisitors);\n"
     "    return Playback::freeSize",
     "    return Playback::freeSize"),
    ("no bytes are written", "    if (bytes < 1) {", "    if (false) {"),
    ("no buffer is written", "    if (buffer == nullptr) {", "    if (false) {"),
    ("a signal without a ring",
     "    for (std::uint64_t waited = 0; mShareMemory == nullptr && mState == ACTIVE && !isTimedOut;\n"
     "         waited = nowMs() - begin)\n", "    const std::uint64_t waited = 0;\n"),
    ("a stopped writer waits on for its ring",
     "mShareMemory == nullptr && mState == ACTIVE && !isTimedOut;",
     "mShareMemory == nullptr && !isTimedOut;"),
    ("a new ring wakes nobody",
     "    replaced.ring = initShareMemory();\n    if (mIsBlocked) mCond.signal();",
     "    replaced.ring = initShareMemory();"),
    ("a replaced ring is deleted under the lock",
     "    ReplacedRing replaced(StreamLink::of(mRc));\n"
     "    const AudioMutex::AutoLock lock(mLock);\n",
     "    const AudioMutex::AutoLock lock(mLock);\n"
     "    ReplacedRing replaced(StreamLink::of(mRc));\n"),
    ("a request that waits for a dead server", "    RemoteCallAccess::abandon(*mRc);\n", ""),
    ("too small a key shift", "if (key < KEY_SHIFT_MIN || key", "if (key"),
    ("too large a key shift", " || key > KEY_SHIFT_MAX) {", ") {"))

_in("client/ClientSink.cpp",
    ("start waits before it is logged",
     "    AUDIO_LOGD(\"[%s]start In\\n\", mName);\n"
     "    const InTurn turn(StreamLink::of(mRc).turn, mLock);\n",
     "    const InTurn turn(StreamLink::of(mRc).turn, mLock);\n"
     "    AUDIO_LOGD(\"[%s]start In\\n\", mName);\n"),
    ("stop waits before it is logged",
     "    AUDIO_LOGD(\"[%s]stop In\\n\", mName);\n"
     "    const InTurn turn(StreamLink::of(mRc).turn, mLock);\n",
     "    const InTurn turn(StreamLink::of(mRc).turn, mLock);\n"
     "    AUDIO_LOGD(\"[%s]stop In\\n\", mName);\n"),
    ("clear waits before it is logged",
     "    AUDIO_LOGD(\"[%s]clear In\\n\", mName);\n"
     "    const InTurn turn(StreamLink::of(mRc).turn, mLock);\n",
     "    const InTurn turn(StreamLink::of(mRc).turn, mLock);\n"
     "    AUDIO_LOGD(\"[%s]clear In\\n\", mName);\n"),
    ("the end of the data waits before it is logged",
     "    AUDIO_LOGD(\"[%s]writeDone In\\n\", mName);\n"
     "    const InTurn turn(StreamLink::of(mRc).turn, mLock);\n",
     "    const InTurn turn(StreamLink::of(mRc).turn, mLock);\n"
     "    AUDIO_LOGD(\"[%s]writeDone In\\n\", mName);\n"),
    ("removal without the lock", "    const InTurn turn(StreamLink::of(mRc).turn, mLock);\n    cabinaudio::setRemoved",
     "    cabinaudio::setRemoved"),
    ("removal waits before it is logged",
     "    AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, \"[%s]server track has be deleted, "
     "disconnect.\\n\", mName);\n    const InTurn turn(StreamLink::of(mRc).turn, mLock);\n",
     "    const InTurn turn(StreamLink::of(mRc).turn, mLock);\n"
     "    AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, \"[%s]server track has be deleted, "
     "disconnect.\\n\", mName);\n"),
    ("the destructor without the lock",
     "        const AudioMutex::AutoLock lock(mLock);\n        ring = Playback::endWriter",
     "        ring = Playback::endWriter"),
    ("an update is looked at without the lock",
     "void ClientSink::notify() {\n    const AudioMutex::AutoLock lock(mLock);\n",
     "void ClientSink::notify() {\n"),
    ("an update is logged without the lock",
     "    const AudioMutex::AutoLock lock(mLock);\n"
     "    cabinaudio::logUpdate(parts(), AUDIO_LOG_SITE);\n",
     "    mLock.lock();\n"
     "    const std::uint64_t lag = cabinaudio::wakeAfterUpdate(parts());\n"
     "    mLock.unlock();\n"
     "    if (lag >= cabinaudio::LAG_WARNING_MS)\n"
     "        AUDIO_LOGW(\"[%s] update share memory IPC interVal:%llu ms > 1 ms\\n\", mName, llu(lag));\n"),
    ("a replaced ring is deleted under the lock",
     "        ReplacedRing replaced(StreamLink::of(mRc));\n"
     "        const InTurn turn(StreamLink::of(mRc).turn, mLock);\n",
     "        const InTurn turn(StreamLink::of(mRc).turn, mLock);\n"
     "        ReplacedRing replaced(StreamLink::of(mRc));\n"),
    ("the server hears before the ring is gone",
     "    cabinaudio::deleteRing(StreamLink::of(mRc), ring);\n"
     "    return cabinaudio::sendInTurn(*mRc, id(StreamFunction::SourceDeactivated), true) ==\n"
     "           AUDIO_NO_ERROR;",
     "    const bool isTold = cabinaudio::sendInTurn(*mRc, id(StreamFunction::SourceDeactivated),\n"
     "                                               true) == AUDIO_NO_ERROR;\n"
     "    cabinaudio::deleteRing(StreamLink::of(mRc), ring);\n    return isTold;"),
    ("the flag of an acknowledgement", "SourceDeactivated), true", "SourceDeactivated), false"),
    ("notifications before the end of construction",
     "        const AudioMutex::AutoLock lock(mLock);\n        StreamLink::open",
     "        StreamLink::open"),
    ("a stream that was removed while it was made", "    if (mState == NO_INIT) mState = IDLE;",
     "    mState = IDLE;"),
    ("a ring of the last moment stays",
     "    delete mShareMemory;  // mapped for a notification that came during destruction\n", ""),
    ("dumps stay open", "    StreamDump::endAll(mDump);\n", ""),
    ("the total size of a ring that goes",
     "    const UseGate::Visit visit(StreamLink::of(mRc).ringVisitors);\n    ShareMemoryEx",
     "    ShareMemoryEx"),
    ("a ring is asked for beside another request",
     "    const AudioMutex::AutoLock lock(StreamLink::of(mRc).requestLock);\n"
     "    ShareMemoryEx* replaced", "    ShareMemoryEx* replaced"),
    ("the free size of a ring that goes",
     "    const UseGate::Visit visit(StreamLink::of(mRc).ringVisitors);\n"
     "    return Playback::freeSize",
     "    return Playback::freeSize"),
    ("nobody else has a turn", "    turn.lock();\n    const AudioMutex::AutoLock lock(mLock);\n"
     "    turn.unlock();", "    (void)turn;\n    const AudioMutex::AutoLock lock(mLock);"),
    ("no bytes are written", "    if (len < 1) {", "    if (false) {"),
    ("a wait for a source without the policy's end",
     "        if (deadline.isOver()) return AUDIO_TIMED_OUT;\n", ""),
    ("a withdrawn source wakes nobody",
     "        ring = detachRing();\n        if (mIsBlocked) mCond.signal();",
     "        ring = detachRing();"),
    ("a new source wakes nobody",
     "        replaced.ring = initShareMemory();\n        if (mIsBlocked) mCond.signal();",
     "        replaced.ring = initShareMemory();"),
    ("a request that waits for a dead server", "    RemoteCallAccess::abandon(*mRc);\n", ""))

_in("client/ClientRecord.cpp",
    ("a stopped stream is read",
     "    if (mState.load(std::memory_order_relaxed) != ACTIVE) {", "    if (false) {"),
    ("an update is logged without the lock",
     "    const AudioMutex::AutoLock lock(mLock);\n"
     "    const std::uint64_t lag = cabinaudio::wakeAfterUpdate(parts());\n",
     "    mLock.lock();\n"
     "    const std::uint64_t lag = cabinaudio::wakeAfterUpdate(parts());\n"
     "    mLock.unlock();\n"),
    ("more is read than a ring holds", " || bytes > bufferSize) {", ") {"),
    ("no bytes are read", "buffer == nullptr || bytes <= 0 ||", "buffer == nullptr ||"),
    ("no buffer is read to", "if (buffer == nullptr || bytes", "if (bytes"),
    ("a second reader", "    if (mIsBlocked) {\n        AUDIO_LOGE(\"[%s]Can not read",
     "    if (false) {\n        AUDIO_LOGE(\"[%s]Can not read"),
    ("reading over a stop", "        if (!isWoken || mState != ACTIVE) return 0;",
     "        if (!isWoken) return 0;"),
    ("reading on after the time", "        if (!isWoken || mState != ACTIVE) return 0;",
     "        if (mState != ACTIVE) return 0;"),
    ("a volume beyond the largest", "if (static_cast<unsigned>(volume) > VOLUME_MAX) {",
     "if (false) {"),
    ("an update is looked at without the lock",
     "void ClientRecord::notify() {\n    const AudioMutex::AutoLock lock(mLock);\n",
     "void ClientRecord::notify() {\n"),
    ("dumps stay open", "    StreamDump::endAll(mDump);\n", ""),
    ("a stream that was removed while it was made", "    if (mState == NO_INIT) mState = IDLE;",
     "    mState = IDLE;"))

_in("client/ClientRecordRt.cpp",
    ("an update is logged without the lock",
     "    const AudioMutex::AutoLock lock(mLock);\n"
     "    cabinaudio::logUpdate(parts(), AUDIO_LOG_SITE);\n",
     "    mLock.lock();\n"
     "    const std::uint64_t lag = cabinaudio::wakeAfterUpdate(parts());\n"
     "    mLock.unlock();\n"
     "    if (lag >= cabinaudio::LAG_WARNING_MS)\n"
     "        AUDIO_LOGW(\"[%s] update share memory IPC interVal:%llu ms > 1 ms\\n\", mName, llu(lag));\n"),
    ("stop wakes nobody", "            if (mIsBlocked) mCond.signal();\n", ""),
    ("the server hears before the ring is gone",
     "    cabinaudio::deleteRing(StreamLink::of(mRc), ring);\n"
     "    // The server may use the memory again from here on.\n"
     "    if (cabinaudio::sendInTurn(*mRc, id(CaptureFunction::RemoveShareMemory), false) !=\n"
     "        AUDIO_NO_ERROR)\n"
     "        AUDIO_LOGE(\"remove[%s] share memory failed\\n\", mName);",
     "    if (cabinaudio::sendInTurn(*mRc, id(CaptureFunction::RemoveShareMemory), false) !=\n"
     "        AUDIO_NO_ERROR)\n"
     "        AUDIO_LOGE(\"remove[%s] share memory failed\\n\", mName);\n"
     "    cabinaudio::deleteRing(StreamLink::of(mRc), ring);"),
    ("a part of a frame is taken for the frame",
     "            if (wanted.unit == Unit::Frame) ready = 0;\n", ""),
    ("a wait that ends in vain goes on", "!chooseSource(wanted, site).isEnough();", "false;"),
    ("notifications before the end of construction",
     "        const AudioMutex::AutoLock lock(mLock);\n        StreamLink::open",
     "        StreamLink::open"),
    ("a stream that was removed while it was made", "    if (mState == NO_INIT) mState = IDLE;",
     "    mState = IDLE;"),
    ("dumps stay open", "    StreamDump::endAll(mDump);\n", ""),
    ("an update is looked at without the lock",
     "void ClientRecordRt::notify() {\n    const AudioMutex::AutoLock lock(mLock);\n",
     "void ClientRecordRt::notify() {\n"),
    ("a reader is not in the gate",
     "    const UseGate::Visit visit(StreamLink::of(mRc).readers);\n", ""),
    ("readers are not waited for",
     "    if (!isGivenUp) StreamLink::of(mRc).readers.drain();\n", ""),
    ("a reader that never woke up is waited for",
     "if (!isGivenUp) StreamLink::of(mRc).readers.drain();",
     "StreamLink::of(mRc).readers.drain();"),
    ("the total size of a ring that goes",
     "    const UseGate::Visit visit(StreamLink::of(mRc).ringVisitors);\n", ""),
    ("a ring is asked for beside another request",
     "    const AudioMutex::AutoLock lock(StreamLink::of(mRc).requestLock);\n"
     "    ShareMemoryEx* replaced", "    ShareMemoryEx* replaced",
     "the notifier thread alone makes a request without the stream's lock, and it asks for the "
     "ring as well"),
    ("a ring during destruction", "    if (mState == NO_INIT) {\n        AUDIO_LOGW(",
     "    if (false) {\n        AUDIO_LOGW("),
    ("a failed request drops the ring",
     "                logNoRing(asked.called, asked.reply.status, site);",
     "                replaced = mShareMemory.exchange(nullptr),\n"
     "                logNoRing(asked.called, asked.reply.status, site);"),
    ("a new ring is live before its data", "    if (ring != earlier) mSourceReady = false;\n",
     "    (void)earlier;\n"),
    ("a ring that is announced unchanged is live no more",
     "    if (ring != earlier) mSourceReady = false;\n",
     "    (void)earlier;\n    mSourceReady = false;\n"),
    ("a new ring wakes nobody",
     "    replaced.ring = initShareMem();\n    if (mIsBlocked) mCond.signal();",
     "    replaced.ring = initShareMem();"),
    ("a replaced ring is deleted under the lock",
     "    ReplacedRing replaced(StreamLink::of(mRc));\n"
     "    const AudioMutex::AutoLock lock(mLock);\n",
     "    const AudioMutex::AutoLock lock(mLock);\n"
     "    ReplacedRing replaced(StreamLink::of(mRc));\n"),
    ("a ring that goes wakes nobody",
     "        ring = unInitShareMem();\n        if (mIsBlocked) mCond.signal();",
     "        ring = unInitShareMem();"),
    ("a request that waits for a dead server", "    RemoteCallAccess::abandon(*mRc);\n", ""))

_in("client/Setting.h",
    ("a number of any width is sent", "sizeof(T) == 4 && (std", "(std"),
    ("an address is sent", "sizeof(T) == 4 && (std",
     "std::is_pointer_v<T> || sizeof(T) == 4 && (std"),
    ("a record with an address is sent", "alignof(T) <= 4", "true"),
    ("a record of any length is sent", "sizeof(T) % 4 == 0", "true"),
    ("an object is sent", "std::is_trivially_copyable_v<T>", "true"),
    ("any record of the application is sent", "std::is_same_v<decltype(Request::value), Value> &&",
     "true &&"),
    ("any number of numbers is sent", "sizeof(wire::RequestOf<FUNCTION>) == 4 * (1 + "
     "sizeof...(Numbers)) &&", "true &&"),
    ("results of any size", "sizeof(Reply) == REPLY_SIZE<Results...>", "true"),
    ("results of any kind", "(IS_RECORD<Results...> || InitializedBy<Reply, Results...>)", "true"),
    ("many results are a record", "sizeof...(Results) == 1 && (WordRecord<Results> && ...)",
     "true"))

_in("client/Setting.cpp",
    ("no result is taken",
     "            if (called == AUDIO_NO_ERROR && reply.take != nullptr) reply.take(block, "
     "reply.context);\n", ""),
    ("a text beyond its field", "strnlen(text, most)", "std::strlen(text)"),
    ("a result without a place", "if (result.to != nullptr) std::memcpy(result.to",
     "std::memcpy(result.to"),
    ("the next result", "at += result.field();", "at += 0;"),
    ("nothing behind the record", "    if (request.behind.size != 0)\n"
     "        std::memcpy(block + request.record.size, request.behind.at, request.behind.size);\n",
     ""))

_in("link/Request.h",
    ("the server's status", "    if (arrived) std::memcpy(&status, ret, sizeof status);\n", ""))

_in("client/SettingList.h",
    ("more slots than the reply has",
     "    count = std::clamp(count, std::int32_t{0}, static_cast<std::int32_t>(SLOTS));\n", ""))

_in("client/ClientSourceSetting.cpp",
    ("what lies behind a kept name", "strnlen(name.text, sizeof buffer - 1)", "sizeof buffer - 1"),
    ("a former name shows behind the next one",
     "std::memset(buffer, 0, sizeof buffer);\n", "\n"))

_in("client/ClientAppSetting.cpp",
    ("a delay's word is stored at its half", "std::memcpy(delay, &word, sizeof word);",
     "std::memcpy(delay, &word, sizeof *delay);"),
    ("a delay without a place", "    if (delay != nullptr) std::memcpy(delay, &word, sizeof word);",
     "    std::memcpy(delay, &word, sizeof word);"))

_in("client/ClientMixerSetting.cpp",
    ("the third gain before the fourth",
     "isAttenuation(matrix->gain[3]) && isAttenuation(matrix->gain[2])",
     "isAttenuation(matrix->gain[2]) && isAttenuation(matrix->gain[3])"),
    ("a gain that is not checked", "isAttenuation(matrix->gain[3]) && ", ""))

_in("client/ClientVolumeSetting.cpp",
    ("any step of a stream type", "    if (type == nullptr || volume > STEP_MAX) {",
     "    if (type == nullptr) {"))

_in("include/cabinaudio/setting/Volume.h",
    ("a whole number is narrowed to some step",
     "number : 255);\n    else\n        return static_cast<unsigned char>("
     "static_cast<unsigned long long>(number) > 255 ?",
     "number : 255);\n    else\n        return static_cast<unsigned char>("
     "static_cast<unsigned long long>(number) > 999 ?"),
    ("a fraction is narrowed to some step", "number >= 0 && number < 256 ? number : 255", "number"),
    ("a flag is a volume of stream types", "    template <typename Flag, NoVolume<Flag> = 0>\n"
     "    int setVolumeByStreamType(const char* type, Flag volume) = delete;\n", ""))

_in("include/cabinaudio/client/ClientVolumeSetting.h",
    ("the client hides its base's steps by stream type",
     "    using Volume::setVolumeByStreamType;\n", ""))

_in("diag/AudioConfig.cpp",
    ("a write-back without memory ends the process", "catch (const std::exception&)",
     "catch (const std::ios_base::failure&)"),
    ("a write-back that stops in the middle is not logged", "        return file.good();",
     "        return error != EISDIR;"),
    ("why a write-back has failed", "        error = errno;\n", ""))

# ---- Order, constants, comparisons, flags and fields --------------------------------------------

_in("shm/RingTransfer.cpp",
    ("the cache is invalidated after the copy",
     "if (hdl->needCache) cache_invalidate(hdl, from, bytes);\n"
     "                     copyBytes(dst, from, bytes);",
     "copyBytes(dst, from, bytes);\n"
     "                     if (hdl->needCache) cache_invalidate(hdl, from, bytes);"),
    ("the cache is invalidated after the offset",
     "if (hdl->needCache) cache_invalidate(hdl, from, bytes);\n"
     "                     copyBytes(dst, from, bytes);\n"
     "                     dst += bytes;\n"
     "                     taken(next);",
     "copyBytes(dst, from, bytes);\n"
     "                     dst += bytes;\n"
     "                     taken(next);\n"
     "                     if (hdl->needCache) cache_invalidate(hdl, from, bytes);"),
    ("bytes are given free before they are copied",
     "copyBytes(dst, from, bytes);\n                     dst += bytes;\n"
     "                     taken(next);",
     "taken(next);\n                     copyBytes(dst, from, bytes);\n"
     "                     dst += bytes;"),
    ("the cache is cleaned before the copy",
     "copyBytes(to, src, bytes);\n"
     "                     if (hdl->needCache) cache_clean(hdl, to, bytes);",
     "if (hdl->needCache) cache_clean(hdl, to, bytes);\n"
     "                     copyBytes(to, src, bytes);"),
    ("the cache is cleaned after the offset",
     "                     if (hdl->needCache) cache_clean(hdl, to, bytes);\n"
     "                     src += bytes;\n"
     "                     storeRelease(hdl->hdr->writeOffset, next);",
     "                     src += bytes;\n"
     "                     storeRelease(hdl->hdr->writeOffset, next);\n"
     "                     if (hdl->needCache) cache_clean(hdl, to, bytes);"),
    ("a reader is woken before the time",
     "    stampUpdate(ring);\n    if (loadRelaxed(ring.readNotify) != 0) [[unlikely]]\n"
     "        post(ring.readSem, \"write\");",
     "    if (loadRelaxed(ring.readNotify) != 0) [[unlikely]]\n"
     "        post(ring.readSem, \"write\");\n    stampUpdate(ring);"),
    ("a reader is woken by the offset before the time",
     "    stampUpdate(ring);\n    if (loadRelaxed(ring.readNotify) != 0) post(ring.readSem, __func__);",
     "    if (loadRelaxed(ring.readNotify) != 0) post(ring.readSem, __func__);\n"
     "    stampUpdate(ring);"),
    ("a writer is woken by the offset before the time",
     "    stampUpdate(ring);\n    // Against setWait(): either this sees the flag or the writing "
     "side sees the space.\n    std::atomic_thread_fence(std::memory_order_seq_cst);\n"
     "    // Deliberate: read() posts without looking at `wait`, this does not.\n"
     "    if (loadRelaxed(ring.writeNotify) != 0 && loadRelaxed(ring.wait) != 0)\n"
     "        post(ring.writeSem, __func__);",
     "    std::atomic_thread_fence(std::memory_order_seq_cst);\n"
     "    if (loadRelaxed(ring.writeNotify) != 0 && loadRelaxed(ring.wait) != 0)\n"
     "        post(ring.writeSem, __func__);\n"
     "    stampUpdate(ring);"),
    ("a reader is woken before the data",
     "    std::memcpy(dataBehind(ring) + w, src, count);\n"
     "    storeRelease(ring.writeOffset, static_cast<std::uint32_t>(end));\n"
     "    return finishWrite(ring, static_cast<std::uint32_t>(count));",
     "    const int done = finishWrite(ring, static_cast<std::uint32_t>(count));\n"
     "    std::memcpy(dataBehind(ring) + w, src, count);\n"
     "    storeRelease(ring.writeOffset, static_cast<std::uint32_t>(end));\n"
     "    return done;"),
    ("a writer is woken before the space",
     "    storeRelease(ring.readOffset, static_cast<std::uint32_t>(end));\n"
     "    return finishRead(ring, static_cast<std::uint32_t>(count));",
     "    const int done = finishRead(ring, static_cast<std::uint32_t>(count));\n"
     "    storeRelease(ring.readOffset, static_cast<std::uint32_t>(end));\n"
     "    return done;"),
    ("looking takes the bytes", "dst, len, [](std::uint32_t) {});",
     "dst, len, [hdl](std::uint32_t next) { storeRelease(hdl->hdr->readOffset, next); });"),
    ("milliseconds of another length", "/ 1000000;", "/ 1000;"))

_in("shm/CacheMaintenance.cpp",
    ("invalidating is cleaning", "wire::CACHE_INVALIDATE, &range", "wire::CACHE_CLEAN, &range"),
    ("cleaning is invalidating", "wire::CACHE_CLEAN, &range", "wire::CACHE_INVALIDATE, &range"))

_in("shm/RingMapping.cpp",
    ("the read semaphore is one of the process",
     "sem_init(readSem, 1, 0)", "sem_init(readSem, 0, 0)"),
    ("the write semaphore is one of the process",
     "sem_init(writeSem, 1, 0)", "sem_init(writeSem, 0, 0)"),
    ("a new ring keeps the time",
     "    storeRelaxed<std::uint64_t>(ring.updateTime, 0);\n", ""),
    ("a new ring keeps the wait flag", "    storeRelaxed<std::uint8_t>(ring.wait, 0);\n", ""),
    ("a new ring keeps the read offset",
     "    storeRelaxed<std::uint32_t>(ring.readOffset, 0);\n", ""),
    ("the cache device goes to children", "open(kCacheDevice, O_RDWR | O_CLOEXEC)",
     "open(kCacheDevice, O_RDWR)"),
    ("a new ring's second offset", "storeRelaxed<std::uint32_t>(ring.writeOffset, 0);",
     "storeRelaxed<std::uint32_t>(ring.writeOffset, 1);"))

_in("shm/RingReceiver.cpp",
    ("a receiver's semaphore is not shared", "    semaphoreShare(hdl->recevierSem);\n", ""),
    ("a reader does not say that it waits",
     "        storeRelaxed<std::uint8_t>(hdl->hdr->readNotify, 1);\n", ""),
    ("a writer does not say that it waits",
     "        storeRelaxed<std::uint8_t>(hdl->hdr->writeNotify, 1);\n", ""),
    ("a reader waits for reads", "hdl->recevierSem = semaphoreIn(hdl->hdr->readSem);",
     "hdl->recevierSem = semaphoreIn(hdl->hdr->writeSem);"))

_in("shm/Mapping.cpp",
    ("everybody may open the object", "O_CREAT, 0600)", "O_CREAT, 0666)"),
    ("physical memory goes to children", "O_RDWR | O_CLOEXEC", "O_RDWR"),
    ("no quota is room", "errno != EDQUOT && ", ""),
    ("no memory is room", "errno != ENOMEM && ", ""),
    ("a file system that cannot reserve", "return result == 0 || (errno",
     "return result == 0 && (errno"),
    ("the data at the page's start", "static_cast<unsigned char*>(at) + pages.dataAt",
     "static_cast<unsigned char*>(at)"),
    ("the pages without the data's place", "hdl.len} + dataAt, pageSize", "hdl.len}, pageSize"))

_in("shm/SharedSemaphore.cpp",
    ("a waiter that leaves does not repair the bit",
     "if (guess != 1 || before == 1) return;", "if (before != 0 || guess != 0) return;"),
    ("a post that was missed meanwhile",
     "if (countIn(seen) != 0) futexWake(semaphore->word", "if (false) futexWake(semaphore->word"),
    ("a waiter that leaves keeps the bit", "if (guess == 1) value", "if (guess == 9) value"),
    ("the mark of a shared semaphore", "kProcessShared = 128", "kProcessShared = 64"),
    ("only one kind of sleeper is woken",
     "    futexWake(word, FUTEX_WAKE_PRIVATE, INT_MAX);\n", "",
     OUT_OF_REACH + "sleepers of the C library's own kind need a 32-bit process on the other side"),
    ("a semaphore's kind is stored whatever it was",
     "    std::uint32_t unset = 0;\n", "    std::uint32_t unset = wordsOf(semaphore)[1];\n",
     "it is 0 or that of a shared one"))

_in("shm/ShmUpdateNotificationRecevier.cpp",
    ("the receiver is an ordinary thread", "POLICY_RR", "POLICY_OTHER"),
    ("the receiver has the lowest priority", "AudioThread(name, -1,", "AudioThread(name, 1,"))

_in("link/AudioConnection.cpp",
    ("another limit of sending", "SEND_TIMEOUT_MS = 10000", "SEND_TIMEOUT_MS = 5000"),
    ("the socket goes to children", "F_SETFD, FD_CLOEXEC", "F_SETFD, 0"),
    ("a lost server ends the process",
     "::send(pSocket->mSocket, data, static_cast<std::size_t>(length), MSG_NOSIGNAL)",
     "::send(pSocket->mSocket, data, static_cast<std::size_t>(length), 0)"),
    ("a name that is a file", "address.sun_path + 1, path, name)", "address.sun_path, path, name)"),
    ("a name with its terminator", "sun_path) + 1 + name)", "sun_path) + 2 + name)"),
    ("a name that just fits", "if (name + 1 > sizeof", "if (name + 1 >= sizeof"),
    ("no server is no memory", "    return 2;\n", "    return 1;\n"),
    ("milliseconds of the limit", "ms % 1000 * 1000", "ms % 1000"),
    ("the retries of sending are one less", "retry <= MAX_RETRIES", "retry < MAX_RETRIES"),
    ("no result is a failure", "return result < 0 ? 1 : 0;", "return result <= 0 ? 1 : 0;"),
    ("the errno of a failed body",
     "        errno = error;\n        if (!cabinaudio::worthRetrying(result, error)) "
     "break;\n    }\n    return result;\n}\n\n}  // namespace",
     "        errno = 0;\n        if (!cabinaudio::worthRetrying(result, error)) break;\n    }\n"
     "    return result;\n}\n\n}  // namespace"))

_in("link/SocketAttempt.h",
    ("one attempt less", "MAX_ATTEMPTS = 11", "MAX_ATTEMPTS = 10"),
    ("shorter pauses", "RETRY_PAUSE_US = 10000", "RETRY_PAUSE_US = 100"))

_in("link/SktWorker.cpp",
    ("another idea of a slow frame", "SLOW_FRAME_US = 3000", "SLOW_FRAME_US = 3000000"),
    ("a lost server that looks like a pause", "error != EAGAIN;", "true;"),
    ("no frame after a loss", "serverGone && result <= 0", "serverGone"),
    ("bytes that are no frame are skipped", "stall != 0 || magic != FRAME_MAGIC", "stall != 0"),
    ("a notification's numbers", "mOpaque, header.event, header.param",
     "mOpaque, header.param, header.event"),
    ("the receive thread is an ordinary one", "\"SktWorker\", -1, POLICY_RR",
     "\"SktWorker\", -1, POLICY_OTHER"))

_in("link/AudioSocket.cpp",
    ("a policy that is asked the wrong way", "&& !cabinaudio::linkPolicy",
     "&& cabinaudio::linkPolicy"),
    ("a pause that is none", "EARLY_WAKE_UP_PAUSE_US = 1000", "EARLY_WAKE_UP_PAUSE_US = 0",
     "shortens a pause that keeps a broken semaphore from using the processor"))

_in("link/LinkPolicy.cpp",
    ("a negative time is a limit", "std::max<std::int64_t>(policy.replyTimeout.count(), 0)",
     "std::int64_t{policy.replyTimeout.count()}"),
    ("a lost server wakes at first", "gWakesOnServerLoss{false}", "gWakesOnServerLoss{true}"),
    ("two switches of the policy", "gWakesOnServerLoss.store(policy.wakesOnServerLoss",
     "gWakesOnServerLoss.store(policy.allowsOrdinaryThreads"),
    ("threads that the policy does not reach",
     "gAllowsOrdinaryThreads.store(policy.allowsOrdinaryThreads",
     "gAllowsOrdinaryThreads.store(false"))

_in("link/ReplyDeadline.h",
    ("a deadline that is over at its time only", "Clock::now() >= mEnd", "Clock::now() == mEnd"),
    ("a deadline beyond the clock", "std::min(mTimeout, LONGEST)", "mTimeout"),
    ("what is left is rounded down", "std::chrono::ceil<", "std::chrono::floor<"))

_in("link/RemoteCall.cpp",
    ("the handle of another word", "mHandle = registered.handle", "mHandle = registered.spare0"),
    ("the flag is turned round", "flag ? AUDIO_CMD_CALL_FLAG : AUDIO_CMD_CALL",
     "flag ? AUDIO_CMD_CALL : AUDIO_CMD_CALL_FLAG"),
    ("the status as value", "reply + sizeof(std::int32_t), sizeof *value", "reply, sizeof *value"),
    ("a value without a place", "called == AUDIO_NO_ERROR && value != nullptr",
     "called == AUDIO_NO_ERROR"),
    ("a value of a reply that did not arrive", "called == AUDIO_NO_ERROR && value != nullptr",
     "value != nullptr"),
    ("a reply without the value that nobody wants", "out != nullptr ? out : &unwanted", "out"),
    ("two numbers change places", "word(a), word(b), word(c)", "word(a), word(c), word(b)"),
    ("a refused client is one", "return mHandle != 0 ?", "return mHandle == 0 ?"),
    ("a registration's length", "sizeof(audio_param::name), name)", "sizeof(audio_param), name)"),
    ("a name without an end", "sizeof param.name - 1)", "sizeof param.name)"),
    ("a request has no time", "    param.timestamp = AudioTime::now();\n", ""),
    ("a request under its own name",
     "static_cast<std::int32_t>(reqLen),\n                     cabinaudio::wire::NAME_UNKNOWN);",
     "static_cast<std::int32_t>(reqLen),\n                     \"none\");"),
    ("the reply has the request's length", "bodyLength(retLen)", "bodyLength(reqLen)"))

_in("link/RemoteCallNotifierWorker.cpp",
    ("notifications from the end", "mMessages.push_back(message)", "mMessages.push_front(message)"),
    ("a stopped notifier delivers nothing",
     "        mWakeUps.wait();\n        if (!running()) return;",
     "        if (!running()) return;\n        mWakeUps.wait();",
     OUT_OF_REACH + "differs when a notification comes between the stop and the wake-up"))

_in("foundation/AudioThread.cpp",
    ("any failure makes an ordinary thread", "ret == EPERM && cabin", "ret != 0 && cabin"),
    ("an ordinary thread that nobody allowed",
     " && cabinaudio::gAllowsOrdinaryThreads.load(std::memory_order_relaxed)", ""),
    ("a thread inherits its policy",
     "PTHREAD_EXPLICIT_SCHED) == 0);\n    AUDIO_IGNORE(pthread_attr_setschedpolicy(&attr, policy)",
     "PTHREAD_INHERIT_SCHED) == 0);\n    AUDIO_IGNORE(pthread_attr_setschedpolicy(&attr, policy)"),
    ("an ordinary thread inherits its policy",
     "PTHREAD_EXPLICIT_SCHED) == 0);\n    AUDIO_IGNORE(pthread_attr_setschedpolicy(&attr, SCHED_OTHER)",
     "PTHREAD_INHERIT_SCHED) == 0);\n    AUDIO_IGNORE(pthread_attr_setschedpolicy(&attr, SCHED_OTHER)"),
    ("the lowest priority", "sched_get_priority_max", "sched_get_priority_min"),
    ("which priority is the highest", "mPriority == -1 ?", "mPriority < 2 ?"),
    ("a shorter name", "AS-%.12s", "AS-%.11s"),
    ("a name of nothing", "\"Default\"", "\"default\""),
    ("a thread that did not start runs", "        thread.mRunning = false;\n", ""),
    ("a second start", "    if (thread.mRunning) {", "    if (false) {"),
    ("an ended thread is not let go",
     "if (!thread.mJoined && pthread_tryjoin_np(mThread, nullptr) != 0)", "if (false)"),
    ("a thread is joined twice", "        mJoined = true;\n        thread", "        thread"),
    ("first in, first out is round robin", "return SCHED_FIFO;", "return SCHED_RR;"),
    ("a body that was stopped is still running", "    const AudioMutex::AutoLock lock(mLock);\n"
     "    mRunning = false;", "    const AudioMutex::AutoLock lock(mLock);"))

_in("foundation/FaultSignals.h",
    ("a fault signal less", "SIGFPE, SIGABRT, SIGTRAP", "SIGFPE, SIGABRT"))

_in("foundation/AudioCondition.cpp",
    ("a condition of the process", "shared ? PTHREAD_PROCESS_SHARED :",
     "false ? PTHREAD_PROCESS_SHARED :"),
    ("a condition of all processes", "shared ? PTHREAD_PROCESS_SHARED :",
     "true ? PTHREAD_PROCESS_SHARED :"),
    ("a condition of another clock", "CLOCK_MONOTONIC", "CLOCK_REALTIME"),
    ("an error without its sign", "-pthread_cond_timedwait", "pthread_cond_timedwait"),
    ("a broadcast to one", "pthread_cond_broadcast", "pthread_cond_signal"))

_in("foundation/AudioMutex.cpp",
    ("a mutex of the process", "shared ? PTHREAD_PROCESS_SHARED :",
     "false ? PTHREAD_PROCESS_SHARED :"),
    ("an error without its sign", "-pthread_mutex_trylock", "pthread_mutex_trylock"),
    ("a scope that leaves the lock", "    mMutex.unlock();\n", ""))

_in("foundation/AudioSemaphore.cpp",
    ("a semaphore of the process", "shared ? 1 : 0", "0"),
    ("a semaphore of all processes", "shared ? 1 : 0", "1"),
    ("a wait on another clock", "CLOCK_MONOTONIC, deadline", "CLOCK_REALTIME, deadline"),
    ("a time-out is a failure", "if (error == ETIMEDOUT) return 1;", ""),
    ("an interrupted wait is a time-out", "error == ETIMEDOUT)",
     "error == ETIMEDOUT || error == EINTR)"),
    ("a failed post is silent", "if (ret < 0) AUDIO_LOGE(\"Fail to sem post",
     "if (ret > 0) AUDIO_LOGE(\"Fail to sem post"))

_in("foundation/AudioTime.cpp",
    ("version 2.30 is old", "\"2.30\") >= 0", "\"2.30\") > 0"),
    ("the other clock", "? CLOCK_MONOTONIC : CLOCK_REALTIME", "? CLOCK_REALTIME : CLOCK_MONOTONIC"),
    ("a library without the function", "if (sem_clockwait == nullptr || ", "if (",
     OUT_OF_REACH + "every C library that the tests run with has the function"),
    ("back over a second's begin", "if (nanoseconds < 0) {", "if (false) {"),
    ("a whole second of nanoseconds", "    nanoseconds %= kNanosecondsPerSecond;\n", ""),
    ("the other end of the clock", "us > 0 ? kLastSecond : kFirstSecond",
     "us > 0 ? kFirstSecond : kLastSecond"),
    ("microseconds of another length", "ts.tv_nsec / 1000)", "ts.tv_nsec / 1024)"),
    ("a sleep's rest", "us % kMicrosecondsPerSecond);", "0 * us);"),
    ("a clock that cannot be read is silent", "ts) == 0) return;", "ts) != 1) return;"))

_in("foundation/LibraryClock.h",
    ("the clock is chosen each time", "clock != CLOCK_NOT_CHOSEN ? clock : chooseClock()",
     "chooseClock()"))

_in("foundation/Deadline.h",
    ("a deadline that wraps round", "std::min(ms, longestMs) * 1000", "ms * 1000"))

_in("foundation/LibraryThread.h",
    ("another stack", "std::size_t{1024} * 1024", "std::size_t{4096} * 1024"))

_in("foundation/OrdinaryThreads.h",
    ("ordinary threads from the start", "gAllowsOrdinaryThreads{false}",
     "gAllowsOrdinaryThreads{true}"))

_in("foundation/AudioMath.cpp",
    ("a midpoint goes down", "amplitude > 0.0F;", "amplitude >= 0.0F;"),
    ("decibels are rounded", "static_cast<unsigned>(step)]", "static_cast<unsigned>(step + 0.5F)]"),
    ("no number is loud", "if (!(step >= 0.0F)) return kAmplitudes[0];",
     "if (!(step >= 0.0F)) return kAmplitudes[kLastStep];"),
    ("the last step is looked up", "if (step >= static_cast<float>(kLastStep))",
     "if (step >= static_cast<float>(kLastStep) + 9)"),
    ("another volume of noise", "* 0.005)", "* 0.0049)"),
    ("another begin of noise", "868346455.0", "868346456.0"),
    ("the generator's other way", "4294967296.0 - next", "4294967295.0 - next"),
    ("the lowest step is not silenced", "    table[0] = 0.0F; ", "    //",
     "the loop in front of it ends before that step, which is 0 from the beginning"),
    ("the amplifier has all steps", "{27.5F, 0}", "{28, 0}"),
    ("two rows of the gain table", "{9, -2}, {9, -1},", "{9, -1}, {9, -2},"),
    ("the search goes the wrong way", "amplitude > kAmplitudes[middle]",
     "amplitude < kAmplitudes[middle]"))

_in("foundation/AudioMemory.cpp",
    ("the line of an allocation", "MALLOC_LINE = 8", "MALLOC_LINE = 9"),
    ("the line of a resizing", "REALLOC_LINE = 22", "REALLOC_LINE = 24"),
    ("exhausted memory is handed out", "    std::abort();\n", "    return nullptr;\n"))

_in("foundation/AudioAlert.cpp",
    ("a threshold that is just met", "elapsedUs > thresholdUs", "elapsedUs >= thresholdUs"),
    ("no threshold", "thresholdUs == 0", "thresholdUs == 1"),
    ("two numbers of an alert", "function, line, name, elapsedUs, thresholdUs);",
     "function, line, name, thresholdUs, elapsedUs);"),
    ("a missing name", "\"Unknown\"", "\"-\""))

_in("foundation/AudioTypes.cpp",
    ("the connection of a tag", "AUDIO_TAG_INPUT1, AUDIO_CONNECT_INPUT1",
     "AUDIO_TAG_INPUT1, AUDIO_CONNECT_INPUT2"),
    ("the path of a tag", "{\"alternative\", AUDIO_OUT_PATH_ALTERNATIVE",
     "{\"alternative\", AUDIO_OUT_PATH_AUXILIARY"),
    ("the name of a shared tag", "\"output_input0_invocation\"", "\"output_input1_invocation\""),
    ("the number of a codec", "{AUDIO_CODEC_6, 64, 0}", "{AUDIO_CODEC_6, 65, 0}"),
    ("the usage of a codec", "{AUDIO_CODEC_4_USAGE2, 16, 2}", "{AUDIO_CODEC_4_USAGE2, 16, 1}"),
    ("the format of 32 bits", "MULTI_AUDIO_FMT_S24, 2, 32, 4}", "MULTI_AUDIO_FMT_S24, 1, 32, 4}"),
    ("the bytes of 24 bits", "MULTI_AUDIO_FMT_S24, 1, 24, 3}", "MULTI_AUDIO_FMT_S24, 1, 24, 4}"),
    ("the channels of a layout", "AUDIO_CHANNEL_MAP_5, 10, 5}", "AUDIO_CHANNEL_MAP_5, 10, 6}"),
    ("the name of a loudspeaker", "{AUDIO_CHANNEL_CF, \"CF\"}", "{AUDIO_CHANNEL_CF, \"FC\"}"),
    ("a usual rate", "8000,  11025,", "8000,  11024,"),
    ("an unusual rate", "*known : 48000", "*known : 44100"),
    ("a codec with a flag", "codecType == 64 || codecType == 65", "codecType == 64"),
    ("a flag of any number", "parameter.flag != 0 ? 1 : 0", "parameter.flag"),
    ("a codec's parameter", "    filled.codecParam = parameter.codecParam;\n", ""),
    ("a coded stream has a bit depth",
     "if (filled.codecType == kPcm) filled.bitDepth = getBitDepthType(parameter.sampleFormat);",
     "filled.bitDepth = getBitDepthType(parameter.sampleFormat);"),
    ("the channels of the default", "&ChannelMapRow::channels, 2)", "&ChannelMapRow::channels, 1)"),
    ("a conversion keeps what was there",
     "    AudioFormatDesc filled = {};\n    filled.codecType = "
     "getCodecType(parameter.codec);\n    filled.sampleRate = parameter.sampleRate;\n"
     "    filled.codecParam", "    AudioFormatDesc filled = format;\n    filled.codecType = "
     "getCodecType(parameter.codec);\n    filled.sampleRate = parameter.sampleRate;\n"
     "    filled.codecParam"))

_in("foundation/Log.h",
    ("a line number without zeros", "[%s][%s][%04u]", "[%s][%s][%4u]"),
    ("another tag", "(priority), \"AS\",", "(priority), \"AU\","),
    ("a name with its extension", " && name[i] != '.'", ""))

_in("diag/AudioConfig.cpp",
    ("a reader writes back", "if (!mReadOnly) ", ""),
    ("another first level", "AUDIO_LOG_LEVEL_INFO)", "AUDIO_LOG_LEVEL_WARN)"),
    ("numbers of another base", "text, nullptr, 10)", "text, nullptr, 0)"),
    ("a number beyond the target's", "std::clamp(std::strtol(text, nullptr, 10), least, most)",
     "std::strtol(text, nullptr, 10)"),
    ("a write-back that appends", "std::ios::out | std::ios::trunc",
     "std::ios::out | std::ios::app"),
    ("traces before dumps",
     "        cabinaudio::writeItems(file, \"Dump\", mDumpItems);\n"
     "        cabinaudio::writeItems(file, \"Trace\", mTraceItems);\n",
     "        cabinaudio::writeItems(file, \"Trace\", mTraceItems);\n"
     "        cabinaudio::writeItems(file, \"Dump\", mDumpItems);\n"),
    ("only 1 is on", "toNumber(enMark) != 0", "toNumber(enMark) == 1"),
    ("on is off", "mEnMark ? '1' : '0'", "mEnMark ? '0' : '1'"),
    ("a level that is not told", "mLogLevel = static_cast<AudioLogLevel>(toNumber(level));",
     "(void)level;"),
    ("another file", "/as_server/audio_config\"", "/as_server/audio_conf\""),
    ("the error of missing memory", "error = ENOMEM;", "error = 0;"),
    ("an item of no memory ends the process", "catch (const std::bad_alloc&)",
     "catch (const std::ios_base::failure&)"),
    ("a trace of another word", "startsWith(\"Trace\")", "startsWith(\"Tracing\")"))

_in("diag/ConfigItems.h",
    ("a text without an end", "strnlen(from, size - 1)", "strnlen(from, size)"),
    ("what lies behind a text", "    std::memset(to + length, 0, size - length);\n", ""),
    ("an item of another usage", " && std::strcmp(item->usage, key.usage) == 0", ""),
    ("an item of another tag", "std::strcmp(item->tag, key.tag) == 0 && ", ""),
    ("a known item keeps its path", "        copyText((*known)->outPath, copy->outPath);\n", ""),
    ("the newest item first", "items.push_back(", "items.push_front("),
    ("a removed item is not freed", "    delete *found;\n", "",
     OUT_OF_REACH + "a leak; LeakSanitizer sees it"),
    ("a removed item stays", "    delete *found;\n    items.erase(found);", "    (void)found;"),
    ("removing looks beyond a text", "findItem(items, terminated(item))", "findItem(items, item)"),
    ("an item of no name", "if (tag == nullptr || usage == nullptr) return nullptr;", ""),
    ("tag and usage in a file", "\" tag=\", item.tag) && readField(lines, \" usage=\", item.usage)",
     "\" usage=\", item.usage) && readField(lines, \" tag=\", item.tag)"),
    ("tag and usage in a written file", "tag=\" << item->tag << \"\\n usage=\" << item->usage",
     "usage=\" << item->usage << \"\\n tag=\" << item->tag"),
    ("cleared items stay in the list", "    items.clear();\n", ""),
    ("a hit is silent", "\"%02d-%02d: tag", "\"%d-%d: tag"))

_in("diag/LineReader.h",
    ("lines of another length", "mLine[256]", "mLine[300]"),
    ("a keyword anywhere", ".substr(0, text.size()) == text",
     ".find(text) != std::string_view::npos"),
    ("a value with its sign", "mLine + key.size()", "mLine + key.size() - 1"))

_in("diag/MakeDirectory.h",
    ("a directory for everybody", "0700", "0777"),
    ("a line when it was not made", "0700) == 0", "0700) != 0"))

_in("diag/AudioDump.cpp",
    ("the driver dumps", "std::strcmp(usage, \"driver\") != 0", "true"),
    ("a dump does not append", "append ? mode | std::ios::app : mode", "mode"),
    ("a dump that rests writes", " || !mRunning ||", " ||"),
    ("no data is written", "data == nullptr || len == 0", "len == 0"),
    ("resting is running", "    mRunning = on;\n", "    mRunning = true;\n"),
    ("the name of a dump", "dir, tag, name, usage,\n", "dir, name, tag, usage,\n"),
    ("a dump writes settings back", "mConfig(true)", "mConfig(false)"),
    ("a dump is not flushed to the disk", "    AUDIO_IGNORE(fsync(mFile.fd()) == 0);\n", ""),
    ("a dump without memory goes on", "mFile.setstate(std::ios::failbit);", "",
     "a file without a buffer fails at its first write"),
    ("a dump of nowhere", "    if (item == nullptr || item->outPath[0] == '\\0') return;",
     "    if (item == nullptr) return;"),
    ("why a dump could not be opened", "    const int error = errno;\n",
     "    const int error = 0;\n"),
    ("a dump of no description", "dumpFullPath == nullptr || desc == nullptr",
     "dumpFullPath == nullptr"))

_in("diag/AudioOfstream.cpp",
    ("a closed file has a descriptor", ": -1;", ": 0;"))

_in("wire/Frame.h",
    ("the frame's magic", "FRAME_MAGIC = 0x00112233", "FRAME_MAGIC = 0x00112234"),
    ("the number of a reply", "HEADER_REPLY = 1", "HEADER_REPLY = 2"),
    ("the number of a notification", "HEADER_NOTIFY = 0", "HEADER_NOTIFY = 3"),
    ("the command of a call", "AUDIO_CMD_CALL = 195", "AUDIO_CMD_CALL = 194"),
    ("the command of a registration", "AUDIO_CMD_REGISTER = 196", "AUDIO_CMD_REGISTER = 197"),
    ("the command of a flagged call", "AUDIO_CMD_CALL_FLAG = 198", "AUDIO_CMD_CALL_FLAG = 199"),
    ("the registration's word", "0x00191802", "0x00191803"),
    ("the server's name", "\"/tmp/as_internal_file\"", "\"/tmp/as_internal_files\""),
    ("no name", "\"unkn\"", "\"none\""),
    ("a lost server's number", "EVENT_SERVER_GONE = 255", "EVENT_SERVER_GONE = 254"),
    ("two fields of a frame", "std::uint32_t event;                  // 8",
     "std::uint32_t param;                  // 8"),
    ("two fields of a request", "std::uint32_t type;                  // 4",
     "std::uint32_t length;                  // 4"),
    ("two fields of a registration",
     "    std::uint32_t spare0;  // 0  not read\n    std::uint32_t handle; ",
     "    std::uint32_t handle;  // 0  not read\n    std::uint32_t spare0; "))

_in("wire/Ring.h",
    ("the number of cleaning", "0x40084303", "0x40084305"),
    ("the number of invalidating", "0x40084304", "0x40084306"),
    ("two fields of a ring", "std::uint32_t readOffset;             // 4",
     "std::uint32_t writeOffset;             // 4"))

_in("wire/Stream.h",
    ("the end of the data", "WriteDone = 12", "WriteDone = 11"),
    ("a source that was let go", "SourceDeactivated = 19", "SourceDeactivated = 18"),
    ("a playback's ring", "GetShareMemory = 20", "GetShareMemory = 23"),
    ("a playback stream's creation", "Create = 21", "Create = 1"),
    ("a key shift", "SetKeyShift = 22", "SetKeyShift = 24"),
    ("a capture stream's creation", "Create = 2,", "Create = 3,"),
    ("a capture's volume", "SetVolume = 8", "SetVolume = 9"),
    ("a capture's volume is asked for", "GetVolume = 9", "GetVolume = 8"),
    ("a capture's confirmation", "InitCheck = 10", "InitCheck = 11"),
    ("an uplink's ring", "GetShareMemory = 18", "GetShareMemory = 17"),
    ("an uplink's ring that was let go", "RemoveShareMemory = 19", "RemoveShareMemory = 20"),
    ("a track's ring", "RingReady = 3", "RingReady = 2"),
    ("an uplink's notification", "RingState = 2", "RingState = 3"),
    ("a sink's source", "SourceActivated = 3", "SourceActivated = 2"),
    ("a sink's end", "Finished = 5", "Finished = 6"),
    ("the process of a creation",
     "std::int32_t streamParam;  // 32  the application's, forwarded as it "
     "is\n    std::int32_t pid;          // 36", "std::int32_t pid;  // 32\n"
     "    std::int32_t streamParam;          // 36"))

_in("wire/Settings.h",
    ("the server's versions", "GetServerVersions = 0", "GetServerVersions = 1"),
    ("a mixer's matrix", "SetGpsMatrix = 8", "SetGpsMatrix = 9"),
    ("the main volume's step", "SetMasterStep = 4,", "SetMasterStep = 3,"),
    ("a mute's state", "GetMuteState = 33", "GetMuteState = 34"),
    ("a ramp", "SetMasterRamp = 44", "SetMasterRamp = 45"),
    ("a source's selection", "SelectSource = 2,", "SelectSource = 1,"),
    ("a converter's pin", "GetAdcMuxPin = 6", "GetAdcMuxPin = 7"),
    ("a delay of loudspeakers", "SetSpeakerDelay = 22", "SetSpeakerDelay = 23"),
    ("an effect", "SetEffectParameter = 4098", "SetEffectParameter = 4097"),
    ("a record's effect", "    Get = 1,", "    Get = 2,"))

_in("wire/SettingRecords.h",
    ("a list's number", "    std::int32_t count;\n    Slot slots[SLOTS];",
     "    Slot slots[SLOTS];\n    std::int32_t count;"),
    ("a name's length", "char text[64]", "char text[60]"))

_in("wire/Settings.h",
    ("the flag of a mute", "{\"mute\", \"mutes paths\"}", "{\"mute\", \"mutes paths\", NO_FLAG}"),
    ("the flag of an end of a mute", "\"unmutes paths\"", "\"unmutes paths\", NO_FLAG"),
    ("the flag of a calibration", "\"calibrates the microphone\", NO_FLAG",
     "\"calibrates the microphone\""),
    ("the flag of a delay", "\"delay of loudspeakers, in microseconds\"",
     "\"delay of loudspeakers, in microseconds\", NO_FLAG"),
    ("the flag of a duplex", "\"setDuplexOfAEC\", \"duplex of the echo canceller\", NO_FLAG",
     "\"setDuplexOfAEC\", \"duplex of the echo canceller\""),
    ("the flag of a reverberation", "\"reverb mode\"", "\"reverb mode\", NO_FLAG"),
    ("the flag of a ramp", "\"ramps changes or not\", NO_FLAG", "\"ramps changes or not\""),
    ("the flag of a tone", "\"tests loudspeakers with a tone, in Hz\", NO_FLAG",
     "\"tests loudspeakers with a tone, in Hz\""),
    ("the flag of a pattern", "\"tests loudspeakers with a pattern\", NO_FLAG",
     "\"tests loudspeakers with a pattern\""),
    ("the flag of a mixture", "\"mixes alternative audio in hardware: channels, on\"",
     "\"mixes alternative audio in hardware: channels, on\", NO_FLAG"))

_in("client/ClientVolumeSetting.cpp",
    ("the highest step", "STEP_MAX = 148", "STEP_MAX = 149"),
    ("the highest percentage", "PERCENT_MAX = 100", "PERCENT_MAX = 101"),
    ("no channel", "NO_CHANNEL = 65535", "NO_CHANNEL = 65534"),
    ("the lowest gain of a microphone", "MIC_MIN_DB = -24.0F", "MIC_MIN_DB = -25.0F"),
    ("the highest gain of a microphone", "MIC_MAX_DB = 46.0F", "MIC_MAX_DB = 45.0F"),
    ("a microphone's gain is rounded", "static_cast<int>(dB - MIC_MIN_DB)",
     "static_cast<int>(dB - MIC_MIN_DB + 0.5F)"),
    ("a microphone's gain is rounded up", "static_cast<int>(dB - MIC_MIN_DB)",
     "static_cast<int>(std::ceil(dB - MIC_MIN_DB))"),
    ("a microphone's gain is told rounded down", "std::ceil(opLeft + pgaLeft)",
     "std::floor(opLeft + pgaLeft)"),
    ("the other one is told rounded down", "std::ceil(opRight + pgaRight)",
     "std::floor(opRight + pgaRight)"),
    ("a microphone's gain is told rounded", "std::ceil(opLeft + pgaLeft)",
     "std::round(opLeft + pgaLeft)"),
    ("both sides have one gain", "l.op, r.op", "l.op, l.op"),
    ("both sides have one second gain", "l.pga, r.pga", "r.pga, l.pga"),
    ("the amplifiers in the other order",
     "    const int status = setAdcOpGain(audio::AUDIO_INPUT_MUX_0, l.op, r.op);\n"
     "    if (status != AUDIO_NO_ERROR) return status;\n"
     "    return setAdcPgaGain(audio::AUDIO_INPUT_MUX_0, l.pga, r.pga);",
     "    const int status = setAdcPgaGain(audio::AUDIO_INPUT_MUX_0, l.pga, r.pga);\n"
     "    if (status != AUDIO_NO_ERROR) return status;\n"
     "    return setAdcOpGain(audio::AUDIO_INPUT_MUX_0, l.op, r.op);"),
    ("percent are not rounded", "(stepMax / 2 + 100 * magnitude(value))",
     "(100 * magnitude(value))"),
    ("a fade without its sign", "value < 0 ? -percent", "value < 0 ? percent"),
    ("a channel's sign", "AUDIO_CHANNEL_LF, 100 - b + f", "AUDIO_CHANNEL_LF, 100 + b + f"),
    ("two channels of the balance", "AUDIO_CHANNEL_LS, 100 - b - f",
     "AUDIO_CHANNEL_LS, 100 - b + f"),
    ("only the last channel's status", "status |=", "status ="),
    ("a type's last byte", "text(type, FIELD), .step", "text(type), .step"),
    ("any number is on", "muted = reply.isOn != 0", "muted = reply.isOn == 1"),
    ("the second audio's gain", "Function::SetSecondGain", "Function::SetAlternativeGain"),
    ("a calibration's words", "{}, gain, result)",
     "{}, reinterpret_cast<float&>(result), reinterpret_cast<int&>(gain))"),
    ("a track's names", ".tag = text(tag), .name = text(name), .step",
     ".tag = text(name), .name = text(tag), .step"),
    ("a track without a tag", "is(tag, \"alternative\") || is(tag, \"auxiliary\"))",
     "is(tag, \"alternative\"))"),
    ("a long name", "fitsField(tag) && fitsField(name) &&", "fitsField(tag) && name != nullptr &&"),
    ("ducking that amplifies", "if (!isAttenuation(dB))", "if (!isGain(dB))"),
    ("a second input",
     "setAdcPgaGain(audio::audio_input_mux_id_e input, float left, float right) {\n"
     "    if (input > audio",
     "setAdcPgaGain(audio::audio_input_mux_id_e input, float left, float right) {\n"
     "    if (input >= audio"),
    ("the sides of a gain", "SetAdcOpGain>(*mRc, {.input = input, .left = left, .right = right}",
     "SetAdcOpGain>(*mRc, {.input = input, .left = right, .right = left}"),
    ("channels of a track", "CHANNELS = 8", "CHANNELS = 7"),
    ("the ramps change places", "{.up = first, .down = second}",
     "{.up = second, .down = first}"),
    ("what a mute does", "muted ? mute(path, true) : demute(path, true)",
     "muted ? demute(path, true) : mute(path, true)"),
    ("fewest steps", "stepMax < 2", "stepMax < 1"))

_in("client/ClientAppSetting.cpp",
    ("milliseconds of another length", "US_PER_MS = 1000.0F", "US_PER_MS = 1024.0F"),
    ("a delay's status", "answer.arrived ? AUDIO_NO_ERROR : answer.status;  // deliberate",
     "answer.status;  // deliberate"),
    ("the low word of a large number", "static_cast<std::uint32_t>(whole)",
     "static_cast<std::uint32_t>(whole >> 32)"),
    ("a number beyond all", "value > -LIMIT && value < LIMIT", "value > -LIMIT",
     OUT_OF_REACH + "this machine's conversion has 0 in its lower half then, the target's has not"),
    ("the effect before the tag", "{.tag = text(tag), .effect = text(effect)",
     "{.tag = text(effect), .effect = text(tag)"),
    ("bypassing is ending it", "Function::EnableBypass", "Function::DisableBypass"),
    ("a line too early", "\"client end\\n\"", "\"client begin\\n\""),
    ("another selector", "GetNonLinear>(*mRc, {.value = number(configuration->selector)}",
     "GetNonLinear>(*mRc, {.value = 0}"))

_in("client/ClientSourceSetting.cpp",
    ("the highest mapping", "MAPPING_MAX = 10", "MAPPING_MAX = 11"),
    ("the highest frequency", "FREQUENCY_MAX = 47999", "FREQUENCY_MAX = 48000"),
    ("the lowest frequency", "frequency < 1", "frequency < 0"),
    ("the highest capability", "CAPABILITY_MAX = 5", "CAPABILITY_MAX = 6"),
    ("the outputs", "OUTPUT_MASK = 3", "OUTPUT_MASK = 1"),
    ("the source before the tag", "text(tag), .name = text(source)",
     "text(source), .name = text(tag)"),
    ("a half word", ".second = format->opaque4",
     ".second = static_cast<std::uint16_t>(format->opaque0)"),
    ("a refused number", "status != AUDIO_NO_ERROR ? status : number", "number"),
    ("any management is the new one", "std::strtol(management, nullptr, 10) == 1",
     "std::strtol(management, nullptr, 10) != 0"),
    ("any input", "std::strcmp(tag, \"uplink\") != 0", "false"),
    ("two states", "Function::SetFrontState", "Function::SetRearState"),
    ("a refused list", "answer.arrived ? AUDIO_NO_ERROR : answer.status;\n}\n\n}  // namespace",
     "answer.status;\n}\n\n}  // namespace"),
    ("a refused name is none", "return answer.arrived ? buffer",
     "return answer.status == 0 ? buffer"),
    ("seats and sources", "{.first = seat, .second = source}",
     "{.first = source, .second = seat}"))

_in("client/ClientMixerSetting.cpp",
    ("the highest step", "STEP_MAX = 100", "STEP_MAX = 101"),
    ("the highest channel", "CHANNEL_MAX = 65534", "CHANNEL_MAX = 65535"),
    ("a matrix is a list of steps", "Function::SetGpsMatrix", "Function::SetAlternativeMatrix"))

_in("client/EffectBlock.cpp",
    ("a block's place", ".behind = {&from + 1, from.size}", ".behind = {&from, from.size}"),
    ("a block of any length", "if (from.size > LARGEST) return AUDIO_NO_MEMORY;", ""),
    ("the effect before the tag", "text(tag), text(effect), from.size",
     "text(effect), text(tag), from.size"),
    ("a block without its head", "record.size + std::uint32_t{sizeof *into}", "record.size + 0U"))

_in("client/EffectBlock.h",
    ("an effect that is set is told", "parameter, nullptr);",
     "parameter, const_cast<audio::effect_param_t*>(&parameter));"),
    ("setting is getting", "id(FUNCTION), tag, effect, parameter, nullptr",
     "id(FUNCTION) + 1, tag, effect, parameter, nullptr"))

_in("client/ClientRecordControl.cpp",
    ("no effect", "int ClientAudioRecordControl::get(const char* tag, const char* effect,\n"
     "                                  audio::effect_param_t& parameter) {\n"
     "    if (tag == nullptr || effect == nullptr)",
     "int ClientAudioRecordControl::get(const char* tag, const char* effect,\n"
     "                                  audio::effect_param_t& parameter) {\n"
     "    if (tag == nullptr)"))

_in("client/ClientVersionSetting.cpp",
    ("another version", "{2, 24, 25}", "{2, 25, 24}"),
    ("two versions", "reply.first, 3, first)", "reply.second, 3, first)"),
    ("the rest of the version", "std::fill_n(second, 3, 0)", "std::fill_n(second, 2, 0)"))

_in("client/Setting.h",
    ("the lowest gain", "GAIN_MIN_DB = -103.5F", "GAIN_MIN_DB = -104.0F"),
    ("the highest gain", "GAIN_MAX_DB = 24.0F", "GAIN_MAX_DB = 24.5F"),
    ("an attenuation that amplifies", "GAIN_MIN_DB, 0.0F)", "GAIN_MIN_DB, 0.5F)"),
    ("no number is within limits", "return value >= least && value <= most;",
     "return !(value < least || value > most);"),
    ("the highest is too high", "value <= most", "value < most"),
    ("a text that fills its field", "FIELD) < FIELD", "FIELD) <= FIELD"),
    ("a field without an end", "sizeof(wire::Name::text) - 1)", "sizeof(wire::Name::text))"),
    ("a small result's field", "std::max(size, std::uint32_t{4})", "size"),
    ("no function", "    request.function = id(FUNCTION);\n    return tell(", "    return tell("))

_in("client/Setting.cpp",
    ("the flag of settings", "reply.size, true,", "reply.size, false,"),
    ("an answer that did not arrive is taken", "called == AUDIO_NO_ERROR && reply.take",
     "reply.take"),
    ("results behind nothing", "reply + sizeof(std::int32_t)", "reply"),
    ("a reply's size without its status", "std::uint32_t size = sizeof(std::int32_t);",
     "std::uint32_t size = 0;"),
    ("a refusal's status", "\"invalid input param\\n\");\n    return AUDIO_BAD_VALUE",
     "\"invalid input param\\n\");\n    return AUDIO_INVALID_STATE"))

_in("client/SettingList.h",
    ("a list that is too short", "SLOTS));\n", "SLOTS - 1));\n"),
    ("a name beyond its field", "strnlen(name.text, sizeof name.text)",
     "strnlen(name.text, sizeof name.text - 1)"))

_in("link/Request.cpp",
    ("a block that stays is silent", "if (!answer.isFreed) ", "if (false) "))

_in("link/Request.h",
    ("a lost answer has arrived", "return {arrived, ", "return {true, "),
    ("a lost answer has a status", "if (arrived) std::memcpy(&status", "std::memcpy(&status"),
    ("another status of no memory", "true, AUDIO_NO_MEMORY, allocated}",
     "true, allocated, allocated}"),
    ("a reply that is not zeros before", "    std::memset(ret, 0, replySize);\n", ""),
    ("the flag is turned round", "ret, replySize, flag);", "ret, replySize, !flag);"))

_in("client/Stream.h",
    ("a time that is over too early", "mDeadline.isOver() && nowMs()", "nowMs()"),
    ("a refusal is a grant", "called == AUDIO_NO_ERROR && reply.status == AUDIO_NO_ERROR",
     "called == AUDIO_NO_ERROR"),
    ("why a wait ended", "state == STOPPING ? \"STOPPING", "state != STOPPING ? \"STOPPING"))

_in("client/Playback.h",
    ("another wait for space", "SPACE_WAIT_MS = 600", "SPACE_WAIT_MS = 300"),
    ("another wait for a writer", "WRITER_EXIT_WAIT_MS = 2000", "WRITER_EXIT_WAIT_MS = 1000"),
    ("a step of less than there is", "free > 0 ? free", "free > 1 ? free"))

_in("client/ClientSink.cpp",
    ("a source that went stays gone", "        mSourceRemoved = false;\n", ""),
    ("a source is never there", "        mSourceActive = true;\n", ""),
    ("a source that went is still there", "    mSourceActive = false;\n", ""),
    ("another wait for a source", "SOURCE_WAIT_MS = 2000", "SOURCE_WAIT_MS = 1000"),
    ("a shorter pause without a source", "REMOVED_PAUSE_US = 500'000", "REMOVED_PAUSE_US = 50'000"),
    ("a shorter pause without a ring", "MISSING_RING_PAUSE_US = 1'000'000",
     "MISSING_RING_PAUSE_US = 100'000"),
    ("coded formats do not wait", "!isBlock && mFormat.codecType == 0", "!isBlock"),
    ("any parameter is real time", "streamParam > 0)", "streamParam >= 0)"),
    ("the end of the stream", "callback->finish(false)", "callback->finish(true)"),
    ("what a write threw away", "            add(mIneffectiveLen, len);\n", ""),
    ("what was written", "        add(mTotalWritedLen, chunk);\n", ""))

_in("client/ClientTrack.cpp",
    ("another wait for a ring", "RING_WAIT_MS = 1000", "RING_WAIT_MS = 2000"),
    ("the highest key", "KEY_SHIFT_MAX = 1.2F", "KEY_SHIFT_MAX = 1.3F"),
    ("which track is auxiliary", "tag != AUDIO_TAG_ALTERNATIVE", "tag == AUDIO_TAG_AUXILIARY"),
    ("every write is the first", "&& !mFirstWriteLogged.exchange(true)",
     "&& !mFirstWriteLogged.load()"),
    ("the flag of the confirmation", "StreamFunction::InitCheck), false",
     "StreamFunction::InitCheck), true"),
    ("an alternative track has an end",
     "int ClientTrack::writeDone() {\n    AUDIO_LOGD(\"[%s]writeDone In\\n\", mName);\n"
     "    const AudioMutex::AutoLock lock(mLock);\n    if (!mIsAuxiliary)",
     "int ClientTrack::writeDone() {\n    AUDIO_LOGD(\"[%s]writeDone In\\n\", mName);\n"
     "    const AudioMutex::AutoLock lock(mLock);\n    if (false)"),
    ("a key's status", "return answer.status;", "return AUDIO_NO_ERROR;"),
    ("the end of the stream", "callback->finish(false)", "callback->finish(true)"))

_in("client/ClientRecord.cpp",
    ("silence is not remembered", "    if (mVolume >= 0) {", "    if (mVolume > 0) {"),
    ("the same volume is sent again", "    if (volume == mVolume) {", "    if (false) {"),
    ("the highest volume", "VOLUME_MAX = 100", "VOLUME_MAX = 101"),
    ("a volume is not remembered", "    mVolume = volume;\n", ""),
    ("another wait for data", "DATA_WAIT_MS = 1000", "DATA_WAIT_MS = 500"),
    ("the begin is dumped again", "StreamDump::write(mDump, buffer + done, count)",
     "StreamDump::write(mDump, buffer, count)"),
    ("the size of a step", "mPerLoopSize = reply.perLoopSize", "mPerLoopSize = reply.perLoopTime"),
    ("the flag of a stop", "CaptureFunction::Stop), true", "CaptureFunction::Stop), false"),
    ("the flag of a volume", "volume, true);", "volume, false);"),
    ("a ring for writing", "SHM_MODE_READER, this", "SHM_MODE_WRITER, this"),
    ("reading does not wait", "if (used == 0 && isBlock)", "if (used == 0 && !isBlock)"))

_in("client/ClientRecordRt.cpp",
    ("a new ring is live at once", "if (ring != earlier) mSourceReady = false;",
     "if (ring != earlier) mSourceReady = true;"),
    ("any data is live", "live.isEnough() && !mSourceReady",
     "live.bytes > 0 && !mSourceReady"),
    ("a ring that is gone is live", "    mSourceReady = false;\n    mUnInitShmTime",
     "    mUnInitShmTime"),
    ("another period", "PERIOD_SHIFT = 4", "PERIOD_SHIFT = 5"),
    ("another backlog", "mCacheSizeMax = perLoopBytes << 1", "mCacheSizeMax = perLoopBytes << 2"),
    ("a coded frame's samples", "mPerLoopSamples = 480", "mPerLoopSamples = 960"),
    ("a coded frame's bytes", "rate / 1000 * 40", "rate / 1000 * 20"),
    ("the flag of a stop", "CaptureFunction::Stop), false", "CaptureFunction::Stop), true"),
    ("the flag of a ring", "GetShareMemory)}, false", "GetShareMemory)}, true"),
    ("what was read is not counted", "    mTotalReadBytes += taken.counted;\n", ""),
    ("a late wait", "LATE_MS = 2", "LATE_MS = 200"),
    ("a wake-up is a time-out", "supply.isLive && (!isWoken || isInVain)",
     "supply.isLive && !isWoken"))

_in("client/FramedRing.cpp",
    ("a frame longer than what there is",
     "    if (body >= mRing.getUsedSize()) return 0;\n", ""),
    ("a header that is not there yet",
     "    if (mHeaderBytes > mRing.getUsedSize()) return 0;\n",
     ""),
    ("a header that came short",
     "    if (got < mHeaderBytes) return 0;\n", ""),
    ("the length of a frame", "LOAS_LENGTH_MASK = 0x1FFF", "LOAS_LENGTH_MASK = 0x0FFF"),
    ("a frame as long as the ring's data", "if (body >= mRing.getUsedSize())",
     "if (body > mRing.getUsedSize())"),
    ("a length the other way round", "header[0]} << 24 | std::uint32_t{header[1]} << 16",
     "header[1]} << 24 | std::uint32_t{header[0]} << 16"),
    ("a frame that fits is refused", "if (bytes > capacity)", "if (bytes >= capacity)"),
    ("a frame as long as the ring", "if (whole >= mRing.getTotalSize())",
     "if (whole > mRing.getTotalSize())"),
    ("a frame's first bytes are the server's", "    std::memcpy(buffer, header, mHeaderBytes);\n",
     "",
     OUT_OF_REACH + "differs when the server changes the header between two neighbouring lines"))

_in("client/UplinkPacing.cpp",
    ("a server without a pace", "    if (mBytesPerMs == 0) return 0;\n", ""),
    ("a backlog without an end", "    if (due <= mMostBytes) return due;", "    return due;"))

_in("client/UplinkPacing.h",
    ("an unpaced wait", "UNPACED_WAIT_MS = 16", "UNPACED_WAIT_MS = 8"),
    ("a wait is rounded down", "ceilDiv(moreBytes, mBytesPerMs)",
     "moreBytes / mBytesPerMs"))

_in("client/UplinkSilence.cpp",
    ("noise beyond the buffer", "std::min(wanted, room)", "wanted"),
    ("quiet noise", "noise<std::int16_t>(buffer, noiseFrames(bytes, 2), 16)",
     "noise<std::int16_t>(buffer, noiseFrames(bytes, 2), 17)"),
    ("another noise of bytes", "noise<std::int8_t>(buffer, noiseFrames(bytes, 1), 24)",
     "noise<std::int8_t>(buffer, noiseFrames(bytes, 1), 23)",
     "the random numbers have fewer than 24 bits: either shift leaves the sign alone"),
    ("silence of mSBC in a short buffer", "if (sizeof(msbc_silent) > bytes)",
     "if (sizeof(msbc_silent) >= bytes)"))

_in("client/SilentFrames.cpp",
    ("a packet of another rate", "0x03, 0x04, 0xB8, 0xFF, 0xFE}", "0x03, 0x04, 0xB9, 0xFF, 0xFE}"),
    ("a frame of noise", "0xAD, 0x00, 0x00, 0xC5", "0xAD, 0x00, 0x00, 0xC4"),
    ("packets of two rates", "        case 8000:\n            return OPUS_8000;",
     "        case 8000:\n            return OPUS_16000;"))

_in("client/Stream.cpp",
    ("a size that is not a process's", "static_cast<std::int32_t>(syscall(SYS_getpid))", "0"),
    ("a lag of another unit", "return AudioTime::now() / 1000;", "return AudioTime::now() / 1024;"),
    ("the parameter of a stream", "tag, format, streamParam,", "tag, format, 0 * streamParam,"))
