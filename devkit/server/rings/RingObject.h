// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/server/clients/Client.h"
#include "wire/Ring.h"

#include <cstdint>
#include <memory>
#include <string>

namespace cabinaudio::server {

/// A ring's shared-memory object, and the server's own mapping of its header. The object is always
/// new, empty and accessible to the server's user only: the ring's name may already belong to an
/// object that another user has planted or another program uses.
class RingObject {
public:
    /// Creates the object. Removes an object of that name only if it is a ring left by a killed
    /// server or client.
    /// @param name  without leading slashes
    /// @return the status; `object` is set when it is AUDIO_NO_ERROR, otherwise the reason is
    ///         logged
    static std::int32_t make(const Client& client, const std::string& name,
                             std::unique_ptr<RingObject>& object);
    ~RingObject();
    RingObject(const RingObject&) = delete;
    RingObject& operator=(const RingObject&) = delete;

    /// Valid once the ring has set the object's length.
    [[nodiscard]] wire::RingHeader& header() const { return *mHeader; }

    /// Whether the name still refers to this object.
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
