// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <vector>

namespace cabinaudio::bench {

/// Processes that answer on the server's socket: registrations and the benchmarks' requests, always
/// with success, header and body in one send. Each has one thread, serves one connection at a time
/// with blocking calls, and runs SCHED_RR at the highest priority if permitted. All compared
/// programs talk to the same server program, so only the client sides differ.
///
/// Create it before any thread is started, because it forks.
class AnsweringServer {
public:
    /// @param connections  number of simultaneous connections, one process each
    explicit AnsweringServer(int connections);
    ~AnsweringServer();
    AnsweringServer(const AnsweringServer&) = delete;
    AnsweringServer& operator=(const AnsweringServer&) = delete;

private:
    std::vector<pid_t> mProcesses;
};

/// Size of a created stream's ring, and its step: 16 ms of two channels at 48 kHz.
constexpr unsigned RING_BYTES = 64 * 1024;
constexpr int PER_LOOP_BYTES = 3072;
constexpr int PER_LOOP_MS = 16;
constexpr int PER_LOOP_SAMPLES = 768;

/// Address of the physical ring announced to a connection of this type (a sink or an uplink) with
/// the answer to its start. No process fills or drains it.
constexpr std::uint32_t ringAddress(std::uint32_t connectType) {
    return 0x100'0000 + connectType * 0x10'0000;
}

}  // namespace cabinaudio::bench
