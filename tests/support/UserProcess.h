// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::test {

/// The user "nobody", that attacks come from.
inline constexpr uid_t NOBODY = 65534;

/// A user that a child process becomes. Needs root.
struct User {
    uid_t user = NOBODY;
    gid_t group = NOBODY;
    std::vector<gid_t> groups = {};  // supplementary
};

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

/// Does it as the user "nobody". @return whether it has succeeded; false where no child may be that
bool asNobody(const std::function<bool()>& deed);

}  // namespace cabinaudio::test
