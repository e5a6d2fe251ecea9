// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "wire/Ring.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace cabinaudio::broken {

/// The object of a stream's ring, found by the stream's name and mapped a second time.
class RingObject {
public:
    /// @throws std::runtime_error when there is none
    explicit RingObject(const std::string& stream);
    ~RingObject();
    RingObject(const RingObject&) = delete;
    RingObject& operator=(const RingObject&) = delete;

    /// Address of the ring in physical memory; 0 for a ring that lies in the object.
    [[nodiscard]] std::uint32_t address() const { return mAddress; }
    [[nodiscard]] wire::RingHeader& header() const;
    /// Any byte of the object's pages.
    [[nodiscard]] std::uint8_t& byte(std::size_t offset) const { return mBegin[offset]; }

    /// Removes the object's name.
    static void remove(const std::string& stream);

private:
    std::uint32_t mAddress = 0;
    std::uint8_t* mBegin = nullptr;
    std::size_t mLength = 0;
};

}  // namespace cabinaudio::broken
