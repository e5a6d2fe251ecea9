// SPDX-License-Identifier: Apache-2.0
// A ring between two processes, the other one perhaps of another build: every byte arrives, in
// order and unchanged.
#include "tests/shm/Stream.h"
#include "tests/support/Row.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace cabinaudio::test {
namespace {

/// The peer as a child process.
class Peer {
public:
    Peer(std::vector<std::string> command, const StreamPlan& plan, StreamEnd::Direction direction) {
        for (const std::string& argument :
             {std::string(direction == StreamEnd::READS ? "read" : "write"),
              std::to_string(plan.type), plan.name, std::to_string(plan.size),
              std::to_string(plan.creator), std::to_string(plan.bytes), std::to_string(plan.seed)})
            command.push_back(argument);
        std::vector<char*> arguments;
        for (std::string& argument : command)
            arguments.push_back(argument.data());
        arguments.push_back(nullptr);

        int ends[2];
        EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        const int error =
            posix_spawnp(&mPid, arguments[0], &actions, nullptr, arguments.data(), environ);
        EXPECT_EQ(error, 0) << arguments[0] << ": " << std::strerror(error);
        if (error != 0) mPid = -1;
        posix_spawn_file_actions_destroy(&actions);
        close(ends[1]);
        mOutput = ends[0];
    }
    ~Peer() {
        if (mPid > 0) {
            kill(mPid, SIGKILL);
            waitpid(mPid, nullptr, 0);
        }
        close(mOutput);
    }
    Peer(const Peer&) = delete;
    Peer& operator=(const Peer&) = delete;

    [[nodiscard]] bool runs() const { return mPid > 0; }

    /// Waits for its end. @return what it printed, or nothing when it failed
    std::optional<std::uint64_t> checksum() {
        std::string text;
        char buffer[64];
        for (ssize_t count; (count = ::read(mOutput, buffer, sizeof(buffer))) > 0;)
            text.append(buffer, static_cast<std::size_t>(count));
        int status = 0;
        EXPECT_EQ(waitpid(mPid, &status, 0), mPid);
        mPid = -1;
        EXPECT_EQ(status, 0);
        if (status != 0) return {};
        return std::strtoull(text.c_str(), nullptr, 16);
    }

private:
    pid_t mPid = -1;
    int mOutput = -1;
};

struct Case : Row {
    const char* peer;  // command, words with blanks between them
    StreamEnd::Direction direction;
    bool creator;
    shm_type_t type;
};

class RingStream : public RingFixture, public ::testing::WithParamInterface<Case> {};

std::vector<std::string> wordsOf(const std::string& text) {
    std::istringstream in(text);
    std::vector<std::string> words;
    for (std::string word; in >> word;)
        words.push_back(word);
    return words;
}

TEST_P(RingStream, ArrivesUnchanged) {
    const Case& one = GetParam();
    const auto command = wordsOf(one.peer);
    ASSERT_EQ(access(command.back().c_str(), X_OK), 0)
        << command.back() << " is not built: the native build comes before this one";
    StreamPlan plan = {.type = one.type,
                       .name = "stream",
                       .size = 10007,
                       .creator = one.creator,
                       .bytes = RING_STREAM_BYTES,
                       .seed = 77};
    StreamEnd end(plan, one.direction);
    plan.creator = !plan.creator;
    Peer peer(command, plan,
              one.direction == StreamEnd::READS ? StreamEnd::WRITES : StreamEnd::READS);
    ASSERT_TRUE(peer.runs());
    const auto here = end.run();
    EXPECT_TRUE(here.has_value());
    EXPECT_EQ(here, peer.checksum());
}

/// Every direction and creator, through each kind of ring.
std::vector<Case> casesWith(const char* peer) {
    constexpr auto IN = StreamEnd::READS;
    constexpr auto OUT = StreamEnd::WRITES;
    return {
        {"InFromACreator", peer, IN, false, SHM_TYPE_POSIX_SHM},
        {"InAsTheCreator", peer, IN, true, SHM_TYPE_POSIX_SHM},
        {"OutToACreator", peer, OUT, false, SHM_TYPE_POSIX_SHM},
        {"OutAsTheCreator", peer, OUT, true, SHM_TYPE_POSIX_SHM},
        {"InThroughPhysicalMemory", peer, IN, false, SHM_TYPE_PHYS_MEM},
        {"OutThroughPhysicalMemory", peer, OUT, false, SHM_TYPE_PHYS_MEM},
    };
}

INSTANTIATE_TEST_SUITE_P(BetweenTwoProcesses, RingStream, ::testing::ValuesIn(casesWith(RING_PEER)),
                         ROW_NAME);
#ifdef RING_NATIVE_PEER
INSTANTIATE_TEST_SUITE_P(BetweenTwoMachines, RingStream,
                         ::testing::ValuesIn(casesWith(RING_NATIVE_PEER)), ROW_NAME);
#endif

}  // namespace
}  // namespace cabinaudio::test
