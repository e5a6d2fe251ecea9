// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/alsa/systems/System.h"
#include "bench/support/ScratchDirectory.h"

#include <memory>
#include <string>
#include <vector>

namespace cabinaudio::bench {

/// The servers that are installed here, running.
class Systems {
public:
    struct Entry {
        std::string name;
        std::unique_ptr<System> system;  // null: unavailable here
        std::string unavailableReason;
    };

    Systems();

    /// Ours is the first.
    [[nodiscard]] const std::vector<Entry>& all() const { return mEntries; }

private:
    ScratchDirectory mDirectory;  // outlives the servers
    std::vector<Entry> mEntries;
};

}  // namespace cabinaudio::bench
