// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/contract/Bytes.h"
#include "devkit/contract/Session.h"
#include "wire/Ring.h"

#include <cstdint>
#include <memory>
#include <string>

namespace cabinaudio::contract {

/// The client's end of a ring, mapped without the client library.
class Ring {
public:
    /// Waits until the server has made the ring. @throws Broken when it does not
    [[nodiscard]] static Ring inObject(const Session& session, const std::string& name,
                                       std::uint32_t size);
    [[nodiscard]] static Ring inMemory(const Session& session, const std::string& name,
                                       std::uint32_t address, std::uint32_t size);
    /// Name of the object with the header of a ring in physical memory.
    [[nodiscard]] static std::string headerName(const std::string& name, std::uint32_t address);
    /// Whether an object of this name exists.
    [[nodiscard]] static bool exists(const std::string& name);

    [[nodiscard]] wire::RingHeader& header() const { return *mHeader; }
    [[nodiscard]] std::uint32_t size() const { return mSize; }
    [[nodiscard]] const std::string& object() const { return mObject; }

    /// Offsets as the other side sees them; loaded once.
    [[nodiscard]] std::uint32_t readOffset() const;
    [[nodiscard]] std::uint32_t writeOffset() const;
    [[nodiscard]] std::uint32_t used() const;
    /// Count of a semaphore's slot.
    [[nodiscard]] static std::uint32_t posts(wire::SemaphoreSlot& slot);

    /// Adds silence. @param count  at most size() - 1 - used()
    void writeSilence(std::uint32_t count);
    /// Takes bytes out. @param count  at most used()
    [[nodiscard]] Bytes read(std::uint32_t count);

    /// The rest of the last page behind a ring in an object, where nothing must be written.
    [[nodiscard]] std::uint8_t* behind() const;
    [[nodiscard]] std::size_t behindSize() const;

private:
    struct Unmap {
        std::size_t length;
        void operator()(std::uint8_t* at) const;
    };
    using Mapping = std::unique_ptr<std::uint8_t, Unmap>;

    Ring() = default;
    [[nodiscard]] static Mapping mapped(int descriptor, std::size_t length, std::uint64_t offset);
    void keepCache(unsigned long request, std::uint32_t offset, std::uint32_t count) const;

    std::string mObject;
    Mapping mHeaderPages;
    Mapping mDataPages;                 // of a ring in physical memory
    std::shared_ptr<const int> mCache;  // the device that keeps the processor's cache in step
    wire::RingHeader* mHeader = nullptr;
    std::uint8_t* mData = nullptr;
    std::uint32_t mSize = 0;
};

}  // namespace cabinaudio::contract
