// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/shm/ShareMemory.h>

#include "tests/server/RawClient.h"
#include "tests/server/State.h"
#include "tests/support/Files.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace cabinaudio::test {

/// A capture stream without the library's client: requests and ring.
class RawRecorder {
public:
    /// Registers and creates the stream. Of other tags than the uplink's, its ring is mapped then.
    RawRecorder(const std::string& name, AudioTagType tag, const AudioFormatDesc& format);

    [[nodiscard]] RawClient& client() { return mClient; }
    [[nodiscard]] const wire::CreateReply& creation() const { return mCreation; }
    [[nodiscard]] ShareMemoryEx& ring() { return *mRing; }

    std::int32_t start() { return mClient.status(wire::CaptureFunction::Start); }
    std::int32_t stop() { return mClient.status(wire::CaptureFunction::Stop); }
    std::int32_t setVolume(std::int32_t volume);
    wire::VolumeReply volume();

    /// Asks where an uplink's ring is.
    wire::ShareMemoryReply memory();
    /// Waits for the announcement of an uplink's ring and maps it. @return whether it could
    bool mapWhenReady();
    /// Unmaps the ring and says so. @return the status
    std::int32_t acknowledgeWithdrawal();

    /// The next bytes; throws std::runtime_error when they do not come within a minute.
    Bytes read(std::size_t size);
    std::vector<std::int16_t> readSamples(std::size_t count);

private:
    std::string mName;
    RawClient mClient;
    wire::CreateReply mCreation;
    std::unique_ptr<ShareMemoryEx> mRing;
};

/// A server whose inputs are a sound, over and over.
class InputServer {
public:
    /// @param more  arguments of the server
    InputServer(unsigned rate, unsigned channels, const std::vector<std::int16_t>& samples,
                std::vector<std::string> more = {});

    operator const RealServer&() const { return *mServer; }

private:
    TemporaryDirectory mDirectory;
    std::unique_ptr<RealServer> mServer;
};

/// `count` samples of a sound that is repeated without an end.
std::vector<std::int16_t> looped(const std::vector<std::int16_t>& samples, std::size_t count,
                                 std::size_t start = 0);

}  // namespace cabinaudio::test
