// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/base/UniqueFd.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <cerrno>
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
            server::UniqueFd fd(open("/dev/null", O_RDONLY | O_CLOEXEC));
            if (!fd) break;
            mTaken.push_back(std::move(fd));
        }
        EXPECT_EQ(errno, EMFILE);
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
