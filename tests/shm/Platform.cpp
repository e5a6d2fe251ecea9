// SPDX-License-Identifier: Apache-2.0
#include "tests/shm/Platform.h"

#include "tests/interpose/Files.h"
#include "tests/interpose/Threads.h"
#include "tests/interpose/Waits.h"

#include <sys/mman.h>
#include <sys/syscall.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <utility>

namespace cabinaudio::test {
namespace {

struct Failure {
    const char* function;
    int error;
    std::atomic<unsigned> passed;
};
constinit Failure gFailure{};
constinit std::atomic<bool> gArmed{false};

constinit const char* gInterrupted = nullptr;
constinit std::function<void()>* gAction = nullptr;
constinit std::atomic<bool> gInterrupts{false};

struct FileSystem {
    std::uint64_t blocks;
    std::uint64_t free;
    unsigned long blockSize;
};
constinit FileSystem gFileSystem{};
constinit std::atomic<bool> gHasFileSystem{false};

constexpr std::size_t MOST_CALLS = 512;
struct Notes {
    Call calls[MOST_CALLS];
    std::size_t count;
};
constinit thread_local Notes* tNotes = nullptr;
constinit thread_local bool tGuarded = false;

bool takeFailure(const char* function) {
    if (!gArmed.load(std::memory_order_acquire)) return false;
    if (std::strcmp(gFailure.function, function) != 0) return false;
    if (gFailure.passed.fetch_sub(1) != 0) return false;
    errno = gFailure.error;
    gArmed.store(false, std::memory_order_release);
    return true;
}

void interrupt(const char* function) {
    if (!gInterrupts.load(std::memory_order_acquire)) return;
    if (std::strcmp(gInterrupted, function) == 0 && gInterrupts.exchange(false)) (*gAction)();
}

void note(const char* function, std::uint64_t first, std::uint64_t second = 0,
          std::uint64_t third = 0) {
    if (tNotes == nullptr || tNotes->count == MOST_CALLS) return;
    tNotes->calls[tNotes->count++] = {function, first, second, third};
}

void* map(void* address, std::size_t length, int protection, int flags, int fd, off64_t offset) {
    const bool shared = (flags & MAP_SHARED) != 0 && fd >= 0;
    if (shared) note("mmap", length, static_cast<std::uint64_t>(offset));
    if (shared && takeFailure("mmap")) return MAP_FAILED;
    if (shared && tGuarded && length != 0)
        return platform::mapBetweenGuards(length, protection, flags, fd, offset);
    return platform::mmap.real(address, length, protection, flags, fd, offset);
}
const Hooked MAP(platform::mmap, map);

int unmap(void* address, std::size_t length) {
    note("munmap", length, 0, reinterpret_cast<std::uintptr_t>(address));
    if (takeFailure("munmap")) return -1;
    return platform::munmap.real(address, length);
}
const Hooked UNMAP(platform::munmap, unmap);

int truncate(int fd, off64_t length) {
    note("ftruncate", static_cast<std::uint64_t>(length));
    if (takeFailure("ftruncate")) return -1;
    return platform::ftruncate.real(fd, length);
}
const Hooked TRUNCATE(platform::ftruncate, truncate);

int reserve(int fd, int mode, off64_t offset, off64_t length) {
    interrupt("fallocate");
    note("fallocate", static_cast<std::uint64_t>(length));
    if (takeFailure("fallocate")) return -1;
    return platform::fallocate.real(fd, mode, offset, length);
}
const Hooked RESERVE(platform::fallocate, reserve);

int describeFileSystem(int fd, struct statvfs64* system) {
    if (takeFailure("fstatvfs")) return -1;
    const int result = platform::fstatvfs.real(fd, system);
    if (!gHasFileSystem) return result;
    system->f_blocks = gFileSystem.blocks;
    system->f_bfree = system->f_bavail = gFileSystem.free;
    system->f_frsize = gFileSystem.blockSize;
    return 0;
}
const Hooked DESCRIBE_FILE_SYSTEM(platform::fstatvfs, describeFileSystem);

int openFile(const char* path, int flags, mode_t rights) {
    note("open", static_cast<std::uint64_t>(flags));
    if (std::strncmp(path, "/dev/", 5) == 0 && takeFailure("open")) return -1;
    return platform::open.real(path, flags, rights);
}
const Hooked OPEN_FILE(platform::open, openFile);

int openObject(const char* name, int flags, mode_t rights) {
    note("shm_open", static_cast<std::uint64_t>(flags), rights);
    if (takeFailure("shm_open")) return -1;
    return platform::shm_open.real(name, flags, rights);
}
const Hooked OPEN_OBJECT(platform::shm_open, openObject);

int unlinkObject(const char* name) {
    interrupt("shm_unlink");
    return platform::shm_unlink.real(name);
}
const Hooked UNLINK_OBJECT(platform::shm_unlink, unlinkObject);

bool failsCacheRequest(unsigned long request, const void* argument) {
    if (request != 0x40084303 && request != 0x40084304) return false;
    std::uint32_t range[2];
    std::memcpy(range, argument, sizeof(range));
    note("ioctl", request, range[0], range[1]);
    return takeFailure("ioctl");
}

int control(int fd, unsigned long request, void* argument) {
    if (failsCacheRequest(request, argument)) return -1;
    return platform::ioctl.real(fd, request, argument);
}
const Hooked CONTROL(platform::ioctl, control);

int createThread(pthread_t* thread, const pthread_attr_t* attr, void* (*entry)(void*),
                 void* argument) {
    if (takeFailure("pthread_create")) return errno;
    return platform::pthread_create.real(thread, attr, entry, argument);
}
const Hooked CREATE_THREAD(platform::pthread_create, createThread);

#if __WORDSIZE == 32
// The ring's semaphores are the platform's own.

int initSemaphore(sem_t* semaphore, int shared, unsigned value) {
    if (takeFailure("sem_init")) return -1;
    return platform::sem_init.real(semaphore, shared, value);
}
const Hooked INIT_SEMAPHORE(platform::sem_init, initSemaphore);

int destroySemaphore(sem_t* semaphore) {
    if (takeFailure("sem_destroy")) return -1;
    return platform::sem_destroy.real(semaphore);
}
const Hooked DESTROY_SEMAPHORE(platform::sem_destroy, destroySemaphore);

int waitForSemaphore(sem_t* semaphore) {
    if (takeFailure("sem_wait")) return -1;
    return platform::sem_wait.real(semaphore);
}
const Hooked WAIT_FOR_SEMAPHORE(platform::sem_wait, waitForSemaphore);

#else
// The ring's semaphores wait in the kernel; a failure of that is one of sem_wait.

long callSystem(long number, long a, long b, long c, long d, long e, long f) {
    constexpr long FUTEX_WAIT_SHARED = 0;  // FUTEX_WAIT, between processes
    if (number == SYS_futex && b == FUTEX_WAIT_SHARED && takeFailure("sem_wait")) return -1;
    return platform::syscall.real(number, a, b, c, d, e, f);
}
const Hooked CALL_SYSTEM(platform::syscall, callSystem);

#endif

}  // namespace

Failing::Failing(const char* function, int error, unsigned passed) {
    gFailure.function = function;
    gFailure.error = error;
    gFailure.passed = passed;
    gArmed = true;
}

Failing::~Failing() {
    gArmed = false;
}

bool Failing::happened() const {
    return !gArmed;
}

Before::Before(const char* function, std::function<void()> action) {
    gInterrupted = function;
    gAction = new std::function<void()>(std::move(action));
    gInterrupts = true;
}

Before::~Before() {
    gInterrupts = false;
    delete gAction;
}

bool Before::happened() const {
    return !gInterrupts;
}

Room::Room(std::uint64_t blocks, std::uint64_t free, unsigned long blockSize) {
    gFileSystem = {blocks, free, blockSize};
    gHasFileSystem = true;
}

Room::~Room() {
    gHasFileSystem = false;
}

Calls::Calls() {
    tNotes = new Notes{};
}

Calls::~Calls() {
    delete tNotes;
    tNotes = nullptr;
}

std::vector<Call> Calls::all() const {
    return {tNotes->calls, tNotes->calls + tNotes->count};
}

std::vector<Call> Calls::of(std::string_view function) const {
    std::vector<Call> found;
    for (const Call& call : all())
        if (function == call.function) found.push_back(call);
    return found;
}

GuardedMappings::GuardedMappings() {
    tGuarded = true;
}

GuardedMappings::~GuardedMappings() {
    tGuarded = false;
}

}  // namespace cabinaudio::test
