// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cabinaudio/foundation/AudioStatus.h>

#include "devkit/server/clients/Client.h"
#include "devkit/server/rings/PhysicalMemory.h"
#include "devkit/server/rings/RingObject.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>

namespace cabinaudio::server {

enum class RingKind {
    Posix,     // opened by the client by its name
    Physical,  // announced to the client, which asks for its address
};

/// A ring's reserved object name and memory, both released by the destructor, and its object, whose
/// name the ring removes.
class RingPlace {
public:
    using Memory = std::optional<PhysicalMemory::Range>;
    using Names = std::set<std::string>;

    RingPlace(std::string name, std::uint32_t size, Memory memory,
              std::unique_ptr<RingObject> object, Names& names);
    RingPlace(RingPlace&&) = default;
    RingPlace& operator=(RingPlace&&) = delete;

    /// As given by the client; the base of objectName().
    [[nodiscard]] const std::string& name() const { return mName; }
    /// Bytes.
    [[nodiscard]] std::uint32_t size() const { return mSize; }
    [[nodiscard]] const RingObject& object() const { return *mObject; }
    [[nodiscard]] bool isPhysical() const { return mMemory.has_value(); }
    /// Physical address of the data, 0 for a POSIX ring.
    [[nodiscard]] std::uint32_t address() const { return mMemory ? mMemory->address() : 0; }

    /// Name of the ring's shared-memory object, without leading slashes. Two rings with the same
    /// object name would destroy each other.
    [[nodiscard]] static std::string objectName(const std::string& name, const Memory& memory);

private:
    struct Release {
        Names* names;
        void operator()(const std::string* name) const;
    };

    std::string mName;
    std::uint32_t mSize;
    Memory mMemory;
    std::unique_ptr<RingObject> mObject;
    std::unique_ptr<const std::string, Release> mObjectName;
};

/// Reserves places for the rings of all streams. Outlives the rings.
class RingPlaces {
public:
    /// @return the status; `place` is set when it is AUDIO_NO_ERROR
    std::int32_t reserve(const Client& client, RingKind kind, std::uint32_t size,
                         std::optional<RingPlace>& place);

private:
    PhysicalMemory mMemory;
    RingPlace::Names mNames;
};

/// Makes a ring of the class Ring, whose constructor takes a place and `arguments`.
/// @return the status; `ring` is set when it is AUDIO_NO_ERROR
template <typename Ring, typename... Arguments>
std::int32_t makeRing(RingPlaces& places, const Client& client, RingKind kind, std::uint32_t size,
                      std::unique_ptr<Ring>& ring, Arguments... arguments) {
    std::optional<RingPlace> place;
    const std::int32_t status = places.reserve(client, kind, size, place);
    if (status != AUDIO_NO_ERROR) return status;
    auto made = std::make_unique<Ring>(std::move(*place), arguments...);
    if (!made->isUsable()) return AUDIO_NO_MEMORY;
    ring = std::move(made);
    return AUDIO_NO_ERROR;
}

}  // namespace cabinaudio::server
