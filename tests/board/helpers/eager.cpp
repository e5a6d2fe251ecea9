// SPDX-License-Identifier: Apache-2.0
// A library that uses the board as soon as it is loaded.
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

__attribute__((constructor)) static void makeObject() {
    close(shm_open("made-early", O_RDWR | O_CREAT, 0600));
}
