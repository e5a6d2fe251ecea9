// SPDX-License-Identifier: Apache-2.0
// A server writes nonsense into a ring's header, before and while bytes are moved: no call takes
// more bytes than the ring can hold, and no byte outside the mapping or the caller's buffer is
// touched. The tests of the ring alone use the same headers.
#include <cabinaudio/foundation/AudioStatus.h>

#include "tests/client/GuardedBuffer.h"
#include "tests/hostile/Effort.h"
#include "tests/hostile/GuardedMappings.h"
#include "tests/hostile/HostileServer.h"
#include "tests/support/PolicyGuard.h"
#include "tests/support/ProcessState.h"
#include "tests/support/kinds/StreamKinds.h"
#include "wire/Ring.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>

namespace cabinaudio::test {
namespace {

using namespace std::chrono_literals;

constexpr std::uint32_t LENGTH = HostileServer::RING_BYTES;
constexpr std::uint32_t VALUES[] = {0,      1,          63,         64,         LENGTH - 1,
                                    LENGTH, LENGTH + 1, 0x7fffffff, 0x80000000, 0xffffffff};
/// A coded frame is read behind its header, whose bytes the server may have given anew meanwhile.
constexpr std::size_t CODED_ROOM = LENGTH + 8;

/// Whether the object is there and long enough: it has no bytes between its creation and the call
/// that gives it its length.
bool hasHeader(const std::string& object) {
    const int fd = shm_open(("/" + object).c_str(), O_RDWR, 0);
    if (fd < 0) return false;
    struct stat state = {};
    const int result = fstat(fd, &state);
    close(fd);
    return result == 0 && state.st_size >= static_cast<off_t>(sizeof(wire::RingHeader));
}

/// The header of a stream's ring, as the server has it.
class ServersHeader {
public:
    explicit ServersHeader(const std::string& object) {
        const int fd = shm_open(("/" + object).c_str(), O_RDWR, 0);
        if (fd < 0) throw std::runtime_error("no ring");
        void* const at =
            mmap(nullptr, sizeof(wire::RingHeader), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
        close(fd);
        if (at == MAP_FAILED) throw std::runtime_error("mmap");
        mHeader = static_cast<wire::RingHeader*>(at);
    }
    ~ServersHeader() { munmap(mHeader, sizeof *mHeader); }
    ServersHeader(const ServersHeader&) = delete;
    ServersHeader& operator=(const ServersHeader&) = delete;

    void set(std::uint32_t size, std::uint32_t read, std::uint32_t write) const {
        store(mHeader->size, size);
        store(mHeader->readOffset, read);
        store(mHeader->writeOffset, write);
    }
    /// Sets one field to one of the values, both chosen by a running number.
    void scribble(unsigned number) const {
        std::uint32_t* const fields[] = {&mHeader->size, &mHeader->readOffset,
                                         &mHeader->writeOffset};
        store(*fields[number % 3], VALUES[number / 3 * 7 % std::size(VALUES)]);
    }

private:
    static void store(std::uint32_t& field, std::uint32_t value) {
        std::atomic_ref<std::uint32_t>(field).store(value, std::memory_order_relaxed);
    }

    wire::RingHeader* mHeader;
};

std::uint32_t usedOf(std::uint32_t size, std::uint32_t read, std::uint32_t write) {
    if (size == 0 || size > LENGTH || read >= size || write >= size) return 0;
    return read <= write ? write - read : size - read + write;
}

std::uint32_t freeOf(std::uint32_t size, std::uint32_t read, std::uint32_t write) {
    if (size == 0 || size > LENGTH || read >= size || write >= size) return 0;
    return size - 1 - usedOf(size, read, write);
}

class RingOfAStream : public ::testing::TestWithParam<StreamKind> {
protected:
    void SetUp() override {
        ASSERT_EQ(stream->initCheck(), AUDIO_NO_ERROR);
        ASSERT_EQ(stream->start(), AUDIO_NO_ERROR);
        const std::string object = kind.ringObject("ring");
        ASSERT_TRUE(eventually([&] { return hasHeader(object); }));
        header.emplace(object);
        header->set(LENGTH, 0, 0);
        // The object is there before the stream knows its ring.
        ASSERT_TRUE(eventually([this] { return stream->getTotalBufferSize() == int{LENGTH}; }));
        guarded.reset();
        if (kind.writes) return;
        header->set(LENGTH, 0, LENGTH - 1);  // an uplink's data is live once the ring had enough
        GuardedBuffer room(CODED_ROOM);
        ASSERT_GT(stream->move(room.data(), LENGTH / 2, false), 0);
    }

    /// Deliberate: what is due of a coded uplink must have room for a packet of silence.
    [[nodiscard]] bool isTooLittle(std::uint32_t size, std::uint32_t read,
                                   std::uint32_t write) const {
        const std::uint32_t used = usedOf(size, read, write);
        return kind.isCoded() && used > 0 && used < 64;
    }

