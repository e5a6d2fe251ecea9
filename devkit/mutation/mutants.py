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
    ("shm/", ["shm-test"]),
    ("link/RemoteCall.cpp", ["link-tests", "link-inside-tests", "race-test"]),
    ("link/RecordLoan.cpp", ["link-inside-tests", "link-tests", "race-wait-test", "race-test"]),
    ("link/", ["race-wait-test", "link-inside-tests", "link-tests", "client-stream-test",
               "race-test"]),
    ("foundation/AudioThread.cpp", ["foundation-platform-test", "shm-test"]),
    ("foundation/UseGate.h", ["race-wait-test", "link-tests", "client-uplink-test", "client-test"]),
    ("client/Playback.h", ["race-wait-test", "client-end-test", "client-test", "client-sink-test",
                           STORM, "client-stream-test", "race-test"]),
    ("client/Stream.cpp", ["race-wait-test", "client-end-test", "client-test",
                           "client-record-test", "client-stream-test"]),
    ("client/StreamDump.cpp", ["client-stream-test"]),
    ("client/StreamLink.h", ["client-end-test", "client-sink-test", "race-test"]),
    ("client/RequestFrame.h", ["client-end-test", "race-test", "client-test"]),
    ("client/Setting", ["settings-test"]),
    ("client/ClientSourceSetting.cpp", ["settings-test"]),
    ("client/ClientAppSetting.cpp", ["settings-test"]),
    ("client/ClientMixerSetting.cpp", ["settings-test"]),
    ("client/ClientVolumeSetting.cpp", ["settings-test", "abi-test"]),
    ("diag/", ["diag-test"]),
    ("include/cabinaudio/", ["abi-test"]),
    ("client/ClientTrack.cpp", ["client-fault-test", "client-end-test", "client-test",
                                "client-stream-test", "race-test"]),
    ("client/ClientSink.cpp", ["client-fault-test", "client-end-test", "client-sink-test",
                               "client-storm-test", "client-stream-test", "race-test"]),
    ("client/ClientRecord.cpp", ["client-fault-test", "client-end-test", "client-record-test",
                                 STORM, "client-stream-test", "race-test"]),
    ("client/ClientRecordRt.cpp", ["client-fault-test", "client-end-test", "client-uplink-test",
                                   "client-record-test", STORM, "client-stream-test",
                                   "race-test"]),
]
# With the thread sanitizer, for what the others let through.
SANITIZED_TESTS = [
    ("shm/", ["shm-test", "race-test"]),
    ("link/", ["race-test", "link-tests", "link-inside-tests"]),
    ("foundation/AudioThread.cpp", ["foundation-platform-test"]),
    ("foundation/UseGate.h", ["race-test", "link-tests"]),
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
        ("tests/settings/SendableTest.cpp", "-DNDEBUG", True),
        ("tests/settings/RefusedFields.cpp", "-DFIELDS=Text{tag}", True),
        ("tests/settings/RefusedFields.cpp", "-DFIELDS=tag", False)],
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
RING_CODE = ("shm/RingCore.h", "shm/ShareMemory.cpp")


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

