// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioTypes.h>

#include "tests/server/RawClient.h"
#include "wire/Ring.h"

#include <sys/types.h>

#include <functional>
#include <optional>
#include <ostream>
#include <string>

namespace cabinaudio::test {

/// A kind of stream, by its ring and by who writes into it.
struct RingUser {
    const char* name;
    audio_connect_type type;
    AudioTagType tag;
    bool isCapture;
    bool isPhysical;

    friend std::ostream& operator<<(std::ostream& out, const RingUser& user) {
        return out << user.name;
    }
};

/// A client without the library that maps its ring's header and treats it badly.
class HostileRing {
public:
    /// Registers, creates the stream, starts a capture and waits for the announcement of a physical
    /// ring. Throws std::runtime_error when that does not work.
    HostileRing(const RingUser& user, const std::string& name,
                const AudioFormatDesc& format = pcm(16000, 1, 16));
    ~HostileRing();
    HostileRing(const HostileRing&) = delete;
    HostileRing& operator=(const HostileRing&) = delete;

    [[nodiscard]] RawClient& client() { return *mClient; }
    [[nodiscard]] wire::RingHeader& header() const { return *mHeader; }
    void start();
    /// The client goes; its mapping of the ring stays.
    void leave() { mClient.reset(); }

    /// Whether a thread of the server counts as a sleeper on this ring's semaphore.
    [[nodiscard]] bool hasSleeper() const;
    /// Posts once, as if something had been read or written.
    void post() const;
    /// Moves the write offset and posts.
    void pretendToHaveWritten(std::uint32_t bytes) const;
    /// No more than this is left of the object's memory; an access of this process beyond it ends
    /// the process.
    void cut(off_t length = 0) const;
    void restore() const;

private:
    [[nodiscard]] wire::SemaphoreSlot& slot() const;

    const RingUser& mUser;
    std::optional<RawClient> mClient;
    int mObject = -1;
    off_t mLength = 0;
    wire::RingHeader* mHeader = nullptr;
};

/// Another process that does one thing without an end, until it is destroyed.
class EndlessProcess {
public:
    explicit EndlessProcess(const std::function<void()>& action);
    ~EndlessProcess();
    EndlessProcess(const EndlessProcess&) = delete;
    EndlessProcess& operator=(const EndlessProcess&) = delete;

    /// Waits until it was done so many times more, or the process has ended.
    void waitFor(unsigned times) const;

private:
    unsigned* mCount;  // in memory that both processes share
    pid_t mProcess;
};

}  // namespace cabinaudio::test
