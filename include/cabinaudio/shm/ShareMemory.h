// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioExport.h>

#include <cstdint>

/// Location of a ring's data.
enum shm_type_t : std::uint32_t {
    /// Physical memory, mapped through "/dev/mem" and kept coherent through "/dev/cache".
    SHM_TYPE_PHYS_MEM = 1,
    /// Behind the header in one POSIX shared-memory object.
    SHM_TYPE_POSIX_SHM = 2,
};

/// Bits of a ring's mode.
constexpr unsigned SHM_MODE_CREATOR = 1;  ///< this side initialises the header
constexpr unsigned SHM_MODE_READER = 2;   ///< wake this side when the other side has written
constexpr unsigned SHM_MODE_WRITER = 4;   ///< wake this side when the other side has read

/// A view of readable bytes in a ring.
struct audio_buffer_provider_t {
    unsigned char* data;   ///< first readable byte
    std::uint32_t length;  ///< contiguous bytes
};

/// Receives the other side's updates of a ring.
class CABINAUDIO_API ShareMemoryUpdateNotificationCallback {
public:
    virtual ~ShareMemoryUpdateNotificationCallback() = default;

    /// Called on the ring's receiver thread, once per post by the other side, even when nothing has
    /// changed. Must not destroy the ring.
    virtual void notify() = 0;
};

struct ShareMemoryHandle;

namespace cabinaudio {
struct RingAccess;
}

/// A ring buffer of bytes for one writer and one reader, normally in two processes. One byte always
/// stays free, so a ring of S bytes holds S - 1.
///
/// Threads   One thread writes and one reads. No operation locks or blocks, except the destructor:
///           it joins the receiver thread and so waits for a notify() in progress.
/// Failure   An object that could not be mapped is inert: its operations return 0 and do nothing.
///           Mapping cannot be retried. No header value that the other side stores leads to an
///           access outside the mapping: an impossible header reads as a ring with neither data nor
///           space.
class CABINAUDIO_API ShareMemoryEx {
public:
    /// Maps or creates the ring. Failures are logged and leave the object inert.
    ///
    /// @param type      location of the data
    /// @param name      of the shared-memory object; with a physical address "_<address>" is added
    /// @param addr      physical address of the data, or null for SHM_TYPE_POSIX_SHM
    /// @param size      capacity in bytes. A client may map before the creator has written it
    ///                  into the header; the ring then has neither data nor space
    /// @param mode      SHM_MODE_* bits; READER and WRITER take effect only with a callback, and
    ///                  READER takes precedence
    /// @param callback  not owned, must outlive the object; null for no receiver thread
    ShareMemoryEx(shm_type_t type, const char* name, const unsigned char* addr, unsigned size,
                  unsigned mode, ShareMemoryUpdateNotificationCallback* callback);

    /// Joins the receiver thread, unmaps, and removes the object's name, unless a ring that this
    /// process created later on the same side (with or without SHM_MODE_CREATOR) still uses the
    /// name. The other side's mapping stays valid.
    ~ShareMemoryEx();
    ShareMemoryEx(const ShareMemoryEx&) = delete;
    ShareMemoryEx& operator=(const ShareMemoryEx&) = delete;

    /// @return the capacity in bytes, as stored by the creator
    [[nodiscard]] unsigned getTotalSize();
    /// @return bytes that can be read
    [[nodiscard]] unsigned getUsedSize();
    /// @return bytes that can be written
    [[nodiscard]] unsigned getFreeSize();
    /// @return offset of the next byte to read, as stored in the header
    [[nodiscard]] unsigned getReadOffset();
    /// @return offset of the next byte to write, as stored in the header
    [[nodiscard]] unsigned getWriteOffset();

    /// Copies out up to `len` bytes and wakes the writing side if it asked for wake-ups, even when
    /// the ring was empty. @return bytes copied
    int read(unsigned char* dst, unsigned len);

    /// Copies in up to `len` bytes, sets the update time, and wakes the reading side if it asked
    /// for wake-ups.
    /// @return bytes copied; fewer than `len` is normal when the ring is nearly full
    int write(const unsigned char* src, unsigned len);

    /// Sets the read offset after a zero-copy transfer; wakes the writing side only if it is
    /// blocked. With an offset outside the ring, the ring has neither data nor space.
    void updateReadOffset(unsigned offset);
    /// Sets the write offset after a zero-copy transfer and wakes the reading side.
    void updateWriteOffset(unsigned offset);

    /// Gives access to the readable bytes up to the end of the ring, without copying. `buffer` is
    /// unchanged when the object is inert.
    void getNextBuffer(audio_buffer_provider_t& buffer);
    /// Marks `buffer.length` bytes as read. Wakes no waiter; see updateReadOffset().
    void releaseBuffer(const audio_buffer_provider_t& buffer);

    /// Empties the ring. Only while neither side transfers data.
    void clear();

    /// Whether header and data are mapped. The three operations below may be called only if they
    /// are.
    [[nodiscard]] bool isUsable();
    /// @return time of the last write or offset update in milliseconds, clock of AudioTime::now()
    [[nodiscard]] std::uint64_t getUpdateTime();
    /// Flags that the writing side is blocked for free space. Test the free space again after
    /// setting the flag, then wait: the reading side frees space first and tests the flag
    /// afterwards.
    void setWait(bool wait);
    /// @return whether the writing side is flagged as blocked
    [[nodiscard]] bool getWait();

private:
    friend struct cabinaudio::RingAccess;

    // Set at construction.
    ShareMemoryHandle* mHandle;
};
