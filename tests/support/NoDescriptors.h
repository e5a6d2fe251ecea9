// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/base/UniqueFd.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace cabinaudio::test {

/// Takes all descriptors that this process may still have, for as long as it lives. They are
/// taken and not forbidden by a limit of 0: poll(2) refuses more entries than the limit, and
/// threads that wait for other descriptors would then fail too.
class NoDescriptors {
public:
    NoDescriptors() {
        getrlimit(RLIMIT_NOFILE, &mBefore);
        rlimit few = mBefore;
        few.rlim_cur = std::min<rlim_t>(few.rlim_cur, 256);
        setrlimit(RLIMIT_NOFILE, &few);
        while (true) {
            server::UniqueFd fd(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0));
            if (!fd) break;
            mTaken.push_back(std::move(fd));
        }
    }
    ~NoDescriptors() { setrlimit(RLIMIT_NOFILE, &mBefore); }
    NoDescriptors(const NoDescriptors&) = delete;
    NoDescriptors& operator=(const NoDescriptors&) = delete;

    void freeOne() { mTaken.pop_back(); }

private:
    rlimit mBefore = {};
    std::vector<server::UniqueFd> mTaken;
};

}  // namespace cabinaudio::test
