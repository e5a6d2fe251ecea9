// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

/// This program's own definitions of the platform functions below the ring: they pass every call
/// on, unless a test has something else in mind, and take notes. "mmap", "ftruncate", "fallocate",
/// "fstatvfs" and "open" also stand for the functions of 64-bit offsets.
namespace cabinaudio::test {

/// Makes one call of one platform function fail, on any thread; one at a time.
class Failing {
public:
    /// @param function  must live as long as the object
    /// @param passed    calls of it that still work before
    Failing(const char* function, int error, unsigned passed = 0);
    ~Failing();
    Failing(const Failing&) = delete;
    Failing& operator=(const Failing&) = delete;

    /// Whether that call has come.
    [[nodiscard]] bool happened() const;
};

/// Does something else just before one call of "fallocate" or "shm_unlink", on that call's thread;
/// one at a time.
class Before {
public:
    /// @param function  must live as long as the object
    Before(const char* function, std::function<void()> action);
    ~Before();
    Before(const Before&) = delete;
    Before& operator=(const Before&) = delete;

    /// Whether that call has come.
    [[nodiscard]] bool happened() const;
};

/// A file system of another size than the real one; one at a time.
class Room {
public:
    /// @param blocks  that it has, 0: it has no limit
    /// @param free    of them
    Room(std::uint64_t blocks, std::uint64_t free, unsigned long blockSize = 4096);
    ~Room();
    Room(const Room&) = delete;
    Room& operator=(const Room&) = delete;
};

/// One call of a platform function, with its numbers.
struct Call {
    const char* function;
    std::uint64_t first;   // open, shm_open: flags; ftruncate, fallocate, mmap, munmap: length;
                           // ioctl: request
    std::uint64_t second;  // mmap: offset; shm_open: access rights; ioctl: start of the range
    std::uint64_t third;   // munmap: address; ioctl: length of the range
};

/// What this thread calls for as long as the object lives; one at a time.
class Calls {
public:
    Calls();
    ~Calls();
    Calls(const Calls&) = delete;
    Calls& operator=(const Calls&) = delete;

    [[nodiscard]] std::vector<Call> all() const;
    [[nodiscard]] std::vector<Call> of(std::string_view function) const;
};

/// While it lives, this thread's shared mappings lie between pages that nobody may touch: one
/// before and, where addresses are plentiful, 4 GiB behind. They stay reserved for the process's
/// life when the mapping goes.
class GuardedMappings {
public:
    GuardedMappings();
    ~GuardedMappings();
    GuardedMappings(const GuardedMappings&) = delete;
    GuardedMappings& operator=(const GuardedMappings&) = delete;
};

}  // namespace cabinaudio::test
