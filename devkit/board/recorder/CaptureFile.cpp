// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/recorder/CaptureFile.h"

#include "devkit/board/Text.h"
#include "devkit/board/recorder/LibraryCalls.h"
#include "devkit/board/recorder/Lock.h"
#include "devkit/board/recorder/Memory.h"
#include "devkit/board/recorder/Recorder.h"
#include "devkit/board/recorder/SharedBlock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace cabinaudio::recorder {
namespace {

// Above the numbers that programs close when they start others or become daemons.
constexpr int LOWEST_DESCRIPTOR = 200;

constinit std::atomic<int> gDescriptor{-1};
constinit std::atomic<pid_t> gProcess{0};
constinit std::atomic<bool> gWithSound{false};
constinit Lock gReopening;
constinit std::atomic<bool> gIsStopped{false};
constinit dev_t gDevice = 0;
constinit ino64_t gNode = 0;
constinit off64_t gLimit = 0;  // of the file's size; 0: none
constinit board::PathText gPath;

const char* reasonOf(int error) noexcept {
    switch (error) {
        case ENOSPC:
            return "no space left on device";
        case EDQUOT:
            return "disk quota exceeded";
        case EFBIG:
            return "the file has reached its size limit";
        case ENOENT:
            return "no such file";
        case EACCES:
        case EPERM:
            return "permission denied";
        case EIO:
            return "input/output error";
        default:
            return "the system refuses it";
    }
}

void complainOfFile(const char* failed, const char* reason) noexcept {
    board::Text<PATH_MAX + 200> line;
    line.append(failed).append(gPath.c_str()).append(": ").append(reason);
    complain(line.append("; nothing more is recorded").c_str());
}

void stop(const char* failed, const char* reason) noexcept {
    if (!gIsStopped.exchange(true)) complainOfFile(failed, reason);
}

/// @return -1 when it cannot be opened
int openFile() noexcept {
    const int opened = ::open(gPath.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC | O_LARGEFILE);
    if (opened < 0) return -1;
    const int moved = fcntl(opened, F_DUPFD_CLOEXEC, LOWEST_DESCRIPTOR);
    if (moved < 0) return opened;
    libc::close.find()(opened);
    return moved;
}

/// A second opening, because the kernel appends all that is written to the first one.
class SharedPart {
public:
    SharedPart() noexcept : mDescriptor(::open(gPath.c_str(), O_RDWR | O_CLOEXEC | O_LARGEFILE)) {}
    ~SharedPart() {
        if (mDescriptor >= 0) libc::close.find()(mDescriptor);
    }
    SharedPart(const SharedPart&) = delete;
    SharedPart& operator=(const SharedPart&) = delete;

    /// Waits until no other process uses the part.
    bool load(SharedBlock& block) const noexcept {
        return mDescriptor >= 0 && flock(mDescriptor, LOCK_EX) == 0 &&
               pread64(mDescriptor, &block, sizeof block, OFFSET) ==
                   static_cast<ssize_t>(sizeof block) &&
               block.type == SHARED_BLOCK;
    }

    bool store(const SharedBlock& block) const noexcept {
        return pwrite64(mDescriptor, &block, sizeof block, OFFSET) ==
               static_cast<ssize_t>(sizeof block);
    }

private:
    static constexpr off64_t OFFSET = offsetof(CaptureBeginning, shared);

