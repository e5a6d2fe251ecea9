// SPDX-License-Identifier: Apache-2.0
#include "tools/play/InputBytes.h"

#include "tools/Event.h"
#include "tools/Failure.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace cabinaudio::tool {

namespace {

[[noreturn]] void fail() {
    throw Failure(std::strerror(errno));
}

/// @return a descriptor to read from
int openInput(const std::string& path) {
    const int descriptor = path == "-" ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3)
                                       : open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) fail();
    struct stat found = {};
    if (fstat(descriptor, &found) != 0 || !S_ISDIR(found.st_mode)) return descriptor;
    close(descriptor);
    errno = EISDIR;
    fail();
}

/// Devices such as /dev/null have an offset without a meaning.
std::int64_t startOf(int descriptor) {
    struct stat found = {};
    if (fstat(descriptor, &found) != 0 || !S_ISREG(found.st_mode)) return -1;
    return lseek(descriptor, 0, SEEK_CUR);
}

}  // namespace

InputBytes::InputBytes(const std::string& path)
    : mDescriptor(openInput(path)), mStart(startOf(mDescriptor)) {}

InputBytes::~InputBytes() {
    close(mDescriptor);
}

std::optional<std::uint64_t> InputBytes::left() const {
    struct stat found = {};
    if (!isSeekable() || fstat(mDescriptor, &found) != 0) return std::nullopt;
    const std::int64_t here = lseek(mDescriptor, 0, SEEK_CUR);
    return static_cast<std::uint64_t>(std::max<std::int64_t>(found.st_size - here, 0)) +
           mHead.size();
}

InputBytes::Bytes InputBytes::peek(std::size_t count) {
    std::size_t there = mHead.size();
    if (there < count) {
        mHead.resize(count);
        std::size_t got = 1;
        while (there < count && got != 0) {
            got = readOnce(std::span(mHead).subspan(there));
            there += got;
        }
        mHead.resize(there);
    }
    return Bytes(mHead).first(std::min(count, there));
}

std::size_t InputBytes::read(std::span<std::uint8_t> to) {
    std::size_t done = takeHead(to);
    while (done < to.size()) {
        const std::size_t got = readOnce(to.subspan(done));
        if (got == 0) break;
        done += got;
    }
    return done;
}

std::size_t InputBytes::readSome(std::span<std::uint8_t> to) {
    const std::size_t done = takeHead(to);
    return done != 0 ? done : readOnce(to);
}

bool InputBytes::wait(const Event& event) const {
    struct pollfd entries[] = {{mDescriptor, POLLIN, 0}, {event.descriptor(), POLLIN, 0}};
    if (!mHead.empty()) return !event.isSet();
    while (poll(entries, 2, -1) < 0 && errno == EINTR) {
    }
    return entries[1].revents == 0;
}

void InputBytes::rewind() {
    mHead.clear();
    if (lseek(mDescriptor, static_cast<off_t>(mStart), SEEK_SET) < 0) fail();
}

std::size_t InputBytes::takeHead(std::span<std::uint8_t> to) {
    const std::size_t count = std::min(to.size(), mHead.size());
    const auto end = mHead.begin() + static_cast<std::ptrdiff_t>(count);
    std::copy(mHead.begin(), end, to.begin());
    mHead.erase(mHead.begin(), end);
    return count;
}

std::size_t InputBytes::readOnce(std::span<std::uint8_t> to) const {
    ssize_t got = -1;
    do {
        got = ::read(mDescriptor, to.data(), to.size());
    } while (got < 0 && errno == EINTR);
    if (got < 0) throw Failure(std::string("cannot be read: ") + std::strerror(errno));
    return static_cast<std::size_t>(got);
}

}  // namespace cabinaudio::tool
