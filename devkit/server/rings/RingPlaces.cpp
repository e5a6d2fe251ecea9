// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/rings/RingPlaces.h"

#include <cabinaudio/foundation/AudioStatus.h>

#include "devkit/server/base/Log.h"
#include "devkit/server/base/Text.h"

#include <cstdio>
#include <utility>

namespace cabinaudio::server {
namespace {

/// The physical memory and objects of other instances lie in the same directory.
bool isReserved(const std::string& object) {
    return object.empty() || object.starts_with("cabinaudio-physmem") ||
           object.starts_with("cabinaudio.");
}

}  // namespace

RingPlace::RingPlace(std::string name, std::uint32_t size, Memory memory,
                     std::unique_ptr<RingObject> object, Names& names)
    : mName(std::move(name)),
      mSize(size),
      mMemory(std::move(memory)),
      mObject(std::move(object)),
      mObjectName(new std::string(objectName(mName, mMemory)), Release{&names}) {
    names.insert(*mObjectName);
}

void RingPlace::Release::operator()(const std::string* name) const {
    names->erase(*name);
    delete name;
}

std::string RingPlace::objectName(const std::string& name, const Memory& memory) {
    char text[64];  // the library cuts it to this length
    if (memory)
        std::snprintf(text, sizeof text, "%s_0x%x", name.c_str(), memory->address());
    else
        std::snprintf(text, sizeof text, "%s", name.c_str());
    const std::string object = text;
    const auto start = object.find_first_not_of('/');
    return start == std::string::npos ? std::string() : object.substr(start);
}

std::int32_t RingPlaces::reserve(const Client& client, RingKind kind, std::uint32_t size,
                                 std::optional<RingPlace>& place) {
    RingPlace::Memory memory;
    if (kind == RingKind::Physical) {
        memory = mMemory.allocate(size);
        if (!memory) return AUDIO_NO_MEMORY;
    }
    const std::string object = RingPlace::objectName(client.name(), memory);
    if (isReserved(object)) {
        log::warning("%s: no ring can have this name", client.title().c_str());
        return AUDIO_BAD_VALUE;
    }
    if (mNames.contains(object)) {
        log::warning("%s: refused, there is a ring \"%s\" already", client.title().c_str(),
                     printable(object).c_str());
        return AUDIO_INVALID_OPERATION;
    }
    std::unique_ptr<RingObject> made;
    const std::int32_t status = RingObject::make(client, object, made);
    if (status == AUDIO_NO_ERROR)
        place.emplace(client.name(), size, std::move(memory), std::move(made), mNames);
    return status;
}

}  // namespace cabinaudio::server
