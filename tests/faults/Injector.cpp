// SPDX-License-Identifier: Apache-2.0
#include "tests/faults/Injector.h"

#include "tests/faults/Imports.h"

#include <dlfcn.h>
#include <linux/futex.h>
#include <poll.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/mman.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <sstream>
#include <stdexcept>

namespace cabinaudio::test {
namespace {

constexpr std::uint32_t REPEATS_IN_A_STORM = 50;

enum Module : std::uint16_t { LIBRARY, CXX_LIBRARY, ELSEWHERE };

std::atomic<Record*> gRecord{nullptr};
Fault gFault;
thread_local bool tFaulty = false;

std::uintptr_t gBase[2];
std::uintptr_t gEnd[2];

Site siteOf(std::uint16_t function, void* returnAddress) {
    const auto address = reinterpret_cast<std::uintptr_t>(returnAddress);
    for (const std::uint16_t module : {LIBRARY, CXX_LIBRARY})
        if (address >= gBase[module] && address < gEnd[module])
            return {function, module, static_cast<std::uint32_t>(address - gBase[module])};
    return {function, ELSEWHERE, 0};
}

constexpr std::uint64_t keyOf(const Site& site) {
    return std::uint64_t{1} << 63 | std::uint64_t{site.function} << 48 |
           std::uint64_t{site.module} << 40 | site.offset;
}

constexpr Site siteOf(std::uint64_t key) {
    return {static_cast<std::uint16_t>(key >> 48 & 0x7fff),
            static_cast<std::uint16_t>(key >> 40 & 0xff), static_cast<std::uint32_t>(key)};
}

/// @return which call from there it is, from 1
std::uint32_t countCall(Record& record, const Site& site) {
    const std::uint64_t key = keyOf(site);
    for (std::size_t i = 0; i < Record::SITES; ++i) {
        Record::Entry& entry =
            record.sites[((key * 0x9e3779b97f4a7c15U >> 40) + i) % Record::SITES];
        std::uint64_t seen = 0;
        if (entry.key.compare_exchange_strong(seen, key) || seen == key) return ++entry.calls;
    }
    std::abort();  // more sites than entries
}

/// Whether a failure is one that no system repeats for ever: a signal, a time that is over, a word
/// that has changed already.
bool endsByItself(const Fault& fault) {
    return fault.error == EINTR || fault.error == ETIMEDOUT || fault.error == EAGAIN;
}

/// @return whether this call is to fail, and how
bool isToFail(std::uint16_t function, void* returnAddress, int& error) {
    Record* const record = gRecord;
    if (!tFaulty || record == nullptr) return false;
    const Site site = siteOf(function, returnAddress);
    const std::uint32_t which = countCall(*record, site);
    const Fault& fault = gFault;
    if (fault.occurrence == Fault::NEVER || site != fault.site || which < fault.occurrence)
        return false;
    const std::uint32_t later = which - fault.occurrence;
    if (later != 0 && !fault.forGood) return false;
    if (later >= REPEATS_IN_A_STORM && endsByItself(fault)) return false;
    ++record->failures;
    error = fault.error;
    return true;
}

/// How a function tells that it has failed.
enum class Telling {
    Errno,      // -1, or null
    Address,    // an address of its own, mmap's
    Result,     // the error itself
    Exception,  // std::bad_alloc
    Afterwards  // -1, when it has done what it was asked for
};

template <typename Result>
Result failure() {
    if constexpr (std::is_pointer_v<Result>)
        return nullptr;
    else
        return static_cast<Result>(-1);
}

/// What the library calls instead of one of those functions. `WHICH` is its place in the list.
template <std::uint16_t WHICH, Telling TELLING, typename Result, typename... Arguments>
struct Hook {
    static inline Result (*real)(Arguments...) = nullptr;

    static Result call(Arguments... arguments) {
        int error = 0;
        if (!isToFail(WHICH, __builtin_return_address(0), error)) return real(arguments...);
        if constexpr (TELLING == Telling::Exception) throw std::bad_alloc();
        if constexpr (TELLING == Telling::Result) return static_cast<Result>(error);
        if constexpr (TELLING == Telling::Afterwards) (void)real(arguments...);
        errno = error;
        if constexpr (TELLING == Telling::Address) return MAP_FAILED;
        return failure<Result>();
    }
};

/// syscall, of which only waiting on a word in memory can fail.
template <std::uint16_t WHICH>
struct SleepHook {
    using Real = long (*)(long, long, long, long, long, long, long);
    static inline Real real = nullptr;

