// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/streams/peers/Peer.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace cabinaudio::bench {

/// A directory that goes with its owner.
class ScratchDirectory {
public:
    ScratchDirectory();
    ~ScratchDirectory();
    ScratchDirectory(const ScratchDirectory&) = delete;
    ScratchDirectory& operator=(const ScratchDirectory&) = delete;

    /// A new directory in it.
    [[nodiscard]] std::string make(const std::string& name) const;

private:
    std::filesystem::path mPath;
};

/// The peers of which there is a server here, running.
class Peers {
public:
    struct Entry {
        std::string name;
        std::unique_ptr<Peer> peer;  // null: not here
        std::string whyNot;
    };

    Peers();

    [[nodiscard]] const std::vector<Entry>& all() const { return mEntries; }

private:
    ScratchDirectory mDirectory;  // outlives the servers
    std::vector<Entry> mEntries;
};

}  // namespace cabinaudio::bench
