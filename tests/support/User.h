// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <grp.h>
#include <unistd.h>

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

/// Makes this process another user's, for good. @return false, with errno, when it may not
[[nodiscard]] inline bool become(const User& user) {
    return setgroups(user.groups.size(), user.groups.data()) == 0 &&
           setresgid(user.group, user.group, user.group) == 0 &&
           setresuid(user.user, user.user, user.user) == 0;
}

}  // namespace cabinaudio::test
