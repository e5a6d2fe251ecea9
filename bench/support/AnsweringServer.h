// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <vector>

namespace cabinaudio::bench {

/// Processes that answer on the server's socket: registrations and the requests that the benchmarks
/// make, always with success, header and body in one send. Each has one thread, serves one
/// connection at a time with blocking calls, and runs SCHED_RR at the highest priority where that
/// is permitted. Everything that is compared talks to the same program, so that only the client
/// sides differ.
///
/// Make it before any thread is started: it forks.
class AnsweringServer {
public:
    /// @param connections  how many are served at once, one process each
    explicit AnsweringServer(int connections);
    ~AnsweringServer();
    AnsweringServer(const AnsweringServer&) = delete;
    AnsweringServer& operator=(const AnsweringServer&) = delete;

private:
    std::vector<pid_t> mProcesses;
};

/// What the ring of a created stream holds, and its step: 16 ms of two channels at 48 kHz.
constexpr unsigned RING_BYTES = 64 * 1024;
constexpr int PER_LOOP_BYTES = 3072;
constexpr int PER_LOOP_MS = 16;
constexpr int PER_LOOP_SAMPLES = 768;

/// Where a ring in physical memory lies that a connection of this type is told of: a sink's or an
/// uplink's, announced with the answer to its start. Nobody fills it or empties it.
constexpr std::uint32_t ringAddress(std::uint32_t connectType) {
    return 0x100'0000 + connectType * 0x10'0000;
}

}  // namespace cabinaudio::bench
