// SPDX-License-Identifier: Apache-2.0
#include "tests/shm/Platform.h"

#include "tests/shm/NextDefinition.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <utility>

namespace {

using cabinaudio::test::Call;
using cabinaudio::test::next;

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

constexpr std::size_t kMostCalls = 512;
struct Notes {
    Call calls[kMostCalls];
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
    if (tNotes == nullptr || tNotes->count == kMostCalls) return;
    tNotes->calls[tNotes->count++] = {function, first, second, third};
}

std::uint64_t numberOf(const void* address) {
    return reinterpret_cast<std::uintptr_t>(address);
}

using Map = void*(void*, std::size_t, int, int, int, off64_t);

void* mapPlainly(void* address, std::size_t length, int protection, int flags, int fd,
                 off64_t offset) {
    static constinit std::atomic<Map*> found{nullptr};
    return next(found, "mmap64", "__interceptor_mmap64")(address, length, protection, flags, fd,
                                                         offset);
}

void* mapBetweenGuards(std::size_t length, int protection, int flags, int fd, off64_t offset) {
    const auto page = static_cast<std::size_t>(getpagesize());
    const std::size_t pages = (length + page - 1) / page * page;
    const std::size_t behind = sizeof(void*) == 8 ? std::size_t{0xffffffff} + 1 : page;
    void* const room = mapPlainly(nullptr, page + pages + behind, PROT_NONE,
                                  MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (room == MAP_FAILED) return room;
    return mapPlainly(static_cast<char*>(room) + page, length, protection, flags | MAP_FIXED, fd,
                      offset);
}

void* map(void* address, std::size_t length, int protection, int flags, int fd, off64_t offset) {
    const bool shared = (flags & MAP_SHARED) != 0 && fd >= 0;
    if (shared) note("mmap", length, static_cast<std::uint64_t>(offset));
    if (shared && takeFailure("mmap")) return MAP_FAILED;
    if (shared && tGuarded && length != 0)
        return mapBetweenGuards(length, protection, flags, fd, offset);
    return mapPlainly(address, length, protection, flags, fd, offset);
}

int truncate(int fd, off64_t length) {
    using Function = int(int, off64_t);
    static constinit std::atomic<Function*> found{nullptr};
    note("ftruncate", static_cast<std::uint64_t>(length));
    if (takeFailure("ftruncate")) return -1;
    return next(found, "ftruncate64", "__interceptor_ftruncate64")(fd, length);
}

int reserve(int fd, int mode, off64_t offset, off64_t length) {
    using Function = int(int, int, off64_t, off64_t);
    static constinit std::atomic<Function*> found{nullptr};
    interrupt("fallocate");
    note("fallocate", static_cast<std::uint64_t>(length));
    if (takeFailure("fallocate")) return -1;
    return next(found, "fallocate64", "__interceptor_fallocate64")(fd, mode, offset, length);
}

using Ioctl = int(int, unsigned long, ...);

bool failsCacheRequest(unsigned long request, const void* argument) {
    if (request != 0x40084303 && request != 0x40084304) return false;
    std::uint32_t range[2];
    std::memcpy(range, argument, sizeof(range));
    note("ioctl", request, range[0], range[1]);
    return takeFailure("ioctl");
}

int openFile(const char* path, int flags, mode_t rights) {
    using Function = int(const char*, int, ...);
    static constinit std::atomic<Function*> found{nullptr};
    note("open", static_cast<std::uint64_t>(flags));
    if (std::strncmp(path, "/dev/", 5) == 0 && takeFailure("open")) return -1;
    return next(found, "open64", "__interceptor_open64")(path, flags, rights);
}

}  // namespace

namespace cabinaudio::test {

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

extern "C" {

void* mmap64(void* address, std::size_t length, int protection, int flags, int fd,
             off64_t offset) noexcept {
    return map(address, length, protection, flags, fd, offset);
}
void* mmap(void* address, std::size_t length, int protection, int flags, int fd,
           off_t offset) noexcept {
    return map(address, length, protection, flags, fd, offset);
}

int munmap(void* address, std::size_t length) noexcept {
    using Function = int(void*, std::size_t);
    static constinit std::atomic<Function*> found{nullptr};
    note("munmap", length, 0, numberOf(address));
    if (takeFailure("munmap")) return -1;
    return next(found, "munmap", "__interceptor_munmap")(address, length);
}

int ftruncate64(int fd, off64_t length) noexcept {
    return truncate(fd, length);
}
int ftruncate(int fd, off_t length) noexcept {
    return truncate(fd, length);
}

int fallocate64(int fd, int mode, off64_t offset, off64_t length) {
    return reserve(fd, mode, offset, length);
}
int fallocate(int fd, int mode, off_t offset, off_t length) {
    return reserve(fd, mode, offset, length);
}

int fstatvfs64(int fd, struct statvfs64* system) noexcept {
    using Function = int(int, struct statvfs64*);
    static constinit std::atomic<Function*> found{nullptr};
    if (takeFailure("fstatvfs")) return -1;
    const int result = next(found, "fstatvfs64", "__interceptor_fstatvfs64")(fd, system);
    if (!gHasFileSystem) return result;
    system->f_blocks = gFileSystem.blocks;
    system->f_bfree = system->f_bavail = gFileSystem.free;
    system->f_frsize = gFileSystem.blockSize;
    return 0;
}

int open64(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t rights = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return openFile(path, flags, rights);
}
int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t rights = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return openFile(path, flags, rights);
}

int shm_open(const char* name, int flags, mode_t rights) {
    using Function = int(const char*, int, mode_t);
    static constinit std::atomic<Function*> found{nullptr};
    note("shm_open", static_cast<std::uint64_t>(flags), rights);
    if (takeFailure("shm_open")) return -1;
    return next(found, "shm_open", "__interceptor_shm_open")(name, flags, rights);
}

int shm_unlink(const char* name) {
    using Function = int(const char*);
    static constinit std::atomic<Function*> found{nullptr};
    interrupt("shm_unlink");
    return next(found, "shm_unlink", "__interceptor_shm_unlink")(name);
}

int ioctl(int fd, unsigned long request, ...) noexcept {
    static constinit std::atomic<Ioctl*> found{nullptr};
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    if (failsCacheRequest(request, argument)) return -1;
    return next(found, "ioctl", "__interceptor_ioctl")(fd, request, argument);
}

// What a 32-bit library built with 64-bit times calls instead.
int __ioctl_time64(int fd, unsigned long request, ...) noexcept;
int __ioctl_time64(int fd, unsigned long request, ...) noexcept {
    static constinit std::atomic<Ioctl*> found{nullptr};
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    if (failsCacheRequest(request, argument)) return -1;
    return next(found, "__ioctl_time64", "__interceptor_ioctl")(fd, request, argument);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attr, void* (*entry)(void*),
                   void* argument) noexcept {
    using Function = int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static constinit std::atomic<Function*> found{nullptr};
    if (takeFailure("pthread_create")) return errno;
    return next(found, "pthread_create", "__interceptor_pthread_create")(thread, attr, entry,
                                                                         argument);
}

#if __WORDSIZE == 32
// The ring's semaphores are the platform's own.

int sem_init(sem_t* semaphore, int shared, unsigned value) noexcept {
    using Function = int(sem_t*, int, unsigned);
    static constinit std::atomic<Function*> found{nullptr};
    if (takeFailure("sem_init")) return -1;
    return next(found, "sem_init", "__interceptor_sem_init")(semaphore, shared, value);
}
int sem_destroy(sem_t* semaphore) noexcept {
    using Function = int(sem_t*);
    static constinit std::atomic<Function*> found{nullptr};
    if (takeFailure("sem_destroy")) return -1;
    return next(found, "sem_destroy", "__interceptor_sem_destroy")(semaphore);
}
int sem_wait(sem_t* semaphore) {
    using Function = int(sem_t*);
    static constinit std::atomic<Function*> found{nullptr};
    if (takeFailure("sem_wait")) return -1;
    return next(found, "sem_wait", "__interceptor_sem_wait")(semaphore);
}

#else
// The ring's semaphores sleep in the kernel; a failure of that is one of sem_wait.

long syscall(long number, ...) noexcept {
    va_list arguments;
    va_start(arguments, number);
    const auto call = cabinaudio::test::systemCall(number, arguments);
    va_end(arguments);
    constexpr long kFutexWait = 0;  // FUTEX_WAIT, between processes
    if (number == SYS_futex && call.argument[1] == kFutexWait && takeFailure("sem_wait")) return -1;
    return call.pass();
}

#endif
}
