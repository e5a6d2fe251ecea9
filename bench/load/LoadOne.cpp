// SPDX-License-Identifier: Apache-2.0
// load-one LIBRARY: loads it and prints the time taken in nanoseconds.
#include "bench/support/Clock.h"

#include <dlfcn.h>

#include <iostream>

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    const std::uint64_t before = cabinaudio::bench::nowNs();
    void* const library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    const std::uint64_t time = cabinaudio::bench::nowNs() - before;
    if (library == nullptr) {
        std::cerr << dlerror() << "\n";
        return 1;
    }
    std::cout << time << "\n";
    return 0;
}
