// SPDX-License-Identifier: Apache-2.0
// target-ring ours|least CHUNK ROUNDS: repeatedly writes and reads one chunk in a ring of 1 MiB.
// Runs on the target under a counting emulator; the difference between two numbers of rounds
// excludes set-up.
#include "bench/ring/Called.h"
#include "bench/ring/Copies.h"
#include "bench/ring/Ours.h"

#include <cstdlib>
#include <cstring>
#include <vector>

using namespace cabinaudio::bench;

namespace {

constexpr std::uint32_t RING_BYTES = 1 << 20;

template <typename Ring>
int run(std::uint32_t chunk, long rounds) {
    std::vector<unsigned char> src(chunk, 0x5a);
    std::vector<unsigned char> dst(chunk);
    Ring ring(RING_BYTES);
    for (long i = 0; i < rounds; ++i) {
        ring.write(src.data(), chunk);
        ring.read(dst.data(), chunk);
    }
    return src == dst ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) return 2;
    const auto chunk = static_cast<std::uint32_t>(std::atol(argv[2]));
    const long rounds = std::atol(argv[3]);
    return std::strcmp(argv[1], "ours") == 0 ? run<Ours>(chunk, rounds)
                                             : run<Called<Copies>>(chunk, rounds);
}
