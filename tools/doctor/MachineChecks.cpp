// SPDX-License-Identifier: Apache-2.0
#include <cabinaudio/foundation/AudioTime.h>

#include "tools/BoardLaunch.h"
#include "tools/doctor/Check.h"

#include <android/log.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <gnu/libc-version.h>
#include <sys/mman.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace cabinaudio::tool {

namespace {

constexpr char SHARED_MEMORY[] = "/dev/shm";

// Enough for a dozen streams' rings; the stand-in's physical memory is a sparse file.
constexpr std::uint64_t ENOUGH_SHARED_MEMORY = std::uint64_t{4} << 20;

/// @return 0, or the error of creating a shared-memory object
int trySharedMemory() {
    const std::string name = "/cabinaudio-doctor-" + std::to_string(getpid());
    const int descriptor = shm_open(name.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
    if (descriptor < 0) return errno;
    const int error = posix_fallocate(descriptor, 0, getpagesize());
    close(descriptor);
    shm_unlink(name.c_str());
    return error;
}

std::string megabytes(std::uint64_t bytes) {
    return std::to_string(bytes >> 20) + " MiB";
}

/// Opens a device in the same way as the library. @return 0, or the error
int tryDevice(const char* path) {
    const int descriptor = open(path, O_RDWR | O_CLOEXEC);
    if (descriptor < 0) return errno;
    close(descriptor);
    return 0;
}

Check checkDevice(const char* name, const char* path) {
    Check check{name, true, boardIsActive() ? "stand_in" : "device"};
    check.more = {{"path", path}};
    if (const int error = tryDevice(path); error != 0) {
        check.ok = false;
        check.value = error == ENOENT ? "missing" : "refused";
        check.detail = std::string(path) + ": " + std::strerror(error);
        check.cure = boardIsActive() ? "make room and rights in /dev/shm, or try another --instance"
                     : error == ENOENT
                         ? "on a desktop install cabinaudio-run beside this program, on the board "
                           "load the driver"
                         : "give this user the right to it, or run through cabinaudio-run";
    } else {
        check.detail = std::string(path) +
                       (boardIsActive() ? " is the board stand-in's" : " is the board's own");
    }
    return check;
}

}  // namespace

Check checkLogLibrary() {
    Check check{"log_library", true};
    Dl_info found = {};
    if (dladdr(reinterpret_cast<void*>(&__android_log_print), &found) != 0 &&
        found.dli_fname != nullptr) {
        check.value = found.dli_fname;
        check.detail = std::string("loaded: ") + found.dli_fname;
    } else {
        check.ok = false;
        check.detail = "the log library's functions belong to no file";
        check.cure = "install android-liblog and this program anew";
    }
    return check;
}

Check checkSharedMemory() {
    Check check{"shared_memory"};
    check.more = {{"path", SHARED_MEMORY}};
    struct statvfs space = {};
    if (statvfs(SHARED_MEMORY, &space) != 0) {
        check.detail = std::string(SHARED_MEMORY) + ": " + std::strerror(errno);
        check.cure = "mount a tmpfs there";
        return check;
    }
    const std::uint64_t free = std::uint64_t{space.f_bavail} * space.f_frsize;
    check.value = free;
    check.more["free_bytes"] = free;
    if (const int error = trySharedMemory(); error != 0) {
        check.detail = std::string("an object in ") + SHARED_MEMORY +
                       " cannot be made: " + std::strerror(error) + "; " + megabytes(free) +
                       " free";
        check.cure = error == ENOSPC ? "remove what is left there (cabinaudio-run --clean)"
                                     : "give every user the right to write there (mode 1777)";
        return check;
    }
    check.ok = free >= ENOUGH_SHARED_MEMORY;
    check.detail = std::string(SHARED_MEMORY) + " is writable, " + megabytes(free) + " free";
    if (!check.ok)
        check.cure = "streams need up to " + megabytes(ENOUGH_SHARED_MEMORY) +
                     ": remove what is left there (cabinaudio-run --clean) or enlarge it "
                     "(containers: --shm-size)";
    return check;
}

Check checkPhysicalMemory() {
    return checkDevice("physical_memory", Devices::MEMORY);
}

Check checkCache() {
    return checkDevice("cache", Devices::CACHE);
}

Check checkCLibrary() {
    const std::string version = gnu_get_libc_version();
    const bool monotonic = AudioTime::advancedTimeoutPolicy();
    Check check{"c_library", true, version};
    check.more = {{"clock", monotonic ? "monotonic" : "realtime"}};
    check.detail = "glibc " + version + ": waits use the " +
                   (monotonic ? "monotonic clock" : "real-time clock, so setting it disturbs them");
    return check;
}

Check checkDescriptors(const ClosedDescriptors& closed) {
    Check check{"descriptors", closed.none(), Json::array(), "descriptors 0 to 2 are open"};
    std::string list;
    for (std::size_t descriptor = 0; descriptor < closed.size(); ++descriptor) {
        if (!closed[descriptor]) continue;
        check.value.push_back(descriptor);
        list += (list.empty() ? "" : ", ") + std::to_string(descriptor);
    }
    if (!check.ok) {
        check.detail = "closed when this program started: " + list;
        check.cure =
            "open them in the parent, if only on /dev/null: the library takes no socket "
            "with such a number";
    }
    return check;
}

}  // namespace cabinaudio::tool
