// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/shm/ShareMemory.h>

#include "wire/Ring.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace cabinaudio::test {

constexpr auto BOUND = std::chrono::seconds(60);

/// Physical address where the test rings' data lies, not at the start of a page.
constexpr std::uint32_t PHYSICAL = 0x10000040;

/// Counts the ring's notifications.
class Notifications : public ShareMemoryUpdateNotificationCallback {
public:
    void notify() override;

    [[nodiscard]] unsigned count() const;

    /// Waits until there were `times` in all. @return whether there were
    [[nodiscard]] bool waitFor(unsigned times) const;

    /// The next calls of notify() do not return before open().
    void close();
    void open();

private:
    mutable std::mutex mLock;
    mutable std::condition_variable mChanged;
    unsigned mCount = 0;
    bool mClosed = false;
};

/// A second mapping of a shared-memory object, made without the ring.
class Object {
public:
    /// @param name    as the ring has it
    /// @param length  bytes; the object must exist
    Object(const std::string& name, std::size_t length);
    ~Object();
    Object(const Object&) = delete;
    Object& operator=(const Object&) = delete;

    [[nodiscard]] wire::RingHeader& header() const;
    [[nodiscard]] unsigned char* bytes() const { return mBytes; }
    /// Bytes of the object itself, which may be fewer than are mapped.
    [[nodiscard]] std::size_t size() const { return mSize; }

    [[nodiscard]] std::vector<unsigned char> copy(std::size_t offset, std::size_t length) const;

    [[nodiscard]] static bool exists(const std::string& name);
    static void remove(const std::string& name);

private:
    unsigned char* mBytes = nullptr;
    std::size_t mLength;
    std::size_t mSize = 0;
};

/// A stretch of the board's physical memory.
class Physical {
public:
    Physical(std::uint32_t address, std::size_t length);
    ~Physical();
    Physical(const Physical&) = delete;
    Physical& operator=(const Physical&) = delete;

    [[nodiscard]] unsigned char* bytes() const { return mData; }

private:
    unsigned char* mPages = nullptr;
    unsigned char* mData = nullptr;
    std::size_t mLength;
};

/// The post counts of a header's semaphores, which both builds store alike.
[[nodiscard]] std::uint32_t postsIn(const wire::SemaphoreSlot& slot);

/// A ring's argument for a physical address.
[[nodiscard]] const unsigned char* addressOf(std::uint32_t physical);

/// `count` bytes, each different from its neighbours.
[[nodiscard]] std::vector<unsigned char> pattern(std::size_t count, unsigned start = 0);

/// Gives each test names of its own and removes its objects at the end.
class RingFixture : public ::testing::Test {
protected:
    RingFixture();
    ~RingFixture() override;

    /// A ring of type 2 under this test's name; this side is its creator.
    std::unique_ptr<ShareMemoryEx> posix(
        unsigned size, unsigned mode = SHM_MODE_CREATOR,
        ShareMemoryUpdateNotificationCallback* callback = nullptr) const;
    /// A ring of type 1 with data at PHYSICAL.
    std::unique_ptr<ShareMemoryEx> physical(
        unsigned size, unsigned mode = SHM_MODE_CREATOR,
        ShareMemoryUpdateNotificationCallback* callback = nullptr) const;

    /// A ring of either type; this side is its creator.
    std::unique_ptr<ShareMemoryEx> either(bool isPhysical, unsigned size) const {
        return isPhysical ? physical(size) : posix(size);
    }

    /// Name of the object that holds the header.
    [[nodiscard]] std::string posixName() const { return mName; }
    [[nodiscard]] std::string physicalName() const { return mName + "_0x10000040"; }
    [[nodiscard]] std::string nameOf(bool isPhysical) const {
        return isPhysical ? physicalName() : posixName();
    }

private:
    std::string mName;
};

}  // namespace cabinaudio::test
