// SPDX-License-Identifier: Apache-2.0
#include "tests/contract/broken/RingObject.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace cabinaudio::broken {

namespace {

constexpr char DIRECTORY[] = "/dev/shm";

/// As the stand-in for the board names objects.
std::string prefix() {
    const char* const instance = std::getenv("CABINAUDIO_INSTANCE");
    return instance == nullptr || *instance == '\0' ? ""
                                                    : "cabinaudio." + std::string(instance) + ".";
}

/// Path of the object with the stream's name, or with the name and an address.
std::filesystem::path objectOf(const std::string& stream) {
    const std::string name = prefix() + stream;
    for (const auto& entry : std::filesystem::directory_iterator(DIRECTORY)) {
        const std::string found = entry.path().filename();
        if (found == name || found.starts_with(name + "_0x")) return entry.path();
    }
    throw std::runtime_error("no ring " + name);
}

std::uint32_t addressIn(const std::string& name) {
    const std::size_t place = name.rfind("_0x");
    if (place == std::string::npos) return 0;
    return static_cast<std::uint32_t>(std::stoul(name.substr(place + 1), nullptr, 16));
}

}  // namespace

RingObject::RingObject(const std::string& stream) {
    const std::filesystem::path path = objectOf(stream);
    mAddress = addressIn(path.filename());
    mLength = std::filesystem::file_size(path);
    const int opened = open(path.c_str(), O_RDWR | O_CLOEXEC);
    void* const at = mmap(nullptr, mLength, PROT_READ | PROT_WRITE, MAP_SHARED, opened, 0);
    close(opened);
    if (at == MAP_FAILED) throw std::runtime_error("cannot map " + path.string());
    mBegin = static_cast<std::uint8_t*>(at);
}

RingObject::~RingObject() {
    munmap(mBegin, mLength);
}

wire::RingHeader& RingObject::header() const {
    return *reinterpret_cast<wire::RingHeader*>(mBegin);
}

void RingObject::remove(const std::string& stream) {
    std::filesystem::remove(objectOf(stream));
}

}  // namespace cabinaudio::broken
