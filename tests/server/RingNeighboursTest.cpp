// SPDX-License-Identifier: Apache-2.0
//
// Clients that truncate their ring, and objects of other programs and users in the place of a ring
// or of the physical memory: other clients are not affected.
#include <cabinaudio/foundation/AudioStatus.h>
#include <cabinaudio/shm/ShareMemory.h>

#include "devkit/board/Names.h"
#include "tests/server/HostileRing.h"
#include "tests/server/Playing.h"
#include "tests/server/RawClient.h"
#include "tests/server/Sound.h"
#include "tests/support/ProcessState.h"
#include "tests/support/RealServer.h"
#include "tests/support/UserProcess.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

namespace cabinaudio::test {
namespace {

using ::testing::AllOf;
using ::testing::Combine;
using ::testing::HasSubstr;
using ::testing::ValuesIn;
namespace fs = std::filesystem;

// ---- Memory that is taken away ------------------------------------------------------------------

constexpr RingUser USERS[] = {
    {"track", AUDIO_CONNECT_ALTERNATIVE, AUDIO_TAG_ALTERNATIVE, false, false},
    {"auxiliary", AUDIO_CONNECT_AUXILIARY, AUDIO_TAG_AUXILIARY, false, true},
    {"input", AUDIO_CONNECT_INPUT1, AUDIO_TAG_INPUT1, true, false},
    {"uplink", AUDIO_CONNECT_UPLINK, AUDIO_TAG_UPLINK, true, true},
};

std::vector<std::string> argumentsOf(bool isFast) {
    std::vector<std::string> arguments = {"--output", "null", "--input", "silence"};
    if (isFast) arguments.emplace_back("--fast");
    return arguments;
}

/// Whether the server's threads other than its first all sleep in the kernel.
bool receiversSleep(const RealServer& server) {
    const fs::path tasks = "/proc/" + std::to_string(server.pid()) + "/task";
    for (const auto& task : fs::directory_iterator(tasks)) {
        if (task.path().filename() == std::to_string(server.pid())) continue;
        const std::string line = contentsOf(task.path() / "stat");
        const std::size_t state = line.rfind(')') + 2;
        if (state >= line.size() || line[state] != 'S') return false;
    }
    return true;
}

class TruncatedRing : public ::testing::TestWithParam<std::tuple<bool, RingUser>> {
protected:
    const bool isFast = std::get<0>(GetParam());
    const RingUser user = std::get<1>(GetParam());
    RealServer server{argumentsOf(isFast)};

