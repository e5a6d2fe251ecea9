// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/MemoryFault.h"

#include <sys/mman.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>

namespace cabinaudio::server::memory_fault {
namespace {

// The handler runs on the thread that stumbled.
thread_local volatile std::sig_atomic_t happened = 0;
std::uintptr_t pageSize;

// Async-signal-safe: mmap is a bare system call here. The interrupted access is tried again after
// the return and then succeeds.
void replacePage(int signal, siginfo_t* info, void*) {
    const auto page = reinterpret_cast<std::uintptr_t>(info->si_addr) & ~(pageSize - 1);
    if (info->si_code != BUS_ADRERR ||
        mmap(reinterpret_cast<void*>(page), pageSize, PROT_READ | PROT_WRITE,
             MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) == MAP_FAILED) {
        std::signal(signal, SIG_DFL);  // the access is tried again and ends the process
    }
    happened = 1;
}

}  // namespace

void install() {
    pageSize = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    struct sigaction action = {};
    action.sa_sigaction = replacePage;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGBUS, &action, nullptr);
}

bool take() {
    const bool result = happened != 0;
    happened = 0;
    return result;
}

}  // namespace cabinaudio::server::memory_fault
