// SPDX-License-Identifier: Apache-2.0
//
// The server's notifications while a stream is being made or destroyed, and operations beside one
// that waits.
#include <cabinaudio/foundation/AudioTime.h>

#include "tests/client/SlowThreads.h"
#include "tests/client/StreamFixture.h"
#include "tests/client/StreamKinds.h"
#include "tests/support/ProcessState.h"

#include <android/log.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <functional>
#include <future>
#include <string>
#include <thread>

namespace cabinaudio::test {
namespace {

constexpr unsigned SIZE = 4096;
constexpr int STEP = 512;
constexpr std::uint32_t LET_GO = 19;

// Indices of streamKinds().
constexpr std::size_t TRACK = 1;
constexpr std::size_t SINK = 2;
constexpr std::size_t UPLINK = 4;

/// A stream whose destructor waits for a blocked call that is slow to wake up.
class StreamInDestruction : public AStream, public ::testing::WithParamInterface<std::size_t> {
protected:
    StreamInDestruction() {
        for (const std::uint32_t create : {2U, 21U})
            server.on(create, Answer::words(0, 0, SIZE, STEP, 16, 256, 0));
        for (const std::uint32_t function : {18U, 20U})
            server.on(function, Answer::words(0, RING_ADDRESS, SIZE));
    }

    ~StreamInDestruction() override {
        if (mDestroyer.joinable()) (void)wakeUp();
    }

    [[nodiscard]] static const StreamKind& kind() { return streamKinds()[GetParam()]; }

    /// Returns while the destructor waits.
    void destroy() {
        before = ProcessState::now();
        serverRing = kind().isPosix ? posixRing("str", SIZE) : physicalRing("str", SIZE);
        stream = kind().create(kind().writes ? cdFormat() : speechFormat());
        ASSERT_EQ(stream->start(), AUDIO_NO_ERROR) << log.dump();
        if (!kind().isPosix) {
            server.notify(kind().event, 1);
            ASSERT_TRUE(log.waitForMatching(INFO, kind().announced)) << log.dump();
        }
        if (kind().writes)
            ASSERT_EQ(stream->move(data.data(), SIZE - 1, false), static_cast<int>(SIZE - 1));
        else
            makeLive();
        mMover = blocked(
            [this, moved = stream.get()] {
                sleepOnUntil(mGo);
                return moved->move(data.data(), STEP, true);
            },
            kind().writes ? AUDIO_INVALID_OPERATION : AUDIO_INVALID_STATE);
        AnyStream* const watched = stream.get();
        mDestroyer = std::thread([this] {
            stream.reset();
            mLapsedWaits = lapsedWaits();
        });
        // The object lives until the blocked call has left.
        const char* const line = "\\[str\\] client record state is not active:0.\n";
        ASSERT_TRUE(eventually([&] {
            if (kind().writes) return log.count(WARN, "[str] destroy with out stop finish\n") == 1;
            (void)watched->available();
            return log.countMatching(ERROR, line) != 0;
        })) << log.dump();
    }
    /// Lets the blocked call go on. @return its result, once the stream is destroyed
    int wakeUp() {
        mGo.release();
        mDestroyer.join();
        return mMover.get();
    }
    /// Waits until the stream has handled all notifications so far.
    void settle() {
        server.notify(9999, 0);
        const int priority = GetParam() <= TRACK ? ERROR : DEBUG;
        ASSERT_TRUE(log.waitForMatching(priority, "(\\[str\\] )?unknown msg\\(9999\\), value=0\n"))
            << log.dump();
    }
    void expectNothingLeft() {
        EXPECT_EQ(mLapsedWaits, 0) << "the blocked call left without a signal";
        EXPECT_EQ(log.countMatching(ERROR, ".*waitting exit.*\n"), 0U) << log.dump();
        EXPECT_EQ(log.countMatching(WARN, ".*waitting exit.*\n"), 0U) << log.dump();
        serverRing.reset();
        EXPECT_TRUE(eventually([this] {
            const ProcessState now = ProcessState::now();
            return now.threads <= before.threads && now.sharedMappings <= before.sharedMappings;
        })) << log.dump();
    }

