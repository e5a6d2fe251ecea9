// SPDX-License-Identifier: Apache-2.0
// ring-instructions VARIANT CHUNK SIZE ROUNDS: repeatedly writes and reads one chunk. Run it under
// callgrind with two numbers of rounds; their difference excludes set-up. See instructions.sh.
#include "bench/ring/Called.h"
#include "bench/ring/Copies.h"
#include "bench/ring/Ours.h"
#include "bench/ring/Peers.h"
#include "bench/support/Bytes.h"

#include <android/log.h>

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace {

using namespace cabinaudio::bench;

template <typename Ring>
[[gnu::noinline]] void writeAndRead(Ring& ring, const unsigned char* src, unsigned char* dst,
                                    std::uint32_t chunk, long rounds) {
    for (long i = 0; i < rounds; ++i) {
        ring.write(src, chunk);
        ring.read(dst, chunk);
        asm volatile("" : : : "memory");
    }
}

template <typename Ring>
int run(std::uint32_t chunk, std::uint32_t size, long rounds) {
    const Bytes src(chunk, 0x5a);
    Bytes dst(chunk);
    Ring ring(size);
    writeAndRead(ring, src.data(), dst.data(), chunk, rounds);
    return src == dst ? 0 : 1;
}

struct Variant {
    std::string_view name;
    int (*run)(std::uint32_t chunk, std::uint32_t size, long rounds);
};

// "called" variants are behind functions of a shared library, as ours is.
constexpr Variant VARIANTS[] = {
    {"ours", run<Ours>},
    {"memcpy", run<Stamped<Copies>>},
    {"memcpy-called", run<Called<Copies>>},
    {"spa", run<Stamped<Spa>>},
    {"spa-called", run<Called<Spa>>},
    {"jack", run<Stamped<Jack>>},
    {"jack-called", run<Called<Jack>>},
    {"boost", run<Stamped<Boost>>},
    {"boost-called", run<Called<Boost>>},
};

}  // namespace

int main(int argc, char** argv) {
    __android_log_set_logger([](const struct __android_logger_data*, const char*) {});
    if (argc == 5)
        for (const Variant& variant : VARIANTS)
            if (variant.name == argv[1])
                return variant.run(static_cast<std::uint32_t>(std::atol(argv[2])),
                                   static_cast<std::uint32_t>(std::atol(argv[3])),
                                   std::atol(argv[4]));
    std::fprintf(stderr, "usage: ring-instructions VARIANT CHUNK SIZE ROUNDS, VARIANT one of");
    for (const Variant& variant : VARIANTS)
        std::fprintf(stderr, " %s", variant.name.data());
    std::fprintf(stderr, "\n");
    return 2;
}
