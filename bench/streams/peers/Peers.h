// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/streams/peers/Peer.h"
#include "bench/support/ScratchDirectory.h"

#include <memory>
#include <string>
#include <vector>

namespace cabinaudio::bench {

/// The peers of which there is a server here, running.
class Peers {
public:
    struct Entry {
        std::string name;
        std::unique_ptr<Peer> peer;  // null: not here
        std::string whyNot;
        double mostConstruct;  // goal of our construction : its
    };

    Peers();

    [[nodiscard]] const std::vector<Entry>& all() const { return mEntries; }

private:
    ScratchDirectory mDirectory;  // outlives the servers
    std::vector<Entry> mEntries;
};

}  // namespace cabinaudio::bench
