// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/streams/peers/Peer.h"
#include "bench/support/ScratchDirectory.h"

#include <memory>
#include <string>
#include <vector>

namespace cabinaudio::bench {

/// The peers whose servers are installed here, running.
class Peers {
public:
    struct Entry {
        std::string name;
        std::unique_ptr<Peer> peer;  // null: unavailable here
        std::string unavailableReason;
        double mostConstruct;  // goal for the ratio of our construction to the peer's
    };

    Peers();

    [[nodiscard]] const std::vector<Entry>& all() const { return mEntries; }

private:
    ScratchDirectory mDirectory;  // outlives the servers
    std::vector<Entry> mEntries;
};

}  // namespace cabinaudio::bench
