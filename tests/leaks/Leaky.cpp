// SPDX-License-Identifier: Apache-2.0
// Loses what its argument says, and ends as if all were well.
#include <cabinaudio/shm/ShareMemory.h>

#include <cstring>

namespace {

// The only place that knows it forgets it.
void* volatile gLost = nullptr;

void loseBlock() {
    gLost = std::memset(new char[100], 1, 100);
    gLost = nullptr;
}

void loseRing() {
    // No kind of ring: inert.
    gLost = new ShareMemoryEx(static_cast<shm_type_t>(7), "leaky", nullptr, 0, 0, nullptr);
    gLost = nullptr;
}

/// Pushes what is left of the calls off the stack.
__attribute__((noinline)) void forget() {
    volatile char wiped[4096];
    for (volatile char& byte : wiped)
        byte = 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[1], "block") == 0) loseBlock();
    if (argc > 1 && std::strcmp(argv[1], "ring") == 0) loseRing();
    forget();
    return 0;
}
