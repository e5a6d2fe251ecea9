// SPDX-License-Identifier: Apache-2.0
//
// A ring whose other side writes anything into the header between any two operations. Pages that
// nobody may touch lie around the mappings.
#include <cabinaudio/shm/ShareMemory.h>

#include "tests/fuzz/Demand.h"
#include "tests/fuzz/Input.h"
#include "tests/hostile/GuardedMappings.h"
#include "wire/Ring.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <memory>

namespace cabinaudio::fuzz {
namespace {

constexpr std::uint32_t ADDRESS = 0x200040;

/// A ring, and the header as the other side has it.
class ScribbledRing {
public:
    ScribbledRing(shm_type_t type, std::uint32_t length)
        : mLength(length), mRing(make(type, length)), mHeader(headerOf(type)) {}

    void operate(Input& input) {
        const std::uint8_t choice = input.byte();
        switch (choice % 12) {
            case 0:
                mHeader->size = number(input);
                break;
            case 1:
                mHeader->readOffset = number(input);
                break;
            case 2:
                mHeader->writeOffset = number(input);
                break;
            case 3:
            case 4:
                move(number(input), true);
                break;
            case 5:
            case 6:
                move(number(input), false);
                break;
            case 7:
                look(input);
                break;
            case 8:
                mRing->updateReadOffset(number(input));
                break;
            case 9:
                mRing->updateWriteOffset(number(input));
                break;
            case 10:
                ask();
                break;
            default:
                mRing->clear();
                mHeader->size = mLength;
        }
    }

private:
    static std::unique_ptr<ShareMemoryEx> make(shm_type_t type, std::uint32_t length) {
        const test::EveryMappingGuarded guarded;
        const auto address = type == SHM_TYPE_PHYS_MEM ? std::uintptr_t{ADDRESS} : 0;
        return std::make_unique<ShareMemoryEx>(type, "fuzzring",
                                               reinterpret_cast<const unsigned char*>(address),
                                               length, SHM_MODE_CREATOR, nullptr);
    }
    static wire::RingHeader* headerOf(shm_type_t type) {
        const char* const name = type == SHM_TYPE_PHYS_MEM ? "/fuzzring_0x200040" : "/fuzzring";
        const int fd = shm_open(name, O_RDWR, 0);
        void* const at =
            mmap(nullptr, sizeof(wire::RingHeader), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
        close(fd);
        demand(at != MAP_FAILED, "the ring is there");
        return static_cast<wire::RingHeader*>(at);
    }

    /// Mostly one at a limit.
    [[nodiscard]] std::uint32_t number(Input& input) const {
        const std::uint32_t limits[] = {0,           1,           63,          64,
                                        mLength - 1, mLength,     mLength + 1, 2 * mLength,
                                        0x7fffffff,  0x80000000U, 0xffffffffU};
        const std::uint8_t choice = input.byte();
        if (choice < 128) return limits[choice % std::size(limits)];
        return choice < 224 ? input.number<std::uint16_t>() : input.number<std::uint32_t>();
    }

    void move(std::uint32_t count, bool writes) {
        // As long as asked for, where that is not absurd; no ring gives more than its length.
        const std::size_t room = std::min(count, 4 * mLength);
        const auto bytes = std::make_unique<unsigned char[]>(room);
        const int moved =
            writes ? mRing->write(bytes.get(), count) : mRing->read(bytes.get(), count);
        demand(moved >= 0 && static_cast<std::uint32_t>(moved) <= std::min(count, mLength - 1),
               "no more is moved than a ring holds");
    }

    /// Every byte of the view, and gives it back.
    void look(Input& input) {
        audio_buffer_provider_t view = {nullptr, 0};
        mRing->getNextBuffer(view);
        demand(view.data != nullptr && view.length <= mLength, "a view lies in the ring");
        for (std::uint32_t i = 0; i < view.length; ++i)
            mSum = mSum + view.data[i];
        if (input.flag()) view.length = number(input);
        mRing->releaseBuffer(view);
    }

    void ask() {
        demand(mRing->getUsedSize() < mLength && mRing->getFreeSize() < mLength,
               "neither data nor space exceed the ring");
        mSum = mSum + mRing->getTotalSize() + mRing->getReadOffset() + mRing->getWriteOffset();
        mSum = mSum + static_cast<unsigned>(mRing->getUpdateTime());
        mRing->setWait(!mRing->getWait());
    }

    std::uint32_t mLength;
    std::unique_ptr<ShareMemoryEx> mRing;
    wire::RingHeader* mHeader;
    volatile unsigned mSum = 0;
};

}  // namespace
}  // namespace cabinaudio::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace cabinaudio::fuzz;
    // Data that ends with a page.
    static ScribbledRing posix(SHM_TYPE_POSIX_SHM, 4096 - 64);
    static ScribbledRing physical(SHM_TYPE_PHYS_MEM, 4096 - 64);
    Input input(data, size);
    ScribbledRing& ring = input.flag() ? physical : posix;
    while (!input.empty())
        ring.operate(input);
    return 0;
}
