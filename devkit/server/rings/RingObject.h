// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/clients/Client.h"
#include "wire/Ring.h"

#include <cstdint>
#include <memory>
#include <string>

namespace cabinaudio::server {

/// The shared-memory object of a ring, and a mapping of its header that is the server's own. The
/// object is new, empty and open to the server's user only: under the ring's name there may be an
/// object that another user has planted, or that belongs to another program.
class RingObject {
public:
    /// Makes the object. A ring that a killed server or client has left under the name is removed;
    /// nothing else is.
    /// @param name  without leading slashes
    /// @return the status; `object` is set when it is AUDIO_NO_ERROR, and the log has the reason
    ///         when not
    static std::int32_t make(const Client& client, const std::string& name,
                             std::unique_ptr<RingObject>& object);
    ~RingObject();
    RingObject(const RingObject&) = delete;
    RingObject& operator=(const RingObject&) = delete;

    /// Valid once the ring has given the object its length.
    [[nodiscard]] wire::RingHeader& header() const { return *mHeader; }

    /// Whether the name still stands for this object.
    [[nodiscard]] bool isNamed() const;

private:
    RingObject(std::string path, wire::RingHeader* header, std::uint64_t device,
               std::uint64_t number);

    std::string mPath;
    wire::RingHeader* mHeader;
    std::uint64_t mDevice;
    std::uint64_t mNumber;
};

}  // namespace cabinaudio::server