    void expectMoved(std::uint32_t asked, std::uint32_t most) {
        GuardedBuffer room(kind.isCoded() ? CODED_ROOM : asked);
        const int moved = stream->move(room.data(), static_cast<int>(asked), false);
        if (kind.isCoded())  // a frame, or what stands for silence
            EXPECT_LE(moved, static_cast<int>(CODED_ROOM));
        else
            EXPECT_LE(moved, static_cast<int>(std::min(asked, most)));
    }

    const StreamKind& kind = GetParam();
    PolicyGuard guard{{60s, true, true}};
    HostileServer server;
    std::optional<EveryMappingGuarded> guarded{std::in_place};
    std::unique_ptr<AnyStream> stream = kind.create("ring");
    std::optional<ServersHeader> header;
};

TEST_P(RingOfAStream, LiesBetweenGuards) {
    EXPECT_GE(EveryMappingGuarded::count(), kind.isPosix ? 1U : 2U);
}

TEST_P(RingOfAStream, GivesAndTakesNoMoreThanItsHeaderAllows) {
    const std::uint32_t step = static_cast<std::uint32_t>(stride(1));
    std::uint32_t round = 0;
    for (const std::uint32_t size : VALUES)
        for (const std::uint32_t read : VALUES)
            for (const std::uint32_t write : VALUES) {
                if (round++ % step != 0 || isTooLittle(size, read, write)) continue;
                SCOPED_TRACE(::testing::Message() << size << " " << read << " " << write);
                const std::uint32_t most =
                    kind.writes ? freeOf(size, read, write) : usedOf(size, read, write);
                header->set(size, read, write);
                ASSERT_EQ(stream->available(), static_cast<int>(most));
                ASSERT_EQ(stream->getTotalBufferSize(), static_cast<int>(size));
                // A raw microphone's reader asks for no more than the header says that there is,
                // and silence needs room for a frame.
                for (const std::uint32_t asked : {456U, LENGTH}) {
                    header->set(size, read, write);
                    expectMoved(asked, most);
                    if (HasFailure()) return;
                }
            }
}

TEST_P(RingOfAStream, BearsAnotherProcessThatWritesItsHeaderDuringTransfers) {
    if (std::string(kind.name) == "uplinkOpus")
        GTEST_SKIP() << "ends the process when less than a packet of silence is due";
    const pid_t scribbler = fork();
    ASSERT_GE(scribbler, 0);
    if (scribbler == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        for (unsigned i = 0;; ++i)  // only stores: the other threads are not in this process
            header->scribble(i);
    }
    for (unsigned i = 0; i < scaled(3000); ++i) {
        GuardedBuffer room(CODED_ROOM);
        EXPECT_LE(stream->move(room.data(), LENGTH, false), static_cast<int>(CODED_ROOM));
        EXPECT_LE(stream->available(), static_cast<int>(LENGTH));
    }
    kill(scribbler, SIGKILL);
    int status = 0;
    EXPECT_EQ(waitpid(scribbler, &status, 0), scribbler);
    EXPECT_TRUE(WIFSIGNALED(status)) << "it scribbled to the end";
}

INSTANTIATE_TEST_SUITE_P(OfEachKind, RingOfAStream, ::testing::ValuesIn(codedKinds()), ROW_NAME);

// ---- Objects that are shorter than the server says ----------------------------------------------

class ObjectOfLength : public ::testing::TestWithParam<off_t> {};

TEST_P(ObjectOfLength, IsMadeAsLongAsAnnounced) {
    const PolicyGuard guard({60s, true, true});
    HostileServer server;
    for (const StreamKind& kind : streamKinds()) {
        const std::string object = "/" + kind.ringObject("short");
        const int fd = shm_open(object.c_str(), O_RDWR | O_CREAT, 0600);
        ASSERT_GE(fd, 0);
        ASSERT_EQ(ftruncate(fd, GetParam()), 0);
        {
            const auto stream = kind.create("short");
            ASSERT_EQ(stream->start(), AUDIO_NO_ERROR);
            const off_t wanted = kind.isPosix ? off_t{64 + LENGTH} : off_t{64};
            EXPECT_TRUE(eventually([&] { return lseek(fd, 0, SEEK_END) == wanted; }))
                << lseek(fd, 0, SEEK_END);
            const ServersHeader header(object.substr(1));
            header.set(LENGTH, 1, 0);  // full, or without space
            unsigned char bytes[LENGTH] = {};
            EXPECT_LE(stream->move(bytes, LENGTH, false), int{LENGTH});
        }
        close(fd);
        shm_unlink(object.c_str());
    }
}

INSTANTIATE_TEST_SUITE_P(Lengths, ObjectOfLength,
                         ::testing::Values(0, 1, 63, 64, 65, 4096, 100000));

}  // namespace
}  // namespace cabinaudio::test