    int mDescriptor;
};

bool isOurFile(int descriptor, struct stat64& found) noexcept {
    return fstat64(descriptor, &found) == 0 && found.st_dev == gDevice && found.st_ino == gNode;
}

off64_t sizeLimit() noexcept {
    rlimit64 limit;
    const bool known = getrlimit64(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur != RLIM64_INFINITY;
    return known ? static_cast<off64_t>(limit.rlim_cur) : 0;
}

/// The application may have closed our descriptor, and its number may be another file's now, which
/// must not be written to.
/// @return -1 when the file cannot be found again
int ownDescriptor(struct stat64& found) noexcept {
    int descriptor = gDescriptor.load(std::memory_order_acquire);
    if (isOurFile(descriptor, found)) return descriptor;
    const Hold hold(gReopening);
    if (!hold) return -1;
    descriptor = gDescriptor.load(std::memory_order_acquire);
    if (isOurFile(descriptor, found)) return descriptor;
    descriptor = openFile();
    if (descriptor >= 0 && !isOurFile(descriptor, found)) {
        libc::close.find()(descriptor);
        descriptor = -1;
    }
    if (descriptor < 0)
        stop("cannot open ", "it was moved, or cannot be reached");
    else
        gDescriptor.store(descriptor, std::memory_order_release);
    return descriptor;
}

/// Removes a block of which only a part found room, so that the file ends with a whole one.
void removeTorn(int descriptor, ssize_t written) noexcept {
    struct stat64 found;
    if (written <= 0 || fstat64(descriptor, &found) != 0) return;
    if (lseek64(descriptor, 0, SEEK_CUR) != found.st_size) return;  // another block is behind it
    const int result = ftruncate64(descriptor, found.st_size - written);
    static_cast<void>(result);  // the last block stays torn
}

void append(const iovec* parts, int count, std::size_t length) noexcept {
    struct stat64 found = {};
    const int descriptor = ownDescriptor(found);
    if (descriptor < 0) return;
    if (gLimit != 0 && found.st_size + static_cast<off64_t>(length) > gLimit) {
        stop("cannot write to ", reasonOf(EFBIG));  // the attempt would raise SIGXFSZ
        return;
    }
    // Not writev(): a sanitizer would check accesses that the recorder's locks order.
    const long written = libc::systemCall.find()(SYS_writev, descriptor, parts, count);
    if (written == static_cast<long>(length)) return;
    const int error = written < 0 ? errno : ENOSPC;
    stop("cannot write to ", reasonOf(error));
    removeTorn(descriptor, written);
}

iovec part(const void* data, std::size_t size) noexcept {
    return {const_cast<void*>(data), size};  // the kernel only reads
}

}  // namespace

void openCapture() noexcept {
    const char* path = getenv(FILE_VARIABLE);
    if (path == nullptr || path[0] == '\0') return;
    if (!gPath.append(path).fits()) return complain("the path of the capture is too long");
    const char* sound = getenv(SOUND_VARIABLE);
    gWithSound = sound != nullptr && sound[0] != '\0';
    const int descriptor = openFile();
    if (descriptor < 0) return complainOfFile("cannot open ", reasonOf(errno));
    struct stat64 found = {};
    SharedBlock shared;
    if (fstat64(descriptor, &found) != 0 || !SharedPart().load(shared)) {
        libc::close.find()(descriptor);
        return complainOfFile("cannot record to ",
                              "it is no capture that cabinaudio-run has begun");
    }
    gDevice = found.st_dev;
    gNode = found.st_ino;
    gLimit = sizeLimit();
    gDescriptor = descriptor;
    noteOwnProcess();
}

void noteOwnProcess() noexcept {
    if (gDescriptor >= 0) gProcess = getpid();
}

bool isRecording() noexcept {
    const pid_t process = gProcess.load(std::memory_order_relaxed);
    return process != 0 && process == getpid() && !gIsStopped.load(std::memory_order_relaxed);
}

bool recordsSound() noexcept {
    return gWithSound;
}

std::uint32_t newConnectionNumber() noexcept {
    const KeepErrno keep;
    const SharedPart part;
    SharedBlock shared;
    if (part.load(shared)) {
        ++shared.lastConnection;
        if (part.store(shared)) return shared.lastConnection;
    }
    stop("cannot number a connection in ", reasonOf(errno));
    return 0;
}

void writeRecord(const RecordFields& fields, std::uint64_t time, Piece first, Piece second,
                 Piece third) noexcept {
    const KeepErrno keep;
    const trace::RecordHeader record = {{'C', 'A', 'B', 'N'},
                                        trace::RECORD_VERSION,
                                        static_cast<std::uint8_t>(fields.kind),
                                        0,
                                        fields.connection,
                                        gProcess.load(std::memory_order_relaxed),
                                        fields.type,
                                        fields.function,
                                        fields.detail};
    const std::size_t data = sizeof record + first.size + second.size + third.size;
    const trace::PacketHeader packet = trace::packetHeader(time, static_cast<std::uint32_t>(data));
    const std::uint32_t zeros = 0;
    const iovec parts[] = {part(&packet, sizeof packet),
                           part(&record, sizeof record),
                           part(first.data, first.size),
                           part(second.data, second.size),
                           part(third.data, third.size),
                           part(&zeros, trace::paddingOf(static_cast<std::uint32_t>(data))),
                           part(&packet.length, sizeof packet.length)};
    append(parts, sizeof parts / sizeof parts[0], packet.length);
}

std::uint64_t timeNow() noexcept {
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1000000000U +
           static_cast<std::uint64_t>(now.tv_nsec);
}

void complain(const char* what) noexcept {
    board::Text<PATH_MAX + 400> line;
    line.append(LIBRARY_NAME).append(": ").append(what).append("\n");
    const ssize_t written = write(STDERR_FILENO, line.c_str(), line.length());
    static_cast<void>(written);  // nowhere else to report an error
}

}  // namespace cabinaudio::recorder
