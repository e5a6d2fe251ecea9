// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/run/Watcher.h"

#include "devkit/board/Board.h"
#include "devkit/board/Handshake.h"
#include "devkit/board/run/Children.h"
#include "devkit/board/run/Leftovers.h"
#include "devkit/board/run/Refusal.h"
#include "devkit/text/Printable.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace cabinaudio::run {
namespace {

constexpr char DISMISSAL = 'd';

enum class Answer { Right, Dismissed, None, Late };

/// Refers to this process even after its number is reused.
Descriptor processDescriptor(pid_t process) {
    const Descriptor opened(static_cast<int>(syscall(SYS_pidfd_open, process, 0)));
    // Above the numbers that the watcher gives its other descriptors.
    return Descriptor(opened ? fcntl(opened.get(), F_DUPFD_CLOEXEC, 4) : -1);
}

class Watch {
public:
    Watch(const Watcher::Duty& duty, pid_t program, const Descriptor& handle, int answers)
        : mDuty(duty), mProgram(program), mHandle(handle), mAnswers(answers) {}

    void run() const {
        const Answer answer = waitForAnswer();
        if (answer == Answer::Late || answer == Answer::None) endProgram(answer);
        if (!mDuty.instanceToRemove.empty()) {
            if (answer != Answer::Dismissed) waitForEnd();
            removeLeftovers(mDuty.instanceToRemove);
            removeConfiguration(mDuty.instanceToRemove);
        }
    }

private:
    Answer waitForAnswer() const {
        pollfd answers{mAnswers, POLLIN, 0};
        const auto timeout = std::chrono::milliseconds(mDuty.timeout).count();
        int ready;
        do {
            ready = poll(&answers, 1, static_cast<int>(timeout));
        } while (ready < 0 && errno == EINTR);
        if (ready == 0) return Answer::Late;
        board::HandshakeAnswer got{};
        const ssize_t length = recv(mAnswers, &got, sizeof got, 0);
        if (length == 1) return Answer::Dismissed;
        const board::HandshakeAnswer expected;
        const bool right = length == sizeof got &&
                           std::memcmp(got.magic, expected.magic, sizeof got.magic) == 0 &&
                           got.machine == mDuty.machine;
        return right ? Answer::Right : Answer::None;
    }

    void endProgram(Answer answer) const {
        if (mHandle)
            syscall(SYS_pidfd_send_signal, mHandle.get(), SIGKILL, nullptr, 0);
        else
            kill(mProgram, SIGKILL);
        const std::string when = answer == Answer::Late
                                     ? " within " + std::to_string(mDuty.timeout.count()) + " s"
                                     : std::string();
        std::fprintf(stderr, "cabinaudio-run: %s was ended: the %s did not answer%s\n",
                     text::printable(mDuty.program).c_str(), mDuty.library, when.c_str());
    }

    /// Without a process descriptor there is no safe way to wait for the process.
    void waitForEnd() const {
        close(STDERR_FILENO);
        pollfd ended{mHandle.get(), POLLIN, 0};
        while (mHandle && poll(&ended, 1, -1) < 0 && errno == EINTR) {
        }
    }

    const Watcher::Duty& mDuty;
    pid_t mProgram;
    const Descriptor& mHandle;
    int mAnswers;
};

/// Closes inherited descriptors: readers of the program's output must not wait for the watcher.
void keepOnly(const Descriptor& answers, const Descriptor& handle) {
    dup2(answers.get(), STDIN_FILENO);
    close(STDOUT_FILENO);
    const auto kept = static_cast<unsigned>(handle.get());
    if (handle) {
        close_range(STDERR_FILENO + 1, kept - 1, 0);
        close_range(kept + 1, ~0U, 0);
    } else {
        close_range(STDERR_FILENO + 1, ~0U, 0);
    }
}

[[noreturn]] void watch(const Watcher::Duty& duty, pid_t program, const Descriptor& answers) {
    const Descriptor handle = processDescriptor(program);
    keepOnly(answers, handle);
    setsid();
    signal(SIGPIPE, SIG_IGN);
    prctl(PR_SET_NAME, "cabinaudio-wtch");
    if (chdir("/") == 0) Watch(duty, program, handle, STDIN_FILENO).run();
    _exit(0);
}

}  // namespace

Watcher::Watcher(const Duty& duty) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
        throw Refusal(withReason("cannot make a socket pair"));
    mOffered = Descriptor(ends[0]);
    const Descriptor answers(ends[1]);
    const pid_t program = getpid();
    const pid_t between = forkChild();
    if (between == 0) {
        // The intermediate process exits at once, so the watcher is not the program's child.
        if (fork() == 0) {
            mOffered.close();
            watch(duty, program, answers);
        }
        _exit(0);
    }
    reapChild(between);
}

void Watcher::offer() const {
    const int kept = fcntl(mOffered.get(), F_GETFD) & ~FD_CLOEXEC;
    fcntl(mOffered.get(), F_SETFD, kept);
    const std::string offered = std::to_string(mOffered.get()) + ":" + std::to_string(getpid());
    setenv(board::HANDSHAKE_VARIABLE, offered.c_str(), 1);
}

void Watcher::dismiss() const {
    send(mOffered.get(), &DISMISSAL, 1, MSG_NOSIGNAL);
}

}  // namespace cabinaudio::run
