// SPDX-License-Identifier: Apache-2.0
#include "bench/alsa/systems/Systems.h"

#include <exception>

namespace cabinaudio::bench {

namespace {

using Start = std::unique_ptr<System>(const std::string& directory);

Systems::Entry startPeer(const std::string& name, Start* start, const ScratchDirectory& directory) {
    try {
        return {name, start(directory.make(name)), ""};
    } catch (const std::exception& error) {
        return {name, nullptr, error.what()};
    }
}

}  // namespace

Systems::Systems() {
    mEntries.push_back({"cabinaudio", startCabin(mDirectory.make("cabinaudio")), ""});
    mEntries.push_back(startPeer("PulseAudio", startPulse, mDirectory));
    mEntries.push_back(startPeer("PipeWire", startPipeWire, mDirectory));
}

}  // namespace cabinaudio::bench
