// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/link/LinkPolicy.h>

namespace cabinaudio::test {

/// Sets the process's policy, and the default one again at its end.
class PolicyGuard {
public:
    explicit PolicyGuard(const LinkPolicy& policy) { setLinkPolicy(policy); }
    ~PolicyGuard() { setLinkPolicy({}); }
    PolicyGuard(const PolicyGuard&) = delete;
    PolicyGuard& operator=(const PolicyGuard&) = delete;
};

}  // namespace cabinaudio::test
