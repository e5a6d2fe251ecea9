// SPDX-License-Identifier: Apache-2.0
//
// The same as one of the fuzzer's programs, on every platform and without the fuzzer: the inputs
// that corpus/ keeps, variations of them, and pseudo-random ones. Each run takes the same inputs.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t LONGEST = 256;

void run(const Bytes& bytes) {
    // A block of its own, so that no byte behind it is read unnoticed.
    const std::vector<std::uint8_t> input(bytes);
    EXPECT_EQ(LLVMFuzzerTestOneInput(input.data(), input.size()), 0);
}

/// The expanded inputs, in an order that does not depend on the file system.
std::vector<Bytes> corpus() {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(CABINAUDIO_FUZZ_CORPUS))
        files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    std::vector<Bytes> all;
    for (const auto& file : files) {
        std::ifstream in(file, std::ios::binary);
        all.emplace_back(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    return all;
}

int rounds() {
    const char* const wanted = std::getenv("CABINAUDIO_FUZZ_ROUNDS");
    return wanted != nullptr ? std::atoi(wanted) : CABINAUDIO_FUZZ_ROUNDS;
}

/// An input with a few bytes changed, inserted, removed, or copied from another input.
Bytes variation(const std::vector<Bytes>& all, std::mt19937& random) {
    Bytes bytes = all[random() % all.size()];
    for (std::uint32_t changes = 1 + random() % 4; changes != 0; --changes) {
        const std::size_t at = bytes.empty() ? 0 : random() % bytes.size();
        const auto place = bytes.begin() + static_cast<std::ptrdiff_t>(at);
        const auto byte = static_cast<std::uint8_t>(random() >> 24);
        const std::uint32_t choice = random() % 4;
        if (choice == 0 || bytes.empty())
            bytes.insert(place, byte);
        else if (choice == 1)
            bytes.erase(place);
        else if (choice == 2)
            *place = byte;
        else if (const Bytes& other = all[random() % all.size()]; !other.empty())
            std::copy_n(other.begin(), std::min(other.size(), bytes.size() - at), place);
    }
    return bytes;
}

TEST(Corpus, FindsNothing) {
    const std::vector<Bytes> all = corpus();
    ASSERT_GE(all.size(), 5U);
    for (const Bytes& bytes : all)
        run(bytes);
}

TEST(Variations, FindNothing) {
    const std::vector<Bytes> all = corpus();
    std::mt19937 random(20251121);
    for (int i = 0; i < rounds(); ++i)
        run(variation(all, random));
}

TEST(PseudoRandomInputs, FindNothing) {
    std::mt19937 random(20251122);
    for (int i = 0; i < rounds(); ++i) {
        Bytes bytes(random() % LONGEST);
        for (std::uint8_t& byte : bytes)
            byte = static_cast<std::uint8_t>(random() >> 24);
        run(bytes);
    }
}

}  // namespace
