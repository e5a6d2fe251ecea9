// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/call/peers/Requester.h"
#include "bench/support/ScratchDirectory.h"

#include <memory>
#include <string>
#include <vector>

namespace cabinaudio::bench {

/// The other systems whose servers are installed here, running.
class Requesters {
public:
    struct Entry {
        std::string name;
        std::unique_ptr<Requester> requester;  // null: unavailable here
        std::string unavailableReason;
    };

    Requesters();

    [[nodiscard]] const std::vector<Entry>& all() const { return mEntries; }

private:
    ScratchDirectory mDirectory;  // outlives the servers
    std::vector<Entry> mEntries;
};

}  // namespace cabinaudio::bench