_in("shm/ShareMemory.cpp",
    ("a short read of more than there is", " || apart(end) > w ||", " ||"),
    ("a short read up to an offset behind the end", " || apart(w) >= size ||",
     " ||"),
    ("a short read of another kind of ring",
     "|| size > hdl->plainLimit)\n        [[unlikely]]\n        return readAnyhow",
     ")\n        [[unlikely]]\n        return readAnyhow"),
    ("a short write before the data", "if (r > w || wrapped", "if (wrapped"),
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
    ("a name that is not in the list", "    if (hasKnownType(hdl)) addRingName(*hdl);\n"
     "    const bool complete = createShmMap(hdl, name);\n",
     "    const bool complete = createShmMap(hdl, name);\n"
     "    if (hasKnownType(hdl)) addRingName(*hdl);\n"),
    ("a ring of an unknown type has a name", "if (hasKnownType(hdl)) addRingName", "addRingName"),
    ("a short write to the ring's end", "apart(end) >= size ||", "apart(end) > size ||"),
    ("a short write beyond the mapping",
     "|| size > hdl->plainLimit)\n        [[unlikely]]\n        return writeAnyhow",
     ")\n        [[unlikely]]\n        return writeAnyhow"),
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
     "if (!mapped(hdl)) return 0;\n    return finishRead", "return finishRead"),
    ("an object without a mapping is written",
     "if (!mapped(hdl)) return 0;\n    return finishWrite", "return finishWrite"),
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
     "    std::atomic_thread_fence(std::memory_order_seq_cst);\n}", "}"),
    ("a sleeper is forgotten by a new read semaphore",
     "        semaphoreWakeSleepers((sem_t *)&hdl->hdr->readSem);\n", ""),
    ("a sleeper is forgotten by a new write semaphore",
     "        semaphoreWakeSleepers((sem_t *)&hdl->hdr->writeSem);\n", ""),
    ("a receiver is not told to stop", "    receiver->prepareStop();\n", ""),
    ("a receiver whose post was taken away",
     "        if (!semaphoreHasPost(hdl->recevierSem)) AUDIO_IGNORE(!sem_post(hdl->recevierSem));\n",
     ""),
    ("a receiver that destroys its ring", "if (receiver->isCaller()) {", "if (false) {"),
    ("a receiver is not waited for",
     "while (!receiver->waitForBodysEnd(kReceiverWakeIntervalMs)) {", "while (false) {",
     "join() waits as well; what is in the loop has mutants of its own"))

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
     "    const std::lock_guard lock(gLock);\n    const bool used = leaveList(hdl);\n",
     "    gLock.lock();\n    const bool used = leaveList(hdl);\n    gLock.unlock();\n"))

