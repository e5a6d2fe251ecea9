// SPDX-License-Identifier: Apache-2.0
#include "bench/streams/peers/Peers.h"

#include <exception>

namespace cabinaudio::bench {

namespace {

using Start = std::unique_ptr<Peer>(const std::string& directory);

Peers::Entry start(const std::string& name, Start* start, const ScratchDirectory& directory,
                   double mostConstruct) {
    try {
        return {name, start(directory.make(name)), "", mostConstruct};
    } catch (const std::exception& error) {
        return {name, nullptr, error.what(), mostConstruct};
    }
}

}  // namespace

Peers::Peers() {
    mEntries.push_back(start("libpulse", startPulse, mDirectory, 0.30));
    mEntries.push_back(start("PipeWire", startPipeWire, mDirectory, 0.10));
    mEntries.push_back(start("sndio", startSndio, mDirectory, 1.35));
}

}  // namespace cabinaudio::bench
