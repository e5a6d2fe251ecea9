// SPDX-License-Identifier: Apache-2.0
#include "devkit/trace/CaptureReader.h"

#include "devkit/trace/Error.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace cabinaudio::trace {
namespace {

constexpr std::size_t READ_SIZE = 64 << 10;

int openForReading(const std::string& path) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) throw Error(path + ": " + strerror(errno));
    return fd;
}

}  // namespace

CaptureReader::CaptureReader(const std::string& path)
    : mFd(openForReading(path)), mIsOwner(true), mName(path) {}

CaptureReader::CaptureReader(int fd, std::string name)
    : mFd(fd), mIsOwner(false), mName(std::move(name)) {}

CaptureReader::~CaptureReader() {
    if (mIsOwner) close(mFd);
}

std::optional<Record> CaptureReader::next() {
    for (;;) {
        if (auto record = decoded()) return record;
        if (!read()) break;
    }
    checkEnd();
    return {};
}

std::optional<Record> CaptureReader::decoded() {
    try {
        return mDecoder.next();
    } catch (const Error& error) {
        throw Error(mName + ": " + error.what());
    }
}

bool CaptureReader::read() {
    std::array<std::uint8_t, READ_SIZE> piece;
    ssize_t count = 0;
    do {
        count = ::read(mFd, piece.data(), piece.size());
    } while (count < 0 && errno == EINTR);
    if (count < 0) throw Error(mName + ": " + strerror(errno));
    mDecoder.add(std::span(piece).first(static_cast<std::size_t>(count)));
    mSize += static_cast<std::uint64_t>(count);
    return count > 0;
}

void CaptureReader::checkEnd() const {
    if (mDecoder.hasBegun() && mDecoder.pending() == 0) return;
    if (!mDecoder.hasBegun()) throw Error(mName + ": at byte 0: no pcapng capture");
    throw Error(mName + ": cut off at byte " + std::to_string(mSize) +
                ", in the block that begins at byte " + std::to_string(mDecoder.offset()));
}

}  // namespace cabinaudio::trace