    static long call(long number, long a, long b, long c, long d, long e, long f) {
        int error = 0;
        const bool isSleep = number == SYS_futex && (b & FUTEX_CMD_MASK) == FUTEX_WAIT;
        if (!isSleep || !isToFail(WHICH, __builtin_return_address(0), error))
            return real(number, a, b, c, d, e, f);
        errno = error;
        return -1;
    }
};

/// pthread_create, whose threads belong to the library.
template <std::uint16_t WHICH>
struct ThreadHook {
    using Real = int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    static inline Real real = nullptr;

    struct Start {
        void* (*entry)(void*);
        void* argument;
    };

    static void* begin(void* memory) {
        const Start start = *static_cast<Start*>(memory);
        delete static_cast<Start*>(memory);
        tFaulty = true;
        return start.entry(start.argument);
    }

    static int call(pthread_t* thread, const pthread_attr_t* attributes, void* (*entry)(void*),
                    void* argument) {
        int error = 0;
        if (isToFail(WHICH, __builtin_return_address(0), error)) return error;
        if (!tFaulty) return real(thread, attributes, entry, argument);
        auto* const start = new Start{entry, argument};
        const int result = real(thread, attributes, begin, start);
        if (result != 0) delete start;
        return result;
    }
};

/// A function of the list and what is called instead of it.
struct HookRow {
    FaultyFunction function;
    void* hook;
    void** real;
};

template <typename Hooked>
HookRow row(FaultyFunction function) {
    return {std::move(function), reinterpret_cast<void*>(&Hooked::call),
            reinterpret_cast<void**>(&Hooked::real)};
}

template <std::uint16_t WHICH, typename Result, typename... Arguments>
using ErrnoHook = Hook<WHICH, Telling::Errno, Result, Arguments...>;
template <std::uint16_t WHICH, typename Result, typename... Arguments>
using LateHook = Hook<WHICH, Telling::Afterwards, Result, Arguments...>;

constexpr const char* NEW = sizeof(std::size_t) == 8 ? "_Znwm" : "_Znwj";
constexpr const char* NEW_ARRAY = sizeof(std::size_t) == 8 ? "_Znam" : "_Znaj";
constexpr const char* NEW_NOTHROW =
    sizeof(std::size_t) == 8 ? "_ZnwmRKSt9nothrow_t" : "_ZnwjRKSt9nothrow_t";

/// Functions whose arguments vary get as many words as any call of them has.
const std::vector<HookRow>& rows() {
    using Word = long;
    static const std::vector<HookRow> all = {
        row<ErrnoHook<0, void*, std::size_t>>({"malloc", {ENOMEM}, true}),
        row<ErrnoHook<1, void*, void*, std::size_t>>({"realloc", {ENOMEM}, true}),
        row<Hook<2, Telling::Exception, void*, std::size_t>>({NEW, {ENOMEM}, true}),
        row<Hook<3, Telling::Exception, void*, std::size_t>>({NEW_ARRAY, {ENOMEM}, true}),
        row<ErrnoHook<4, void*, std::size_t, const std::nothrow_t&>>({NEW_NOTHROW, {ENOMEM}, true}),
        row<ErrnoHook<5, int, int, int, int>>(
            {"socket", {EMFILE, ENFILE, ENOMEM, ENOBUFS, EACCES}}),
        row<ErrnoHook<6, int, int, const void*, socklen_t>>(
            {"connect", {ECONNREFUSED, EAGAIN, EACCES, EINTR, ENOMEM, ETIMEDOUT}}),
        row<ErrnoHook<7, ssize_t, int, const void*, std::size_t, int>>(
            {"send", {EPIPE, ECONNRESET, EAGAIN, EINTR, ENOMEM, ENOBUFS}, false, false, true}),
        row<ErrnoHook<8, ssize_t, int, void*, std::size_t, int>>(
            {"recv", {ECONNRESET, EINTR, ENOMEM, EAGAIN}, false, false, true}),
        row<LateHook<9, int, int, int>>({"shutdown", {ENOTCONN}}),
        row<ErrnoHook<10, int, int, int, int, const void*, socklen_t>>(
            {"setsockopt", {ENOMEM, ENOBUFS}}),
        row<ErrnoHook<11, int, int, Word, Word>>({"fcntl", {EINTR, ENOMEM}}),
        row<ErrnoHook<12, int, void*, unsigned long, int>>({"poll", {EINTR, ENOMEM}}),
        row<ErrnoHook<13, int, const char*, int, unsigned>>(
            {"shm_open", {EMFILE, ENFILE, EACCES, ENOSPC, ENOMEM}}),
        row<LateHook<14, int, const char*>>({"shm_unlink", {ENOENT}}),
        row<ErrnoHook<15, int, int, off64_t>>({"ftruncate64", {EFBIG, EINTR, EIO, EPERM}}),
        row<ErrnoHook<16, int, int, int, off64_t, off64_t>>(
            {"fallocate64", {ENOSPC, EDQUOT, ENOMEM, EFBIG, EINTR, EIO, EOPNOTSUPP, ENOSYS}}),
        row<Hook<17, Telling::Address, void*, void*, std::size_t, int, int, int, off64_t>>(
            {"mmap64", {ENOMEM, EAGAIN, EACCES, EPERM, ENODEV, ENFILE}}),
        row<ErrnoHook<18, int, void*, std::size_t>>({"munmap", {ENOMEM}, false, true}),
        row<LateHook<19, int, int>>({"close", {EINTR, EIO}}),
        row<ErrnoHook<20, int, const char*, int, Word>>(
            {"open64", {ENOENT, EACCES, EPERM, EMFILE, ENFILE, ENXIO, EINTR}}),
        row<ErrnoHook<21, int, int, unsigned long, void*>>(
            {"ioctl", {EIO, ENODEV, ENOTTY, EFAULT}}),
        row<LateHook<22, int, sem_t*, int, unsigned>>({"sem_init", {EINVAL, ENOSYS}}),
        row<LateHook<23, int, sem_t*>>({"sem_post", {EOVERFLOW}}),
        row<ErrnoHook<24, int, sem_t*>>({"sem_wait", {EINTR}}),
        row<ErrnoHook<25, int, sem_t*, const void*>>({"sem_timedwait", {EINTR, ETIMEDOUT}}),
        row<ErrnoHook<26, int, sem_t*, int, const void*>>({"sem_clockwait", {EINTR, ETIMEDOUT}}),
        row<LateHook<27, int, sem_t*>>({"sem_destroy", {EBUSY}}),
        row<ThreadHook<28>>({"pthread_create", {EAGAIN, EPERM}, false, false, true}),
        row<Hook<29, Telling::Result, int, pthread_t, const char*>>(
            {"pthread_setname_np", {EMFILE, EACCES, ENOENT}}),
        // Sleeping: the word has changed already, or a signal came.
        row<SleepHook<30>>({"syscall", {EAGAIN, EINTR}, false, false, true, true}),
        row<ErrnoHook<31, int, const char*, unsigned>>({"mkdir", {EEXIST, EACCES, ENOSPC, EROFS}}),
        row<ErrnoHook<32, int, int>>({"fsync", {EIO, ENOSPC, EINTR, EROFS}}),
        row<ErrnoHook<33, int, int, void*, void*, void*, void*>>({"select", {EINTR, ENOMEM}}),
        // Of the C++ library, for files:
        row<ErrnoHook<34, void*, const char*, const char*>>(
            {"fopen64", {ENOENT, EACCES, EMFILE, ENOSPC}}),
        row<ErrnoHook<35, ssize_t, int, const void*, std::size_t>>(
            {"write", {ENOSPC, EIO, EINTR, EDQUOT}}),
        row<ErrnoHook<36, ssize_t, int, const void*, int>>(
            {"writev", {ENOSPC, EIO, EINTR, EDQUOT}}),
        row<ErrnoHook<37, ssize_t, int, void*, std::size_t>>({"read", {EIO, EINTR}}),
        row<LateHook<38, int, void*>>({"fclose", {EIO, ENOSPC}}),
        row<ErrnoHook<39, int, clockid_t, void*>>({"clock_gettime", {EINVAL}}),
        row<ErrnoHook<40, int, int, void*>>({"fstat64", {EIO, EOVERFLOW}}),
        row<ErrnoHook<41, int, int, void*>>({"fstatvfs64", {EIO, ENOSYS}}),
    };
    return all;
}

/// Starts of names of what only computes, only looks, only ends things, or cannot fail as long as
/// it is given what it has made itself.
constexpr const char* HARMLESS =
    "_ITM_ _Unwind_Resume _ZN _ZS _ZT _ZdlPv _ZdaPv __aeabi_ __android_log_print __asan_ __cxa_ "
    "__errno_location ceilf __gmon_start__ __gxx_personality_v0 __gnu_ __sanitizer_ __stack_chk "
    "__tsan_ __ubsan_ abort free getenv getpagesize gnu_get_libc_version memc memm mems "
    "pthread_attr_ pthread_cond pthread_detach pthread_exit pthread_join pthread_mutex "
    "pthread_self pthread_sigmask pthread_tryjoin_np sched_get_priority_max sched_yield "
    "sem_getvalue sig snprintf __snprintf_chk str __isoc23_strtol";

/// What matters of the C++ library: its files and their buffers.
bool isOfFiles(const char* name) {
    for (const char* const one : {NEW, NEW_ARRAY, "fopen64", "write", "writev", "read", "fclose"})
        if (std::strcmp(name, one) == 0) return true;
    return false;
}

void redirectAll(Imports& imports, std::uint16_t module) {
    gBase[module] = imports.base();
    gEnd[module] = imports.end();
    for (const HookRow& one : rows()) {
        if (module == CXX_LIBRARY && !isOfFiles(one.function.name)) continue;
        if (*one.real == nullptr) *one.real = dlsym(RTLD_DEFAULT, one.function.name);
        if (imports.redirect(one.function.name, one.hook) && *one.real == nullptr)
            throw std::runtime_error(one.function.name);
    }
}

}  // namespace

const std::vector<FaultyFunction>& faultyFunctions() {
    static const std::vector<FaultyFunction> functions = [] {
        std::vector<FaultyFunction> list;
        for (const HookRow& one : rows())
            list.push_back(one.function);
        return list;
    }();
    return functions;
}

bool cannotFail(const std::string& name) {
    std::istringstream starts(HARMLESS);
    for (std::string start; starts >> start;)
        if (name.starts_with(start)) return true;
    return false;
}

std::string describe(const Site& site) {
    char place[64];
    if (site.module == ELSEWHERE)
        std::snprintf(place, sizeof place, " called last");
    else
        std::snprintf(place, sizeof place, " at %s+0x%x",
                      site.module == LIBRARY ? "libcabinaudio" : "libstdc++", site.offset);
    std::string text = faultyFunctions()[site.function].name;
    text += place;
    if (site.module == LIBRARY) {
        Dl_info info = {};
        const auto address = reinterpret_cast<void*>(gBase[LIBRARY] + site.offset);
        if (dladdr(address, &info) != 0 && info.dli_sname != nullptr)
            text += std::string(" (") + info.dli_sname + ")";
    }
    return text;
}

void installHooks() {
    Imports library("libcabinaudio.so");
    redirectAll(library, LIBRARY);
    Imports cxx("libstdc++.so");
    redirectAll(cxx, CXX_LIBRARY);
}

void arm(Record& record, const Fault& fault) {
    gFault = fault;
    gRecord = &record;
    tFaulty = true;
}

void disarm() {
    tFaulty = false;
    gRecord = nullptr;
}

Exempt::Exempt() : mWasFaulty(tFaulty) {
    tFaulty = false;
}

Exempt::~Exempt() {
    tFaulty = mWasFaulty;
}

std::vector<Visited> visitedSites(const Record& record) {
    std::vector<Visited> all;
    for (const Record::Entry& entry : record.sites)
        if (const std::uint64_t key = entry.key; key != 0)
            all.push_back({siteOf(key), entry.calls});
    std::sort(all.begin(), all.end(),
              [](const Visited& a, const Visited& b) { return a.site < b.site; });
    return all;
}

}  // namespace cabinaudio::test