    /// With no clock the server sleeps until the client has done something.
    void waitForReceiver(const HostileRing& ring) const {
        if (!isFast) return;
        ASSERT_TRUE(eventually([&] { return ring.hasSleeper() && receiversSleep(server); }));
    }
    void expectServerServes() {
        RawClient other(AUDIO_CONNECT_ALTERNATIVE, "other");
        EXPECT_EQ(other.create(1, pcm(48000, 2, 16)).status, AUDIO_NO_ERROR);
        EXPECT_EQ(other.status(wire::StreamFunction::Start), AUDIO_NO_ERROR);
        EXPECT_EQ(other.status(wire::StreamFunction::WriteDone), AUDIO_NO_ERROR);
        EXPECT_EQ(other.notification().event, 4U) << "nothing to be played";
    }
    void TearDown() override {
        const int status = server.stop();
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status << server.output();
    }
};

TEST_P(TruncatedRing, UnderASleepingReceiverAffectsNobodyElse) {
    for (int i = 0; i < 5; ++i) {
        HostileRing ring(user, "hostile" + std::to_string(i));
        ASSERT_NO_FATAL_FAILURE(waitForReceiver(ring));
        ring.cut();
        ring.leave();
        expectServerServes();
    }
}

TEST_P(TruncatedRing, WithConstantPostsAffectsNobodyElse) {
    HostileRing ring(user, "hostile");
    const EndlessProcess poster([&ring] { ring.post(); });
    poster.waitFor(10000);
    expectServerServes();
    ring.cut();
    ring.leave();
    expectServerServes();
}

TEST_P(TruncatedRing, RestoredAgainAndAgainAffectsNobodyElse) {
    for (int i = 0; i < 5; ++i) {
        HostileRing ring(user, "hostile" + std::to_string(i));
        const EndlessProcess cutter([&ring] {
            ring.cut();
            ring.restore();
        });
        cutter.waitFor(100);
        ring.leave();
        expectServerServes();
    }
}

TEST_P(TruncatedRing, InUseCostsItsClientTheConnection) {
    HostileRing ring(user, "hostile");
    ASSERT_NO_FATAL_FAILURE(waitForReceiver(ring));
    if (!user.isPhysical || !user.isCapture) ring.start();
    for (int i = 0; i < 100; ++i)
        ring.post();
    ring.cut();
    if (isFast) {  // nothing more makes the server look
        ring.leave();
    } else {
        EXPECT_TRUE(ring.client().isClosedByServer());
        EXPECT_THAT(server.output(), HasSubstr("ring's"));
    }
    expectServerServes();
}

INSTANTIATE_TEST_SUITE_P(OfEachPaceAndKind, TruncatedRing,
                         Combine(::testing::Bool(), ValuesIn(USERS)), [](const auto& test) {
                             const bool isFast = std::get<0>(test.param);
                             return std::string(isFast ? "fast_" : "steady_") +
                                    std::get<1>(test.param).name;
                         });

TEST(TruncatedPhysicalMemory, CostsThePlayingClientItsConnection) {
    for (const bool isFast : {false, true}) {
        const RealServer server(argumentsOf(isFast));
        HostileRing ring(USERS[1], "hostile");
        ring.start();
        const int memory = open("/dev/mem", O_RDWR | O_CLOEXEC);
        EXPECT_EQ(ftruncate(memory, 0), 0);
        close(memory);
        ring.pretendToHaveWritten(4000);
        EXPECT_TRUE(ring.client().isClosedByServer());
        EXPECT_THAT(server.output(), HasSubstr("cut off its ring's memory"));
        RawClient other(AUDIO_CONNECT_AUXILIARY, "other");
        EXPECT_EQ(other.create(2, pcm(48000, 2, 16)).status, AUDIO_NO_ERROR);
        EXPECT_EQ(other.notification().event, 3U) << "a ring for the next one";
    }
}

// ---- Names that are taken -----------------------------------------------------------------------

std::string instance() {
    return std::getenv("CABINAUDIO_INSTANCE");
}
std::string memoryPath(uid_t user, unsigned place) {
    return "/dev/shm/cabinaudio-physmem-" + std::to_string(user) + "-" + instance() +
           (place == 0 ? "" : "." + std::to_string(place));
}

/// Runs `body` in a child process, as another user if one is given, and expects that no expectation
/// fails there.
void inChild(const std::optional<User>& user, const std::function<void()>& body) {
    UserProcess child(user, [&body] {
        prctl(PR_SET_DUMPABLE, 1);  // again, after a change of user
        body();
        return std::string(::testing::Test::HasFailure() ? "failed" : "done");
    });
    EXPECT_EQ(child.report(), "done");
}

/// A file that another program or user has put there; it goes with this object.
class Planted {
public:
    explicit Planted(std::string path, mode_t mode = 0666, const std::string& text = "theirs")
        : mPath(std::move(path)) {
        unlink(mPath.c_str());
        std::ofstream(mPath) << text;
        EXPECT_EQ(chmod(mPath.c_str(), mode), 0) << mPath;
    }
    ~Planted() { unlink(mPath.c_str()); }
    Planted(const Planted&) = delete;
    Planted& operator=(const Planted&) = delete;

