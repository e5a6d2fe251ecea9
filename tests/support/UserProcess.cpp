// SPDX-License-Identifier: Apache-2.0
#include "tests/support/UserProcess.h"

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <utility>

namespace cabinaudio::test {
namespace {

constexpr int REPORT_PATIENCE_MS = 120000;

/// Makes this process another user's, for good. @return false, with errno, when it may not
bool become(const User& user) {
    return setgroups(user.groups.size(), user.groups.data()) == 0 &&
           setresgid(user.group, user.group, user.group) == 0 &&
           setresuid(user.user, user.user, user.user) == 0;
}

[[noreturn]] void beChild(const std::optional<User>& user, const std::function<std::string()>& deed,
                          const std::function<void()>& end, int report, int life) {
    std::string text;
    try {
        if (user && !become(*user))
            throw std::runtime_error(std::string("cannot be another user: ") +
                                     std::strerror(errno));
        prctl(PR_SET_PDEATHSIG, SIGKILL);  // is forgotten when the user changes
        text = deed();
    } catch (const std::exception& error) {
        text = error.what();
    }
    std::fflush(nullptr);  // failed expectations
    // A null byte ends it: children of the child may hold the pipe.
    if (write(report, text.c_str(), text.size() + 1) < 0) _exit(1);
    close(report);
    char nothing = 0;
    while (read(life, &nothing, 1) < 0 && errno == EINTR) {
    }
    end();
    _exit(0);
}

}  // namespace

bool mayBecomeAnotherUser() {
    return geteuid() == 0 && asUser(User{}, [] { return std::to_string(geteuid()); }) == "65534";
}

UserProcess::UserProcess(const std::optional<User>& user, const std::function<std::string()>& deed,
                         const std::function<void()>& end) {
    std::array<int, 2> report = {};
    std::array<int, 2> life = {};
    if (pipe2(report.data(), O_CLOEXEC) != 0 || pipe2(life.data(), O_CLOEXEC) != 0)
        throw std::runtime_error("pipe");
    std::fflush(nullptr);
    mPid = fork();
    if (mPid == 0) {
        close(report[0]);
        close(life[1]);
        beChild(user, deed, end, report[1], life[0]);
    }
    close(report[1]);
    close(life[0]);
    mReport = report[0];
    mLife = life[1];
    if (mPid < 0) throw std::runtime_error("fork");
}

const std::string& UserProcess::report() {
    while (mReport >= 0) {
        pollfd entry = {mReport, POLLIN, 0};
        std::array<char, 4096> chunk;
        const bool isReady = poll(&entry, 1, REPORT_PATIENCE_MS) > 0;
        const ssize_t count = isReady ? read(mReport, chunk.data(), chunk.size()) : 0;
        if (count > 0) {
            mText.append(chunk.data(), static_cast<std::size_t>(count));
            if (mText.back() != '\0') continue;
            mText.pop_back();
        }
        if (!isReady) {
            mText = "no report";
            kill(mPid, SIGKILL);
        }
        close(std::exchange(mReport, -1));
    }
    return mText;
}

void UserProcess::end() {
    if (mPid < 0) return;
    close(mLife);
    if (mReport >= 0) {
        kill(mPid, SIGKILL);  // perhaps it is still at it
        close(std::exchange(mReport, -1));
    }
    while (waitpid(mPid, nullptr, 0) < 0 && errno == EINTR) {
    }
    mPid = -1;
}

std::string asUser(const std::optional<User>& user, const std::function<std::string()>& deed) {
    UserProcess child(user, deed);
    return child.report();
}

bool asNobody(const std::function<bool()>& deed) {
    return asUser(User{}, [&] { return std::string(deed() ? "done" : "failed"); }) == "done";
}

}  // namespace cabinaudio::test
