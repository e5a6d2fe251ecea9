// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/rings/MemoryFault.h"

#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>

namespace cabinaudio::server::memory_fault {
namespace {

// The handler runs on the thread that faulted.
thread_local volatile std::sig_atomic_t happened = 0;
std::uintptr_t pageSize;

#ifdef SYS_mmap2
constexpr long MAP = SYS_mmap2;
#else
constexpr long MAP = SYS_mmap;
#endif

/// The plain system call is async-signal-safe. The thread sanitizer would report the C library's
/// mmap as a write of the whole page, racing with the ring's other thread. syscall(2) takes each
/// argument in the width of a register.
bool mapZeros(std::uintptr_t page) {
    constexpr long RIGHTS = PROT_READ | PROT_WRITE;
    constexpr long FLAGS = MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED;
    constexpr long NO_FILE = -1;
    constexpr long OFFSET = 0;
    return syscall(MAP, page, pageSize, RIGHTS, FLAGS, NO_FILE, OFFSET) != -1;
}

/// The interrupted access is repeated after the return and then succeeds.
void replacePage(int signal, siginfo_t* info, void*) {
    const auto page = reinterpret_cast<std::uintptr_t>(info->si_addr) & ~(pageSize - 1);
    if (info->si_code != BUS_ADRERR || !mapZeros(page)) {
        std::signal(signal, SIG_DFL);  // the repeated access ends the process
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