    [[nodiscard]] const std::string& path() const { return mPath; }
    [[nodiscard]] bool isUntouched() const {
        struct stat64 found = {};
        return lstat64(mPath.c_str(), &found) == 0 && found.st_size == 6 &&
               contentsOf(mPath) == "theirs";
    }

private:
    std::string mPath;
};

/// Plays something from a physical ring.
void expectSound() {
    Player player("music", AUDIO_TAG_AUXILIARY, pcm(48000, 2, 16));
    ASSERT_TRUE(player.hasRing());
    EXPECT_TRUE(player.write(noise16(48000)));
    EXPECT_TRUE(player.end());
}

/// Tests that run as two users.
class AnotherUser : public ::testing::Test {
protected:
    void SetUp() override {
        if (!asNobody([] { return access(RealServer::path().c_str(), X_OK) == 0; }))
            GTEST_SKIP() << "another user cannot run the server here";
    }
};
class ObjectOfAnotherUser : public AnotherUser {};
class FileOfAnotherUser : public AnotherUser {};
class FilesOfAnotherUser : public AnotherUser {};

TEST_F(ObjectOfAnotherUser, IsNotUsedAsARecordingRing) {
    const Planted planted("/dev/shm/cabinaudio." + instance() + ".mic");
    inChild(User{}, [] {
        const RealServer server(argumentsOf(true));
        RawClient client(AUDIO_CONNECT_INPUT1, "mic");
        EXPECT_EQ(client.createCapture(AUDIO_TAG_INPUT1, pcm(16000, 1, 16)).status,
                  AUDIO_INVALID_OPERATION);
        EXPECT_THAT(server.output(),
                    AllOf(HasSubstr("\"mic\": refused"), HasSubstr("cannot be removed")));
        RawClient other(AUDIO_CONNECT_INPUT1, "mic2");
        EXPECT_EQ(other.createCapture(AUDIO_TAG_INPUT1, pcm(16000, 1, 16)).status, AUDIO_NO_ERROR);
    });
    EXPECT_TRUE(planted.isUntouched());
}

TEST_F(FileOfAnotherUser, InThePlaceOfTheMemoryDoesNotPreventPlaying) {
    const Planted planted(memoryPath(NOBODY, 0));
    inChild(User{}, [] {
        const RealServer server(argumentsOf(true));
        EXPECT_THAT(server.output(), HasSubstr("belongs to another user"));
        expectSound();
    });
    EXPECT_TRUE(planted.isUntouched());
    EXPECT_FALSE(fs::exists(memoryPath(NOBODY, 1))) << "the server has gone";
}

TEST_F(FileOfAnotherUser, RemovedAtRunTimeDoesNotMoveTheMemory) {
    std::optional<Planted> planted(std::in_place, memoryPath(NOBODY, 0));
    /// Removes the file once the server has taken the next place.
    const UserProcess remover({}, [&planted] {
        EXPECT_TRUE(eventually([] { return fs::exists(memoryPath(NOBODY, 1)); }));
        planted.reset();
        return std::string();
    });
    inChild(User{}, [] {
        const RealServer server(argumentsOf(true));
        ASSERT_TRUE(eventually([] { return !fs::exists(memoryPath(NOBODY, 0)); }));
        expectSound();
        EXPECT_FALSE(fs::exists(memoryPath(NOBODY, 0)));
    });
}

TEST_F(FilesOfAnotherUser, InEachPlaceOfTheMemoryAreReportedWithACure) {
    std::vector<std::unique_ptr<Planted>> planted;
    for (unsigned place = 0; place < board::PHYSICAL_MEMORY_PLACES; ++place)
        planted.push_back(std::make_unique<Planted>(memoryPath(NOBODY, place)));
    inChild(User{}, [] {
        const RealServer server(argumentsOf(true));
        EXPECT_THAT(server.output(), AllOf(HasSubstr("no physical memory: Permission denied"),
                                           HasSubstr("--instance")));
        RawClient physical(AUDIO_CONNECT_AUXILIARY, "physical");
        EXPECT_EQ(physical.create(2, pcm(48000, 2, 16)).status, AUDIO_NO_MEMORY);
        RawClient posix(AUDIO_CONNECT_ALTERNATIVE, "posix");
        EXPECT_EQ(posix.create(1, pcm(48000, 2, 16)).status, AUDIO_NO_ERROR);
    });
}

/// Names and shared memory that this process has for itself: the common instance's names are those
/// of the whole machine otherwise.
bool haveOwnMachine() {
    return unshare(CLONE_NEWNS | CLONE_NEWNET) == 0 &&
           mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("none", "/dev/shm", "tmpfs", 0, "size=64m,mode=1777") == 0 &&
           unsetenv("CABINAUDIO_INSTANCE") == 0;
}

class CommonInstance : public ::testing::Test {
protected:
    void SetUp() override {
        if (asUser({}, [] { return std::to_string(haveOwnMachine()); }) != "1")
            GTEST_SKIP() << "only the superuser has a machine of his own";
    }
    /// Runs `body` beside a server of the common instance.
    static void beside(const std::function<void(const RealServer&)>& body) {
        inChild({}, [&body] {
            ASSERT_TRUE(haveOwnMachine());
            const RealServer server({"--output", "null"});
            body(server);
        });
    }
};

std::int32_t createNamed(const std::string& name) {
    RawClient client(AUDIO_CONNECT_ALTERNATIVE, name);
    return client.create(1, pcm(48000, 2, 16)).status;
}

/// A ring whose creator was killed.
void leaveRing(const std::string& name) {
    static ShareMemoryEx* ring;
    inChild({}, [&name] {
        ring = new ShareMemoryEx(SHM_TYPE_POSIX_SHM, name.c_str(), nullptr, 4096, SHM_MODE_CREATOR,
                                 nullptr);
        EXPECT_TRUE(ring->isUsable());
    });
}

TEST_F(CommonInstance, DoesNotTouchObjectsOfOtherPrograms) {
    beside([](const RealServer& server) {
        const Planted program("/dev/shm/other-program", 0600);
        EXPECT_EQ(createNamed("other-program"), AUDIO_INVALID_OPERATION);
        EXPECT_EQ(createNamed("//other-program"), AUDIO_INVALID_OPERATION);
        EXPECT_THAT(server.output(), HasSubstr("is not a ring of this user's server"));
        EXPECT_TRUE(program.isUntouched());

        ASSERT_EQ(symlink("/etc/hostname", "/dev/shm/link"), 0);
        EXPECT_EQ(createNamed("link"), AUDIO_INVALID_OPERATION);
        EXPECT_TRUE(fs::is_symlink("/dev/shm/link"));
        ASSERT_EQ(mkfifo("/dev/shm/fifo", 0600), 0);
        EXPECT_EQ(createNamed("fifo"), AUDIO_INVALID_OPERATION);
        EXPECT_TRUE(fs::is_fifo("/dev/shm/fifo"));
        ASSERT_EQ(mkdir("/dev/shm/directory", 0700), 0);
        EXPECT_EQ(createNamed("directory"), AUDIO_INVALID_OPERATION);
        EXPECT_EQ(createNamed("."), AUDIO_INVALID_OPERATION);

        EXPECT_EQ(createNamed("free"), AUDIO_NO_ERROR) << "the server goes on";
    });
}

TEST_F(CommonInstance, DoesNotTouchObjectsOfOtherInstances) {
    beside([](const RealServer&) {
        for (const std::string name : {"cabinaudio.b.ring", "cabinaudio-physmem-0-b"}) {
            const Planted object("/dev/shm/" + name, 0600);
            EXPECT_EQ(createNamed(name), AUDIO_BAD_VALUE);
            EXPECT_EQ(createNamed("/" + name), AUDIO_BAD_VALUE);
            EXPECT_TRUE(object.isUntouched()) << name;
        }
    });
}

TEST_F(CommonInstance, ReplacesOnlyPrivateRingsOfItsUser) {
    beside([](const RealServer& server) {
        leaveRing("left");
        EXPECT_EQ(createNamed("left"), AUDIO_NO_ERROR) << server.output();

        leaveRing("open");
        ASSERT_EQ(chmod("/dev/shm/open", 0666), 0);
        EXPECT_EQ(createNamed("open"), AUDIO_INVALID_OPERATION);
        leaveRing("another");
        ASSERT_EQ(chown("/dev/shm/another", NOBODY, NOBODY), 0);
        EXPECT_EQ(createNamed("another"), AUDIO_INVALID_OPERATION);
        leaveRing("linked");
        ASSERT_EQ(link("/dev/shm/linked", "/dev/shm/second"), 0);
        EXPECT_EQ(createNamed("linked"), AUDIO_INVALID_OPERATION);
        leaveRing("longer");
        ASSERT_EQ(truncate("/dev/shm/longer", 5000), 0);
        EXPECT_EQ(createNamed("longer"), AUDIO_INVALID_OPERATION);
        for (const char* const name : {"open", "another", "linked", "longer"})
            EXPECT_TRUE(fs::exists(std::string("/dev/shm/") + name)) << name;
    });
}

TEST(PrivateInstance, ReplacesAnyLeftoverUnderItsNames) {
    const Planted left("/dev/shm/cabinaudio." + instance() + ".left", 0600);
    const RealServer server({"--output", "null"});
    EXPECT_EQ(createNamed("left"), AUDIO_NO_ERROR) << server.output();
    EXPECT_TRUE(eventually([&] { return !fs::exists(left.path()); })) << "the client's ring";
}

}  // namespace
}  // namespace cabinaudio::test