    ProcessState before;
    std::unique_ptr<AnyStream> stream;

private:
    [[nodiscard]] static AudioFormatDesc speechFormat() {
        return {0, 16000, 0, AUDIO_CHANNEL_MAP_1, 0, AUDIO_BIT_DEPTH_16};
    }
    void makeLive() {
        ASSERT_EQ(serverRing->write(data.data(), STEP), STEP);
        ASSERT_EQ(stream->move(data.data(), STEP, true), STEP) << log.dump();
    }

    std::binary_semaphore mGo{0};
    std::future<int> mMover;
    std::thread mDestroyer;
    int mLapsedWaits = 0;  // of the destructor
};

const auto kindName = [](const auto& kind) { return streamKinds()[kind.param].name; };

INSTANTIATE_TEST_SUITE_P(OfEachKind, StreamInDestruction,
                         ::testing::Values(std::size_t{0}, TRACK, SINK, UPLINK), kindName);

TEST_P(StreamInDestruction, EndsTheBlockedCallAsRemovedWhenTheServerRemovesIt) {
    destroy();
    server.notify(REMOVED, 0);
    settle();
    EXPECT_EQ(wakeUp(), AUDIO_INVALID_STATE);
    EXPECT_EQ(log.count(ERROR, "[str]after waiting ,status:STOPPING,server may have crash\n"), 1U)
        << log.dump();
    EXPECT_EQ(log.countMatching(ERROR, ".*(exit has requested|may have destroy).*\n"), 0U);
    expectNothingLeft();
}

TEST_P(StreamInDestruction, HandlesTheAnnouncementOfARing) {
    if (kind().isPosix) return;
    destroy();
    const std::uint32_t function = kind().writes ? 20 : 18;
    const std::size_t asked = server.requests(function).size();
    server.notify(kind().event, 1);
    settle();
    if (kind().writes) {
        EXPECT_EQ(server.requests(function).size(), asked + 1) << log.dump();
    } else {
        EXPECT_EQ(server.requests(function).size(), asked);
        EXPECT_EQ(log.count(WARN, "[str] can not init share memory.\n"), 1U) << log.dump();
    }
    EXPECT_EQ(wakeUp(), AUDIO_INVALID_STATE);
    expectNothingLeft();
}

TEST_P(StreamInDestruction, LeavesNothingWhenAnotherRingIsAnnounced) {
    if (kind().isPosix) return;
    destroy();
    server.notify(REMOVED, 0);  // so that an uplink maps the ring, too
    serverRing = physicalRing("str", SIZE);
    server.notify(kind().event, 1);
    settle();
    (void)wakeUp();
    expectNothingLeft();
}

TEST_P(StreamInDestruction, AcknowledgesTheWithdrawalOfItsRing) {
    if (GetParam() != SINK && GetParam() != UPLINK) return;
    destroy();
    if (GetParam() == SINK)
        server.notify(4, 0);
    else
        server.notify(2, 0);
    ASSERT_TRUE(server.waitForRequest(LET_GO)) << log.dump();
    settle();
    if (GetParam() == SINK)
        EXPECT_EQ(log.count(INFO, "[str]Source is deactived done\n"), 1U) << log.dump();
    else
        EXPECT_EQ(log.count(INFO, "[str] record unInitShareMem\n"), 1U) << log.dump();
    EXPECT_EQ(wakeUp(), AUDIO_INVALID_STATE);
    expectNothingLeft();
}

/// Streams that the server removes before it has answered the create request.
class StreamRemovedInCreation : public AStream,
                                public ::testing::WithParamInterface<std::size_t> {};

INSTANTIATE_TEST_SUITE_P(OfEachKind, StreamRemovedInCreation, ::testing::Range<std::size_t>(0, 5),
                         kindName);

TEST_P(StreamRemovedInCreation, StaysRemoved) {
    const StreamKind& kind = streamKinds()[GetParam()];
    server.on(21, Answer::words(0, 0, SIZE, STEP, 16, 256, 0));
    server.on(2, Answer::words(0, 0, SIZE, STEP, 16, 256, 0));
    server.onRegistration(Answer::handle(100).after(REMOVED, 0));
    for (int round = 0; round < 20; ++round) {
        std::unique_ptr<AnyStream> stream;
        {
            const SlowToLock slow;  // the notification comes first
            stream = kind.create(cdFormat());
        }
        EXPECT_TRUE(log.waitForMatching(
            DEBUG, "\\[str\\]server (track|record) has be deleted, disconnect.\n"));
        EXPECT_TRUE(eventually([&] { return stream->initCheck() == AUDIO_INVALID_STATE; }))
            << log.dump();
        log.clear();
    }
}

/// Streams that get a notification before their registration is answered.
class StreamNotifiedInCreation : public AStream, public ::testing::WithParamInterface<std::size_t> {
protected:
    [[nodiscard]] std::unique_ptr<AnyStream> create() const {
        return streamKinds()[GetParam()].create(cdFormat());
    }
};

INSTANTIATE_TEST_SUITE_P(OfEachKind, StreamNotifiedInCreation,
                         ::testing::Values(TRACK, SINK, UPLINK), kindName);

TEST_P(StreamNotifiedInCreation, SendsNoRequestBeforeItIsRegistered) {
    server.on(21, Answer::words(0, 0, SIZE, STEP, 16, 256, 0));
    server.on(2, Answer::words(0, 0, SIZE, STEP, 16, 256, 0));
    server.on(20, Answer::words(0, RING_ADDRESS, SIZE));
    // An uplink that is not created yet maps no ring; it acknowledges the end of one.
    const bool isUplink = GetParam() == UPLINK;
    server.onRegistration(Answer::handle(100).bodyHeld().after(isUplink ? 2 : 3, 0));
    auto creation = std::async(std::launch::async, [this] { return create(); });
    // A stream that does not wait asks now.
    EXPECT_EQ(creation.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    server.release();
    const std::unique_ptr<AnyStream> stream = creation.get();
    EXPECT_TRUE(server.waitForRequest(isUplink ? LET_GO : 20)) << log.dump();
    EXPECT_EQ(log.countMatching(ERROR, "mConn=.*\n"), 0U) << log.dump();
}

class ASinkWithoutItsSource : public AStream {
protected:
    ASinkWithoutItsSource() {
        server.on(21, Answer::words(0, 0, SIZE, STEP, 16, 256, 0));
        server.on(20, Answer::words(0, RING_ADDRESS, SIZE));
        serverRing = physicalRing("str", SIZE);
        AudioFormatDesc format = cdFormat();
        sink = std::make_unique<ClientSink>("str", AUDIO_TAG_MAIN, format, 0);
    }

    std::unique_ptr<ClientSink> sink;
};

/// A sink whose start request is not answered yet.
class SinkInARequest : public AStream {
protected:
    SinkInARequest() {
        server.on(21, Answer::words(0, 0, SIZE, STEP, 16, 256, 0));
        server.on(START, Answer::status(0).held());
        AudioFormatDesc format = cdFormat();
        sink = std::make_unique<ClientSink>("str", AUDIO_TAG_MAIN, format, 0);
        starting = std::async(std::launch::async, [this] { return sink->start(); });
        EXPECT_TRUE(server.waitForRequest(START)) << log.dump();
    }
    /// Runs the call on a thread of its own, which may have to wait.
    void expectLine(int priority, const std::string& line, const std::function<void()>& call) {
        std::thread caller(call);
        EXPECT_TRUE(log.waitFor(priority, line)) << line << log.dump();
        server.release();
        EXPECT_EQ(starting.get(), AUDIO_NO_ERROR);
        caller.join();
    }

    std::unique_ptr<ClientSink> sink;
    std::future<int> starting;
};

TEST_F(SinkInARequest, LogsAStopBeforeItWaits) {
    expectLine(DEBUG, "[str]stop In\n", [this] { EXPECT_EQ(sink->stop(), AUDIO_NO_ERROR); });
}

TEST_F(SinkInARequest, LogsASecondStartBeforeItWaits) {
    log.clear();
    expectLine(DEBUG, "[str]start In\n", [this] { EXPECT_EQ(sink->start(), AUDIO_NO_ERROR); });
}

TEST_F(SinkInARequest, LogsAClearBeforeItWaits) {
    expectLine(DEBUG, "[str]clear In\n", [this] { EXPECT_EQ(sink->clear(), AUDIO_INVALID_STATE); });
}

TEST_F(SinkInARequest, LogsTheEndOfTheDataBeforeItWaits) {
    expectLine(DEBUG, "[str]writeDone In\n",
               [this] { EXPECT_EQ(sink->writeDone(), AUDIO_INVALID_STATE); });
}

TEST_F(SinkInARequest, LogsItsRemovalBeforeItWaits) {
    expectLine(DEBUG, "[str]server track has be deleted, disconnect.\n",
               [this] { server.notify(REMOVED, 0); });
}

TEST_F(SinkInARequest, IsCheckedWithoutWaiting) {
    EXPECT_EQ(sink->initCheck(), AUDIO_NO_ERROR);
    EXPECT_EQ(starting.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    server.release();
    EXPECT_EQ(starting.get(), AUDIO_NO_ERROR);
}

TEST_F(ASinkWithoutItsSource, AsksForTheNextRingOnlyAfterTheAcknowledgment) {
    server.on(LET_GO, Answer::status(0).held());
    std::future<void> acknowledging = std::async(std::launch::async, [this] { sink->deactived(); });
    ASSERT_TRUE(server.waitForRequest(LET_GO)) << log.dump();
    server.notify(3, 1);
    // A sink that does not wait asks now.
    EXPECT_EQ(acknowledging.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    server.release();
    EXPECT_TRUE(server.waitForRequest(20)) << log.dump();
    EXPECT_TRUE(eventually([this] { return sink->getTotalBufferSize() == int{SIZE}; }));
    EXPECT_EQ(log.countMatching(ERROR, ".*bad sequence\n"), 0U) << log.dump();
}

// ---- Steps under the lock, seen from inside of a log line ---------------------------------------

std::function<void(const std::string&)> gOnLine;

/// Calls a function from inside of each log line, on the thread that writes the line.
class LineHook {
public:
    explicit LineHook(std::function<void(const std::string&)> onLine) {
        gOnLine = std::move(onLine);
        __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
        __android_log_set_logger(
            [](const __android_logger_data* /*data*/, const char* text) { gOnLine(text); });
    }
    /// Only when no thread writes a line any more.
    ~LineHook() { __android_log_set_logger(__android_log_stderr_logger); }
    LineHook(const LineHook&) = delete;
    LineHook& operator=(const LineHook&) = delete;
};

/// A stream with a ring in physical memory, whose lines go to a hook.
class StreamWithARing : public ::testing::TestWithParam<std::size_t> {
protected:
    StreamWithARing() {
        for (const std::uint32_t create : {2U, 21U})
            server.on(create, Answer::words(0, 0, SIZE, STEP, 16, 256, 0));
        for (const std::uint32_t function : {18U, 20U})
            server.on(function, Answer::words(0, RING_ADDRESS, SIZE));
    }
    /// A part of the line that says that a ring was mapped.
    [[nodiscard]] static const char* announced() {
        if (GetParam() == TRACK) return "]share memory ready size[4096]";
        return GetParam() == SINK ? "]main init shareMemory OK size:4096"
                                  : "] record initShareMem OK, shm_size = 4096";
    }
    [[nodiscard]] static bool isDeletion(const std::string& line) {
        return line.find("delete shared memory name:") != std::string::npos;
    }
    void make() {
        makeRing();
        stream = kind().create(cdFormat());
        ASSERT_EQ(stream->start(), AUDIO_NO_ERROR);
        server.notify(kind().event, 1);
        ASSERT_TRUE(eventually([this] { return stream->getTotalBufferSize() != 0; }));
    }
    /// The server's end of a ring in a new object.
    void makeRing() {
        char name[64];
        std::snprintf(name, sizeof name, "/str_0x%x", RING_ADDRESS);
        shm_unlink(name);
        serverRing = physicalRing("str", SIZE);
        ASSERT_TRUE(serverRing->isUsable());
    }
    [[nodiscard]] static const StreamKind& kind() { return streamKinds()[GetParam()]; }

    ScriptedServer server;
    std::unique_ptr<ShareMemoryEx> serverRing;
    std::unique_ptr<AnyStream> stream;
};

INSTANTIATE_TEST_SUITE_P(OfEachKind, StreamWithARing, ::testing::Values(TRACK, SINK, UPLINK),
                         kindName);

TEST_P(StreamWithARing, CanBeStoppedWhileItsReplacedRingIsDeleted) {
    const std::thread::id test = std::this_thread::get_id();
    std::promise<std::future_status> during;
    std::future<int> stopping;
    const LineHook hook([&](const std::string& line) {
        if (std::this_thread::get_id() == test || !isDeletion(line) || stopping.valid()) return;
        stopping = std::async(std::launch::async, [this] { return stream->stop(); });
        during.set_value(stopping.wait_for(std::chrono::seconds(5)));
    });
    make();
    makeRing();
    server.notify(kind().event, 1);
    EXPECT_EQ(during.get_future().get(), std::future_status::ready)
        << "the ring is deleted under the stream's lock";
    EXPECT_EQ(stopping.get(), AUDIO_NO_ERROR);
    stream.reset();
}

TEST_P(StreamWithARing, ReleasesARingThatIsAnnouncedWhileItsRingIsDeleted) {
    if (GetParam() == UPLINK) return;  // deletes its ring after the last notification
    const ProcessState before = ProcessState::now();
    std::promise<void> mapped;
    std::future<void> isMapped = mapped.get_future();
    std::atomic<int> announcements{0};
    std::atomic<int> deletions{0};
    const LineHook hook([&](const std::string& line) {
        if (line.find(announced()) != std::string::npos && ++announcements == 2) mapped.set_value();
        if (!isDeletion(line) || ++deletions != 1) return;
        server.notify(kind().event, 1);
        EXPECT_EQ(isMapped.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    });
    make();
    stream.reset();
    EXPECT_EQ(deletions, 2);
    serverRing.reset();
    EXPECT_TRUE(leavesNoMoreThan(before));
}

class TrackOfATest : public ::testing::Test {
protected:
    TrackOfATest() {
        server.on(21, Answer::words(0, 0, SIZE, STEP, 16, 256, 0));
        server.on(20, Answer::words(0, RING_ADDRESS, SIZE));
    }
    void make(AudioTagType tag) {
        AudioFormatDesc format = cdFormat();
        serverRing =
            tag == AUDIO_TAG_ALTERNATIVE ? posixRing("str", SIZE) : physicalRing("str", SIZE);
        track = std::make_unique<ClientTrack>("str", tag, format, 0);
        ASSERT_EQ(track->start(), AUDIO_NO_ERROR);
    }

    ScriptedServer server;
    std::vector<unsigned char> data = std::vector<unsigned char>(SIZE, 0x5a);
    std::unique_ptr<ShareMemoryEx> serverRing;
    std::unique_ptr<ClientTrack> track;
};

TEST_F(TrackOfATest, MapsAnAnnouncedRingWhileItsRequestIsOutstanding) {
    std::promise<int> during;
    const LineHook hook([&](const std::string& line) {
        if (line.find("]share memory ready size") != std::string::npos)
            during.set_value(track->setKeyShift(1.0F));
    });
    make(AUDIO_TAG_AUXILIARY);
    server.notify(3, 0);
    EXPECT_EQ(during.get_future().get(), AUDIO_NO_MEMORY) << "the request's blocks are in use";
    EXPECT_TRUE(eventually([this] { return track->setKeyShift(1.0F) == AUDIO_NO_ERROR; }));
    track.reset();
}

TEST_F(TrackOfATest, KeepsItsLockUntilALateWakeUpHasBeenLogged) {
    make(AUDIO_TAG_ALTERNATIVE);
    std::promise<std::future_status> during;
    std::future<int> other;
    bool isDone = false;
    const LineHook hook([&](const std::string& line) {
        if (isDone || line.find("update share memory IPC interVal") == std::string::npos) return;
        isDone = true;
        other = std::async(std::launch::async, [&] { return track->setCallback(nullptr); });
        during.set_value(other.wait_for(std::chrono::milliseconds(100)));
    });
    ASSERT_EQ(track->write(data.data(), SIZE - 1, false), static_cast<int>(SIZE - 1));
    std::future<int> writer =
        blocked([this] { return track->write(data.data(), STEP, true); }, AUDIO_INVALID_OPERATION);
    // The time of the last update is that of the write above, which is late by now.
    ASSERT_TRUE(
        eventually([this] { return AudioTime::now() / 1000 >= serverRing->getUpdateTime() + 2; }));
    std::vector<unsigned char> played(STEP);
    serverRing->read(played.data(), STEP);
    EXPECT_EQ(during.get_future().get(), std::future_status::timeout)
        << "an operation got the lock in between";
    EXPECT_EQ(other.get(), AUDIO_NO_ERROR);
    EXPECT_EQ(writer.get(), STEP);
    track.reset();
}

/// A capture stream that reads live data gets a wake-up that is late.
template <typename Record>
void expectLockUntilLateWakeUpIsLogged(ScriptedServer& server, Record& record, ShareMemoryEx& ring,
                                       std::future<std::future_status> during) {
    const std::vector<unsigned char> sent(STEP, 0x5a);
    std::vector<unsigned char> bytes(STEP);
    const auto read = [&] { return record.read(bytes.data(), STEP, true); };
    ASSERT_EQ(record.start(), AUDIO_NO_ERROR);
    server.notify(2, 1);
    ASSERT_TRUE(eventually([&] { return record.getTotalBufferSize() != 0; }));
    ASSERT_EQ(ring.write(sent.data(), STEP), STEP);
    ASSERT_EQ(read(), STEP);
    std::future<int> reader = blocked(read, AUDIO_INVALID_STATE);
    ASSERT_TRUE(eventually([&] { return AudioTime::now() / 1000 >= ring.getUpdateTime() + 2; }));
    record.notify();
    EXPECT_EQ(during.get(), std::future_status::timeout) << "an operation got the lock in between";
    ASSERT_EQ(ring.write(sent.data(), STEP), STEP);
    EXPECT_EQ(reader.get(), STEP);
}

class LateWakeUpOfARecord : public TrackOfATest {
protected:
    /// @param make  makes the record
    template <typename Record, typename Make>
    void expectLock(std::unique_ptr<ShareMemoryEx> ring, Make make) {
        server.on(2, Answer::words(0, 0, SIZE, STEP, 16, 256, 0));
        server.on(18, Answer::words(0, RING_ADDRESS, SIZE));
        AudioFormatDesc speech = {0, 16000, 0, AUDIO_CHANNEL_MAP_1, 0, AUDIO_BIT_DEPTH_16};
        Record* record = nullptr;
        std::promise<std::future_status> during;
        std::future<int> other;
        std::atomic<bool> isDone{false};
        const LineHook hook([&](const std::string& line) {
            if (line.find("update share memory IPC interVal") == std::string::npos) return;
            if (isDone.exchange(true)) return;
            other = std::async(std::launch::async, [&] { return record->bytesUsed(); });
            during.set_value(other.wait_for(std::chrono::milliseconds(100)));
        });
        std::unique_ptr<Record> made = make(speech);
        record = made.get();
        expectLockUntilLateWakeUpIsLogged(server, *record, *ring, during.get_future());
        if (other.valid()) other.wait();
        made.reset();
    }
};

TEST_F(LateWakeUpOfARecord, IsLoggedUnderTheLockOfTheRawMicrophone) {
    expectLock<ClientRecord>(posixRing("str", SIZE), [](AudioFormatDesc& format) {
        return std::make_unique<ClientRecord>("str", AUDIO_TAG_INPUT0, format, 0);
    });
}

TEST_F(LateWakeUpOfARecord, IsLoggedUnderTheLockOfTheUplink) {
    expectLock<ClientRecordRt>(physicalRing("str", SIZE), [](AudioFormatDesc& format) {
        return std::make_unique<ClientRecordRt>("str", AUDIO_TAG_UPLINK, format);
    });
}

TEST_F(TrackOfATest, WaitsOnForItsRingAfterASignalWithoutOne) {
    make(AUDIO_TAG_AUXILIARY);
    std::future<int> writer =
        blocked([this] { return track->write(data.data(), STEP, true); }, AUDIO_INVALID_OPERATION);
    for (int i = 0; i < 10; ++i)
        track->notify();
    server.notify(3, 0);
    EXPECT_EQ(writer.get(), STEP);
}

}  // namespace
}  // namespace cabinaudio::test