_in("shm/RingAccess.cpp",
    ("an incomplete ring is announced", "mapped && (!hdl.needCache || hdl.cacheFd >= 0)", "mapped"),
    ("an inert ring is announced", "hdl.hdr != nullptr && hdl.data != nullptr;", "true;"),
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
     "        if (mBodyTaken || mIsStall != 0 || mBroken) return;\n", "        return;\n"),
    ("a reader that has gone is waited for", "mBodyTaken || mIsStall != 0 || mBroken",
     "mBodyTaken || mIsStall != 0"),
    ("waking without the lock", "    const AudioMutex::AutoLock lock(*mReplyLock);\n", ""),
    ("a disconnected requester waits on", "mIsStall != 0 || !mWorkerStarted", "!mWorkerStarted"),
    ("waiting for a thread that never ran", " || !mWorkerStarted", ""),
    ("an abandoned requester waits on", "return !mAbandoned && ", "return "),
    ("the policy about a lost server",
     " && !cabinaudio::linkPolicy().wakesOnServerLoss", ""),
    ("a lost server always ends a request", "return !mAbandoned && !cabinaudio::linkPolicy()"
     ".wakesOnServerLoss;", "return false;"),
    ("a wake-up without a reply", "while (mReplyReady == 0 &&", "if (mReplyReady == 0 &&"),
    ("a broken connection is used again", "    mBroken = true;\n", ""),
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
     "if (length < 0) {\n        errno = EINVAL;\n        return -1;\n    }\n"
     "    return static_cast<std::int32_t>(\n        ::send",
     "return static_cast<std::int32_t>(\n        ::send"),
    ("a negative length is received",
     "if (length < 0) {\n        errno = EINVAL;\n        return -1;\n    }\n"
     "    // The platform would", "// The platform would"),
    ("nothing is received", "if (length == 0) return 0;", ""),
    ("sending without a limit", "1, SEND_TIMEOUT_MS);\n}", "0, SEND_TIMEOUT_MS);\n}",
     "differs only when the time runs out between two neighbouring lines"),
    ("a body is not waited for with a limit", "if (ms == 0) return false;", ""),
    ("every failure is tried again", "result == 0 || (result == -1 && error == EAGAIN)", "true"),
    ("no failure is tried again", "result == 0 || (result == -1 && error == EAGAIN)", "false"),
    ("a second connection", "if (mSocketRecord.load() != nullptr) return 0;", ""),
    ("sending does not hold the record",
     HOLDS_RECORD + "    if (pSocket == nullptr) {\n        AUDIO_LOGE(\"pSocket is null\\n\");\n"
     "        return 1;\n    }\n    if (pSocket->mBroken) {",
     HOLDS_NO_RECORD + "    if (pSocket == nullptr) {\n"
     "        AUDIO_LOGE(\"pSocket is null\\n\");\n        return 1;\n    }\n"
     "    if (pSocket->mBroken) {"),
    ("receiving does not hold the record",
     HOLDS_RECORD + "    if (pSocket == nullptr) {\n        AUDIO_LOGE(\"pSocket is null\\n\");\n"
     "        return 1;\n    }\n    const ReplyDeadline",
     HOLDS_NO_RECORD + "    if (pSocket == nullptr) {\n"
     "        AUDIO_LOGE(\"pSocket is null\\n\");\n        return 1;\n    }\n"
     "    const ReplyDeadline"),
    ("abandoning does not hold the record",
     HOLDS_RECORD + "    if (pSocket == nullptr) return;\n    pSocket->mAbandoned",
     HOLDS_NO_RECORD + "    if (pSocket == nullptr) return;\n    pSocket->mAbandoned",
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
     "        return 1;\n    }\n    if (pSocket->mBroken) {",
     "    if (pSocket->mBroken) {"),
    ("sending on a broken connection",
     "    if (pSocket->mBroken) {\n        AUDIO_LOGE(\"connection is broken\\n\");\n"
     "        return 1;\n    }\n    const ReplyDeadline deadline;\n    std::int32_t result",
     "    const ReplyDeadline deadline;\n    std::int32_t result"),
    ("receiving on a broken connection",
     "    if (pSocket->mBroken) {\n        AUDIO_LOGE(\"connection is broken\\n\");\n"
     "        return 1;\n    }\n    const bool isReady",
     "    const bool isReady"),
    ("receiving without the lock",
     "    const AudioMutex::AutoLock lock(*pSocket->mReplyLock);\n", ""),
    ("a reply is taken twice", "    pSocket->mReplyReady = 0;\n", ""),
    ("the receive thread is not let go on",
     "    pSocket->mBodyTaken = true;\n    pSocket->mReplySem->signal();\n",
     "    pSocket->mBodyTaken = true;\n"),
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
    ("abandoned without saying so", "    pSocket->mAbandoned = true;\n", ""),
    ("abandoned without waking", "if (pSocket->mWorkerGone) pSocket->wakeRequester();", ""),
    ("interrupted without waking",
     "    ::shutdown(pSocket->mSocket, SHUT_RDWR);\n    pSocket->wakeRequester();\n}",
     "    ::shutdown(pSocket->mSocket, SHUT_RDWR);\n}"),
    ("the receive thread goes without saying so", "    mRecord->mWorkerGone = true;\n", ""),
    ("the receive thread goes without waking",
     "    mRecord->mWorkerGone = true;\n    mRecord->mReplyCond->broadcast();",
     "    mRecord->mWorkerGone = true;"),
    ("the receive thread goes without the lock",
     "    const AudioMutex::AutoLock lock(*mRecord->mReplyLock);\n    mRecord->mWorkerGone",
     "    mRecord->mWorkerGone"),
    ("a reply is handed over without the lock",
     "        const AudioMutex::AutoLock lock(*mRecord->mReplyLock);\n", ""),
    ("a reply is handed over on a broken connection",
     "        if (mRecord->mBroken) return;  // nobody will read it\n", "",
     "nobody reads on a broken connection but a second request at the same time, which no client "
     "makes"),
    ("a reply wakes nobody", "        mRecord->mReplyCond->signal();\n", ""),
    ("the receive thread does not wait for the body", "    mRecord->waitForReader();\n", ""),
    ("a broken connection is no loss",
     "if (mRecord->mBroken) {\n            _reportLoss();\n            return;\n        }", ""),
    ("any bytes are a frame", "result > 0 && header.magic == FRAME_MAGIC", "result > 0"))

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
    ("a whole request does not hold the call",
     "    const UseGate::Visit visit(mNotifier->requests);\n    std::uint8_t* req = nullptr;",
     "    std::uint8_t* req = nullptr;"),
    ("a foreign reply block is released", "if (!mine || ret != mRetBlock) {", "if (!mine) {"),
    ("a block stays claimed", "        if (mine) mReqPayload = outstanding;\n", ""),
    ("blocks of nothing are released", "if (req == nullptr || ret == nullptr) {",
     "if (false) {"),
    ("a name that is too long",
     "strnlen(name, sizeof param.name - 1)", "strnlen(name, 2 * sizeof param.name)"),
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
    ("signals of faults are blocked", "        sigdelset(&signals, signal);\n", "        (void)signal;\n",
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

_in("client/RequestFrame.h",
    ("a request does not hold the call",
     "    const UseGate::Visit visit(RemoteCallAccess::requests(rc));\n", ""),
    ("blocks are freed before the outcome is handed over",
     "    conclude(steps.called, static_cast<const std::uint8_t*>(ret));\n"
     "    steps.isFreed = rc.rcfree(param, ret) == AUDIO_NO_ERROR;\n",
     "    auto* const copy = new std::uint8_t[replySize];\n"
     "    std::memcpy(copy, ret, replySize);\n"
     "    steps.isFreed = rc.rcfree(param, ret) == AUDIO_NO_ERROR;\n"
     "    conclude(steps.called, static_cast<const std::uint8_t*>(copy));\n"
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
    ("lookers are not waited for", "    link.ringVisitors.drain();\n", ""),
    ("an update of a ring that is not mapped", "ring == nullptr || !ring->isUsable()",
     "ring == nullptr", "a ring that is not mapped has no receiver thread, which alone asks"),
    ("an update of no ring", "ring == nullptr || !ring->isUsable()", "!ring->isUsable()"),
    ("an update wakes nobody", "    changed.signal();\n    if (ring", "    if (ring"),
    ("the destructor does not wake the blocked call",
     "    changed.signal();\n    const std::uint64_t begin", "    const std::uint64_t begin"),
    ("the destructor waits once",
     "    for (; isBlocked && waited < limitMs; waited = nowMs() - begin)\n",
     "    if (isBlocked)\n"),
    ("a running stream is cleared", "if (state != IDLE) {", "if (false) {"),
    ("a stream without a ring is cleared", "if (ring != nullptr) ring->clear();",
     "ring->clear();"))

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
    ("a full ring is looked at once only",
     "            if (freeSize(stream) >= need) {\n                setRingWait(stream, false);\n"
     "                break;\n            }\n", ""),
    ("the ring's flag is not set", "            setRingWait(stream, true);\n", ""),
    ("a failed request drops the ring",
     "asked.reply.status);\n                    return;\n",
     "asked.reply.status);\n                    replaced = stream.mShareMemory.exchange(nullptr);\n"
     "                    return;\n"),
    ("a timed-out writer keeps silent",
     "                leaveWait(stream);\n                return AUDIO_TIMED_OUT;",
     "                stream.mIsBlocked = false;\n                return AUDIO_TIMED_OUT;"),
    ("a timed-out writer stays blocked",
     "                leaveWait(stream);\n                return AUDIO_TIMED_OUT;",
     "                if (stream.mState != ACTIVE) stream.mCond.signal();\n"
     "                return AUDIO_TIMED_OUT;"),
    ("a writer that is woken for ever",
     "            if (patience->isOver() && freeSize(stream) < need) {", "            if (false) {"),
    ("an interrupted writer stays blocked",
     "                leaveWait(stream);\n                logInterruptedWait",
     "                stream.mCond.signal();\n                logInterruptedWait"),
    ("an interrupted writer keeps silent",
     "                leaveWait(stream);\n                logInterruptedWait",
     "                stream.mIsBlocked = false;\n                logInterruptedWait"),
    ("a removed stream's writer keeps silent",
     "        if (stream.mState != ACTIVE) stream.mCond.signal();\n",
     "        if (stream.mState == NO_INIT) stream.mCond.signal();\n"),
    ("a stopped stream is written to", "            if (stream.mState != ACTIVE) {\n"
     "                leaveWait", "            if (false) {\n                leaveWait"),
    ("an update is looked at without the lock",
     "    static void notify(Stream& stream, const LogSite& site) {\n"
     "        const AudioMutex::AutoLock lock(stream.mLock);\n",
     "    static void notify(Stream& stream, const LogSite& site) {\n"),
    ("an update is logged without the lock",
     "        const AudioMutex::AutoLock lock(stream.mLock);\n"
     "        if (!stream.mIsBlocked) return;\n"
     "        const std::uint64_t lag = wakeAfterUpdate(stream.mCond, stream.mShareMemory);\n",
     "        stream.mLock.lock();\n"
     "        const bool isBlocked = stream.mIsBlocked;\n"
     "        const std::uint64_t lag =\n"
     "            isBlocked ? wakeAfterUpdate(stream.mCond, stream.mShareMemory) : 0;\n"
     "        stream.mLock.unlock();\n"),
    ("an update while nobody is blocked", "        if (!stream.mIsBlocked) return;\n", "",
     "comes to a wake-up of nobody and, when it is late, a line of the log too many"),
    ("start waits before it is logged",
     "        AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, \"[%s]start In\\n\", stream.mName);\n"
     "        const Entry entry(stream);\n",
     "        const Entry entry(stream);\n"
     "        AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, \"[%s]start In\\n\", stream.mName);\n"),
    ("stop waits before it is logged",
     "        AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, \"[%s]stop In\\n\", stream.mName);\n"
     "        const Entry entry(stream);\n",
     "        const Entry entry(stream);\n"
     "        AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, \"[%s]stop In\\n\", stream.mName);\n"),
    ("clear waits before it is logged",
     "        AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, \"[%s]clear In\\n\", stream.mName);\n"
     "        const Entry entry(stream);\n",
     "        const Entry entry(stream);\n"
     "        AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, \"[%s]clear In\\n\", stream.mName);\n"),
    ("removal waits before it is logged",
     "        AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, \"[%s]server track has be deleted, "
     "disconnect.\\n\",\n                     stream.mName);\n        const Entry entry(stream);\n",
     "        const Entry entry(stream);\n"
     "        AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, \"[%s]server track has be deleted, "
     "disconnect.\\n\",\n                     stream.mName);\n"),
    ("a step of nothing", "std::max(stream.mPerLoopSize.load(), 1)",
     "stream.mPerLoopSize.load()"),
    ("a negative count is written", "return std::max(count, 0);", "return count;",
     OUT_OF_REACH + "takes a ring of 2 GiB"),
    ("more is written than fits", "std::min(freeSize(stream), bytes)", "bytes"),
    ("a second writer", "        if (stream.mIsBlocked) {\n            AUDIO_LOG_AT(ANDROID_LOG_ERROR, "
     "site,\n                         \"[%s]Can not write,the last",
     "        if (false) {\n            AUDIO_LOG_AT(ANDROID_LOG_ERROR, "
     "site,\n                         \"[%s]Can not write,the last"),
    ("stop wakes nobody", "        if (stream.mIsBlocked) stream.mCond.signal();\n        logSuccess();",
     "        logSuccess();"),
    ("removal wakes nobody", "        stream.mState = STOPPING;\n        if (stream.mIsBlocked) "
     "stream.mCond.signal();", "        stream.mState = STOPPING;"),
    ("removal without the lock",
     "        const Entry entry(stream);\n        stream.mState = STOPPING;",
     "        stream.mState = STOPPING;"),
    ("the destructor without the lock",
     "        const AudioMutex::AutoLock lock(stream.mLock);\n        stream.mState = NO_INIT;",
     "        stream.mState = NO_INIT;"),
    ("the destructor does not wait for a writer",
     "        if (stream.mIsBlocked) waitForWriter(stream, site);\n", ""),
    ("a ring that is not mapped has a flag", "if (ring != nullptr && ring->isUsable()) ring->setWait",
     "if (ring != nullptr) ring->setWait"),
    ("the free size of no ring", "return ring != nullptr ? static_cast<int>(ring->getFreeSize()) : 0;",
     "return static_cast<int>(ring->getFreeSize());"))

_in("client/ClientTrack.cpp",
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
    ("writing without the lock",
     "    const AudioMutex::AutoLock lock(mLock);\n    const int refusal", "    const int refusal"),
    ("no bytes are written", "    if (bytes < 1) {", "    if (false) {"),
    ("no buffer is written", "    if (buffer == nullptr) {", "    if (false) {"),
    ("a signal without a ring",
     "    for (std::uint64_t waited = 0; mShareMemory == nullptr && mState == ACTIVE && !isTimedOut;\n"
     "         waited = nowMs() - begin)\n", "    const std::uint64_t waited = 0;\n"),
    ("a stopped writer waits on for its ring",
     "mShareMemory == nullptr && mState == ACTIVE && !isTimedOut;",
     "mShareMemory == nullptr && !isTimedOut;"),
    ("a writer on its way out keeps silent",
     "    Playback::leaveWait(*this);\n", "    mIsBlocked = false;\n"),
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
    ("the end of the data waits before it is logged",
     "    AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, \"[%s]writeDone In\\n\", mName);\n"
     "    const Playback::Entry entry(*this);\n",
     "    const Playback::Entry entry(*this);\n"
     "    AUDIO_LOG_AT(ANDROID_LOG_DEBUG, site, \"[%s]writeDone In\\n\", mName);\n"),
    ("a ring is asked for beside another request",
     "    const AudioMutex::AutoLock lock(StreamLink::of(mRc).requestLock);\n"
     "    ShareMemoryEx* replaced", "    ShareMemoryEx* replaced"),
    ("a replaced ring is deleted under the lock",
     "        ReplacedRing replaced(StreamLink::of(mRc));\n"
     "        const Playback::Entry entry(*this);\n",
     "        const Playback::Entry entry(*this);\n"
     "        ReplacedRing replaced(StreamLink::of(mRc));\n"),
    ("the free size of a ring that goes",
     "    const UseGate::Visit visit(StreamLink::of(mRc).ringVisitors);\n"
     "    return Playback::freeSize",
     "    return Playback::freeSize"),
    ("requests of two threads at once",
     "    const AudioMutex::AutoLock lock(StreamLink::of(mRc).requestLock);\n"
     "    return mRc->callFuncId",
     "    return mRc->callFuncId"),
    ("nobody else has a turn", "    turn.lock();\n    const AudioMutex::AutoLock lock(mLock);\n"
     "    turn.unlock();", "    (void)turn;\n    const AudioMutex::AutoLock lock(mLock);"),
    ("no bytes are written", "    if (len < 1) {", "    if (false) {"),
    ("a wait for a source without the policy's end",
     "        if (deadline.isOver()) return AUDIO_TIMED_OUT;\n", ""),
    ("a waiter on its way out keeps silent",
     "    Playback::leaveWait(*this);\n", "    mIsBlocked = false;\n"),
    ("a waiter stays blocked", "    Playback::leaveWait(*this);\n",
     "    if (mState != ACTIVE) mCond.signal();\n"),
    ("a source that went away", "        if (!mSourceRemoved) return false;\n",
     "        return false;\n"),
    ("a withdrawn source wakes nobody",
     "        ring = detachRing();\n        if (mIsBlocked) mCond.signal();",
     "        ring = detachRing();"),
    ("a new source wakes nobody",
     "        replaced.ring = initShareMemory();\n        if (mIsBlocked) mCond.signal();",
     "        replaced.ring = initShareMemory();"),
    ("a request that waits for a dead server", "    RemoteCallAccess::abandon(*mRc);\n", ""))

_in("client/ClientRecord.cpp",
    ("more is read than a ring holds", " || bytes > bufferSize) {", ") {"),
    ("no bytes are read", "buffer == nullptr || bytes <= 0 ||", "buffer == nullptr ||"),
    ("no buffer is read to", "if (buffer == nullptr || bytes", "if (bytes"),
    ("a stopped stream is read", "    if (mState != ACTIVE) {\n        AUDIO_LOGE(\"[%s]state is not "
     "ACTIVE mState:%d \\n\"", "    if (false) {\n        AUDIO_LOGE(\"[%s]state is not ACTIVE "
     "mState:%d \\n\""),
    ("a second reader", "    if (mIsBlocked) {\n        AUDIO_LOGE(\"[%s]Can not read",
     "    if (false) {\n        AUDIO_LOGE(\"[%s]Can not read"),
    ("reading over a stop", "        if (!isWoken || mState != ACTIVE) return 0;",
     "        if (!isWoken) return 0;"),
    ("reading on after the time", "        if (!isWoken || mState != ACTIVE) return 0;",
     "        if (mState != ACTIVE) return 0;"),
    ("a volume beyond the largest", "if (static_cast<unsigned>(volume) > VOLUME_MAX) {",
     "if (false) {"),
    ("removal wakes nobody",
     "    mState = STOPPING;\n    if (mIsBlocked) mCond.signal();", "    mState = STOPPING;"),
    ("an update is looked at without the lock",
     "void ClientRecord::notify() {\n    const AudioMutex::AutoLock lock(mLock);\n",
     "void ClientRecord::notify() {\n"),
    ("an update is logged without the lock",
     "    const AudioMutex::AutoLock lock(mLock);\n"
     "    if (!mIsBlocked) return;\n"
     "    const std::uint64_t lag = cabinaudio::wakeAfterUpdate(mCond, mShareMemory);\n",
     "    mLock.lock();\n"
     "    const std::uint64_t lag =\n"
     "        mIsBlocked ? cabinaudio::wakeAfterUpdate(mCond, mShareMemory) : 0;\n"
     "    mLock.unlock();\n"),
    ("a reader on its way out keeps silent",
     "        if (mState != ACTIVE) mCond.signal();  // the destructor may be waiting for this\n",
     ""),
    ("the destructor does not wait for a reader", "        if (mIsBlocked) endReader();\n", ""),
    ("dumps stay open", "    StreamDump::endAll(mDump);\n", ""),
    ("a stream that was removed while it was made", "    if (mState == NO_INIT) mState = IDLE;",
     "    mState = IDLE;"))

_in("client/ClientRecordRt.cpp",
    ("notifications before the end of construction",
     "        const AudioMutex::AutoLock lock(mLock);\n        StreamLink::open",
     "        StreamLink::open"),
    ("a stream that was removed while it was made", "    if (mState == NO_INIT) mState = IDLE;",
     "    mState = IDLE;"),
    ("dumps stay open", "    StreamDump::endAll(mDump);\n", ""),
    ("an update is looked at without the lock",
     "void ClientRecordRt::notify() {\n    const AudioMutex::AutoLock lock(mLock);\n",
     "void ClientRecordRt::notify() {\n"),
    ("an update is logged without the lock",
     "    const AudioMutex::AutoLock lock(mLock);\n"
     "    if (!mIsBlocked) return;\n"
     "    const std::uint64_t lag = cabinaudio::wakeAfterUpdate(mCond, mShareMemory);\n",
     "    mLock.lock();\n"
     "    const std::uint64_t lag =\n"
     "        mIsBlocked ? cabinaudio::wakeAfterUpdate(mCond, mShareMemory) : 0;\n"
     "    mLock.unlock();\n"),
    ("a reader is not in the gate",
     "    const UseGate::Visit visit(StreamLink::of(mRc).readers);\n", ""),
    ("readers are not waited for",
     "    if (!isGivenUp) StreamLink::of(mRc).readers.drain();\n", ""),
    ("a reader that never woke up is waited for",
     "if (!isGivenUp) StreamLink::of(mRc).readers.drain();",
     "StreamLink::of(mRc).readers.drain();"),
    ("the total size of a ring that goes",
     "    const UseGate::Visit visit(StreamLink::of(mRc).ringVisitors);\n", ""),
    ("a part of a frame is taken for the frame",
     "    return supply.bytes >= supply.needed;", "    return supply.bytes >= want;"),
    ("a reader on its way out keeps silent",
     "    if (mState != ACTIVE) mCond.signal();\n", ""),
    ("a removed stream's reader keeps silent",
     "    if (mState != ACTIVE) mCond.signal();\n", "    if (mState == NO_INIT) mCond.signal();\n"),
    ("a reader on its way out stays blocked",
     "void ClientRecordRt::leaveWait() {\n    mIsBlocked = false;\n",
     "void ClientRecordRt::leaveWait() {\n"),
    ("a frame longer than what there is",
     "    if (frameSize >= ring->getUsedSize()) return fillSilentData(buffer, bytes, site);\n", ""),
    ("a header that is not there yet",
     "        if (mHeaderSize > ring->getUsedSize()) return fillSilentData(buffer, bytes, site);\n",
     ""),
    ("a header that came short",
     "        if (got < mHeaderSize) return fillSilentData(buffer, bytes, site);\n", ""),
    ("a server without a pace", "    if (mBytesPerMSec == 0) return 0;\n", ""),
    ("a backlog without an end", "    if (due <= mCacheSizeMax) return due;", "    return due;"),
    ("noise beyond the buffer", "std::min(wanted, room)", "wanted"),
    ("requests of two threads at once",
     "    const AudioMutex::AutoLock lock(StreamLink::of(mRc).requestLock);\n"
     "    return mRc->callFuncId",
     "    return mRc->callFuncId"),
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
    ("removal wakes nobody",
     "    mState = STOPPING;\n    if (mIsBlocked) mCond.signal();", "    mState = STOPPING;"),
    ("the destructor does not wait for a reader", "        if (mIsBlocked) endReader();\n", ""),
    ("a request that waits for a dead server", "    RemoteCallAccess::abandon(*mRc);\n", ""),
    ("stop wakes nobody", "    mState = IDLE;\n    if (mIsBlocked) mCond.signal();",
     "    mState = IDLE;"))

_in("client/Setting.h",
    ("a number of any width is sent", "sizeof(T) == 4 && (std", "(std"),
    ("an address is sent", "sizeof(T) == 4 && (std", "std::is_pointer_v<T> || sizeof(T) == 4 && (std"),
    ("a record with an address is sent", "alignof(T) <= 4", "true"),
    ("a record of any length is sent", "sizeof(T) % 4 == 0", "true"),
    ("an object is sent", "std::is_trivially_copyable_v<T>", "true"),
    ("an array of anything is sent", "isPlain<T[SIZE]> = isPlain<T>;", "isPlain<T[SIZE]> = true;"),
    ("an array object of anything is sent", "SIZE != 0 && isPlain<T>;", "true;"),
    ("fields are not checked", "(Sendable<Fields> && ...),", "true,"),
    ("a text beyond its field", "strnlen(field.text, field.most)", "std::strlen(field.text)"),
    ("a result without a place", "    if (place.word != nullptr) std::memcpy(place.word",
     "    std::memcpy(place.word"),
    ("the next result", "sizeof(std::uint32_t);\n}\ninline const std::uint8_t* take("
     "const std::uint8_t* at, const MemoryPlace&", "0;\n}\ninline const std::uint8_t* take("
     "const std::uint8_t* at, const MemoryPlace&"))

_in("client/Setting.cpp",
    ("no result is taken", "            reply.take(block + sizeof status, reply.context);\n", ""),
    ("the server's status", "            std::memcpy(&status, block, sizeof status);\n", ""))

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
