// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tests/support/User.h"

#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>

namespace cabinaudio::test {

/// Whether a child may become another user.
bool mayBecomeAnotherUser();

/// A child process, perhaps of another user, that does something, reports it and stays as it is,
/// with all that it has opened, until end(). Only while this process has one thread.
class UserProcess {
public:
    /// @param deed  runs in the child; its result, or the text of its exception, is the report
    /// @param end   runs in the child at its end
    UserProcess(
        const std::optional<User>& user, const std::function<std::string()>& deed,
        const std::function<void()>& end = [] {});
    ~UserProcess() { end(); }
    UserProcess(const UserProcess&) = delete;
    UserProcess& operator=(const UserProcess&) = delete;

    /// Waits for the report, at most for two minutes; then it is "no report".
    [[nodiscard]] const std::string& report();
    /// Ends the child and waits for its end.
    void end();

private:
    pid_t mPid = -1;
    int mReport = -1;
    int mLife = -1;  // the child ends when it is closed
    std::string mText;
};

/// Does it in a child that ends afterwards. @return the report
std::string asUser(const std::optional<User>& user, const std::function<std::string()>& deed);

}  // namespace cabinaudio::test
