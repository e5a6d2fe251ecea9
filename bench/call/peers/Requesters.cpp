// SPDX-License-Identifier: Apache-2.0
#include "bench/call/peers/Requesters.h"

#include <exception>

namespace cabinaudio::bench {

namespace {

using Start = std::unique_ptr<Requester>(const std::string& directory);

Requesters::Entry start(const std::string& name, Start* start, const ScratchDirectory& directory) {
    try {
        return {name, start(directory.make(name)), ""};
    } catch (const std::exception& error) {
        return {name, nullptr, error.what()};
    }
}

}  // namespace

Requesters::Requesters() {
    mEntries.push_back(start("libpulse", requestPulse, mDirectory));
    mEntries.push_back(start("PipeWire", requestPipeWire, mDirectory));
    mEntries.push_back(start("JACK", requestJack, mDirectory));
    mEntries.push_back(start("sd-bus", requestSystemdBus, mDirectory));
    mEntries.push_back(start("libdbus", requestDbus, mDirectory));
}

}  // namespace cabinaudio::bench
