// SPDX-License-Identifier: Apache-2.0
#include "devkit/trace/CaptureWriter.h"

#include "devkit/trace/Error.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace cabinaudio::trace {
namespace {

constexpr std::size_t FLUSH_SIZE = 64 << 10;

template <typename Layout>
void append(std::vector<std::uint8_t>& bytes, const Layout& layout) {
    const auto* const begin = reinterpret_cast<const std::uint8_t*>(&layout);
    bytes.insert(bytes.end(), begin, begin + sizeof layout);
}

int openForWriting(const std::string& path) {
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0) throw Error(path + ": " + strerror(errno));
    return fd;
}

RecordHeader headerOf(const Record& record) {
    RecordHeader header = {};
    std::copy(std::begin(RECORD_MAGIC), std::end(RECORD_MAGIC), header.magic);
    header.version = RECORD_VERSION;
    header.kind = static_cast<std::uint8_t>(record.kind);
    header.connection = record.connection;
    header.pid = record.pid;
    header.type = record.type;
    header.function = record.function;
    header.detail = record.detail;
    return header;
}

}  // namespace

std::vector<std::uint8_t> openingBlocks() {
    std::vector<std::uint8_t> bytes;
    append(bytes, SECTION);
    append(bytes, INTERFACE);
    return bytes;
}

std::vector<std::uint8_t> blockOf(const Record& record) {
    const auto data = static_cast<std::uint32_t>(sizeof(RecordHeader) + record.bytes.size());
    const PacketHeader packet = packetHeader(record.timeNs, data);
    std::vector<std::uint8_t> bytes;
    bytes.reserve(packet.length);
    append(bytes, packet);
    append(bytes, headerOf(record));
    bytes.insert(bytes.end(), record.bytes.begin(), record.bytes.end());
    bytes.resize(bytes.size() + paddingOf(data));
    append(bytes, packet.length);
    return bytes;
}

CaptureWriter::CaptureWriter(const std::string& path)
    : mFd(openForWriting(path)), mIsOwner(true), mName(path), mBuffer(openingBlocks()) {}

CaptureWriter::CaptureWriter(int fd, std::string name)
    : mFd(fd), mIsOwner(false), mName(std::move(name)), mBuffer(openingBlocks()) {}

CaptureWriter::~CaptureWriter() {
    try {
        flush();
    } catch (const Error&) {
        // A caller that must know calls flush() first.
    }
    if (mIsOwner) close(mFd);
}

void CaptureWriter::write(const Record& record) {
    write(blockOf(record));
}

void CaptureWriter::write(std::span<const std::uint8_t> blocks) {
    mBuffer.insert(mBuffer.end(), blocks.begin(), blocks.end());
    if (mBuffer.size() >= FLUSH_SIZE) flush();
}

void CaptureWriter::flush() {
    const auto buffer = std::exchange(mBuffer, {});
    for (std::size_t written = 0; written < buffer.size();) {
        const ssize_t count = ::write(mFd, buffer.data() + written, buffer.size() - written);
        if (count < 0 && errno != EINTR) throw Error(mName + ": " + strerror(errno));
        if (count > 0) written += static_cast<std::size_t>(count);
    }
}

}  // namespace cabinaudio::trace
