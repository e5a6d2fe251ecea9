// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "tools/scenario/Locations.h"

#include <string>

namespace cabinaudio::tool::scenario {

/// An instance name that no other server has. The destructor removes what killed programs have
/// left in shared memory, so it must run after the ends of server and programs.
class Instance {
public:
    /// @throws Failure when the system has no random numbers
    explicit Instance(const Locations& locations);
    ~Instance();
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;

    [[nodiscard]] const std::string& name() const { return mName; }

private:
    const Locations& mLocations;
    std::string mName;
};

}  // namespace cabinaudio::tool::scenario
