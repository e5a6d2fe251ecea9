// SPDX-License-Identifier: Apache-2.0
#include "bench/streams/peers/Peers.h"

#include "bench/support/Errors.h"

#include <cstdlib>
#include <exception>

namespace cabinaudio::bench {

namespace {

using Start = std::unique_ptr<Peer>(const std::string& directory);

Peers::Entry start(const std::string& name, Start* start, const ScratchDirectory& directory) {
    try {
        return {name, start(directory.make(name)), ""};
    } catch (const std::exception& error) {
        return {name, nullptr, error.what()};
    }
}

}  // namespace

ScratchDirectory::ScratchDirectory() {
    std::string path = std::filesystem::temp_directory_path() / "cabinaudio-bench-XXXXXX";
    if (mkdtemp(path.data()) == nullptr) raise(errno, "mkdtemp");
    mPath = path;
    // Servers that give up being root must still find their files in it.
    std::filesystem::permissions(
        mPath, std::filesystem::perms::group_exec | std::filesystem::perms::others_exec,
        std::filesystem::perm_options::add);
}

ScratchDirectory::~ScratchDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(mPath, ignored);
}

std::string ScratchDirectory::make(const std::string& name) const {
    std::filesystem::create_directory(mPath / name);
    return mPath / name;
}

Peers::Peers() {
    mEntries.push_back(start("libpulse", startPulse, mDirectory));
    mEntries.push_back(start("PipeWire", startPipeWire, mDirectory));
    mEntries.push_back(start("sndio", startSndio, mDirectory));
}

}  // namespace cabinaudio::bench
