// SPDX-License-Identifier: Apache-2.0
// The ring against a simple model, with random operations. A failure prints what repeats it.
#include "tests/shm/RingFixture.h"

#include <cstdlib>
#include <random>

namespace cabinaudio::test {
namespace {

/// The ring as it is specified: counts modulo the size, byte by byte.
class Model {
public:
    explicit Model(std::uint32_t size) : mBytes(size) {}

    [[nodiscard]] std::uint32_t size() const { return static_cast<std::uint32_t>(mBytes.size()); }
    [[nodiscard]] std::uint32_t used() const {
        return mRead <= mWrite ? mWrite - mRead : size() + mWrite - mRead;
    }
    [[nodiscard]] std::uint32_t free() const { return size() - 1 - used(); }
    [[nodiscard]] std::uint32_t readOffset() const { return mRead; }
    [[nodiscard]] std::uint32_t writeOffset() const { return mWrite; }
    [[nodiscard]] std::uint32_t inOnePiece() const {
        return mRead <= mWrite ? mWrite - mRead : size() - mRead;
    }
    [[nodiscard]] unsigned char at(std::uint32_t offset) const { return mBytes[offset]; }

    void setReadOffset(std::uint32_t offset) { mRead = offset; }
    void setWriteOffset(std::uint32_t offset) { mWrite = offset; }

    std::uint32_t write(const std::vector<unsigned char>& bytes, std::uint32_t count) {
        const std::uint32_t taken = std::min(count, free());
        for (std::uint32_t i = 0; i < taken; ++i) {
            mBytes[mWrite] = bytes[i];
            mWrite = (mWrite + 1) % size();
        }
        return taken;
    }
    std::vector<unsigned char> read(std::uint32_t count) {
        std::vector<unsigned char> bytes(std::min(count, used()));
        for (unsigned char& byte : bytes) {
            byte = mBytes[mRead];
            mRead = (mRead + 1) % size();
        }
        return bytes;
    }

private:
    std::vector<unsigned char> mBytes;
    std::uint32_t mRead = 0;
    std::uint32_t mWrite = 0;
};

class RandomlyUsedRing : public RingFixture,
                         public ::testing::WithParamInterface<std::tuple<bool, std::uint32_t>> {
protected:
    const std::uint32_t size = std::get<1>(GetParam());
    std::unique_ptr<ShareMemoryEx> ring = either(std::get<0>(GetParam()), size);
    Model model{size};
    std::mt19937 random;

    std::uint32_t below(std::uint32_t end) { return static_cast<std::uint32_t>(random() % end); }
    std::uint32_t someLength() { return below(4) == 0 ? below(2 * size + 2) : below(size / 4 + 2); }

    void doWrite() {
        const std::uint32_t count = someLength();
        const auto bytes = pattern(count, below(256));
        ASSERT_EQ(ring->write(bytes.data(), count), static_cast<int>(model.write(bytes, count)));
    }
    void doRead() {
        std::vector<unsigned char> bytes(someLength());
        const auto count = static_cast<std::uint32_t>(bytes.size());
        bytes.resize(static_cast<std::size_t>(ring->read(bytes.data(), count)));
        ASSERT_EQ(bytes, model.read(count));
    }
    void doReadInPlace() {
        audio_buffer_provider_t buffer = {};
        ring->getNextBuffer(buffer);
        ASSERT_EQ(buffer.length, model.inOnePiece());
        for (std::uint32_t i = 0; i < buffer.length; ++i)
            ASSERT_EQ(buffer.data[i], model.at(model.readOffset() + i));
        buffer.length = below(buffer.length + 1);
        ring->releaseBuffer(buffer);
        model.read(buffer.length);
    }
    void doSetOffset() {
        const std::uint32_t offset = below(size);
        if (below(2) == 0) {
            ring->updateReadOffset(offset);
            model.setReadOffset(offset);
        } else {
            ring->updateWriteOffset(offset);
            model.setWriteOffset(offset);
        }
    }
    void doClear() {
        ring->clear();
        model.setReadOffset(0);
        model.setWriteOffset(0);
    }
    void doSomething() {
        const std::uint32_t choice = below(100);
        if (choice < 42) return doWrite();
        if (choice < 80) return doRead();
        if (choice < 93) return doReadInPlace();
        if (choice < 99) return doSetOffset();
        doClear();
    }
    void expectTheSame() {
        ASSERT_EQ(ring->getUsedSize(), model.used());
        ASSERT_EQ(ring->getFreeSize(), model.free());
        ASSERT_EQ(ring->getReadOffset(), model.readOffset());
        ASSERT_EQ(ring->getWriteOffset(), model.writeOffset());
    }
};

TEST_P(RandomlyUsedRing, EqualsItsModel) {
    const char* const given = std::getenv("CABINAUDIO_TEST_SEED");
    const auto seed = given != nullptr ? static_cast<std::uint32_t>(std::strtoul(given, nullptr, 0))
                                       : std::random_device()();
    random.seed(seed);
    const int steps = size > 10000 ? 500 : 4000;
    for (int step = 0; step < steps; ++step) {
        SCOPED_TRACE(::testing::Message() << "CABINAUDIO_TEST_SEED=" << seed << ", step " << step);
        doSomething();
        if (!HasFatalFailure()) expectTheSame();
        if (HasFatalFailure()) return;
    }
}

std::string nameOf(const ::testing::TestParamInfo<std::tuple<bool, std::uint32_t>>& ring) {
    return std::string(std::get<0>(ring.param) ? "Physical" : "Posix") +
           std::to_string(std::get<1>(ring.param));
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, RandomlyUsedRing,
    ::testing::Combine(::testing::Bool(), ::testing::Values(1u, 2u, 3u, 16u, 257u, 4096u, 48000u)),
    nameOf);

}  // namespace
}  // namespace cabinaudio::test
