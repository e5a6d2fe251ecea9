// SPDX-License-Identifier: Apache-2.0
#include "tests/support/ServerRing.h"

namespace cabinaudio::test {

std::unique_ptr<ShareMemoryEx> posixRing(const char* name, unsigned size) {
    return std::make_unique<ShareMemoryEx>(SHM_TYPE_POSIX_SHM, name, nullptr, size,
                                           SHM_MODE_CREATOR, nullptr);
}

std::unique_ptr<ShareMemoryEx> physicalRing(const char* name, unsigned size, unsigned address) {
    return std::make_unique<ShareMemoryEx>(
        SHM_TYPE_PHYS_MEM, name, reinterpret_cast<const unsigned char*>(std::uintptr_t{address}),
        size, SHM_MODE_CREATOR, nullptr);
}

bool put(ShareMemoryEx& ring, const Bytes& bytes) {
    const auto size = static_cast<unsigned>(bytes.size());
    return ring.getFreeSize() >= size &&
           ring.write(bytes.data(), size) == static_cast<int>(bytes.size());
}

Bytes pattern(std::size_t count, unsigned start) {
    Bytes bytes(count);
    for (std::size_t i = 0; i < count; ++i)
        bytes[i] = static_cast<std::uint8_t>((i + start) * 31 + (i + start) / 256 + 7);
    return bytes;
}

Bytes bytesOf(std::initializer_list<std::uint32_t> words) {
    Bytes bytes;
    for (const std::uint32_t word : words)
        for (int shift = 0; shift < 32; shift += 8)
            bytes.push_back(static_cast<std::uint8_t>(word >> shift));
    return bytes;
}

}  // namespace cabinaudio::test
