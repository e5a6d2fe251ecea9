// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/trace/RecordHeader.h"

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

/// The file that this process, its threads and its children append records to. One call of the
/// kernel appends a whole block, so that no lock is needed.
namespace cabinaudio::recorder {

struct Piece {
    const void* data;
    std::size_t size;
};

/// What a record says apart from its bytes.
struct RecordFields {
    trace::Kind kind;
    std::uint32_t connection;
    std::uint32_t type;
    std::uint32_t function;
    std::uint64_t detail;
};

/// Opens the file that the environment names. Called once, before any other function.
void openCapture() noexcept;

/// In the child of a fork.
void noteOwnProcess() noexcept;

/// Whether this process records. False in a child that shares this process's memory (vfork).
[[nodiscard]] bool isRecording() noexcept;

/// Whether the sound is asked for, too.
[[nodiscard]] bool recordsSound() noexcept;

/// The number of a new connection; different for all processes that write the capture.
[[nodiscard]] std::uint32_t newConnectionNumber() noexcept;

/// Appends one record. After a failure nothing more is recorded, and one line on stderr says why.
/// @param time  nanoseconds since 1970
void writeRecord(const RecordFields& fields, std::uint64_t time, Piece first = {nullptr, 0},
                 Piece second = {nullptr, 0}, Piece third = {nullptr, 0}) noexcept;

/// Nanoseconds since 1970.
[[nodiscard]] std::uint64_t timeNow() noexcept;

/// One line on stderr.
void complain(const char* what) noexcept;

}  // namespace cabinaudio::recorder
