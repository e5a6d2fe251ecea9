// SPDX-License-Identifier: Apache-2.0
#include "tools/record/OutputFile.h"

#include "tools/Failure.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace cabinaudio::tool {

int createFile(const std::string& path) {
    constexpr mode_t FOR_ALL = 0666;
    const int descriptor =
        path == "-" ? fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3)
                    : open(path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, FOR_ALL);
    if (descriptor < 0) throw Failure(std::strerror(errno));
    return descriptor;
}

OutputFile::OutputFile(const std::string& path) : mFile(fdopen(createFile(path), "wb")) {
    if (mFile == nullptr) throw Failure(std::strerror(errno));
}

void OutputFile::write(std::span<const std::uint8_t> bytes) {
    const bool isWritten =
        std::fwrite(bytes.data(), 1, bytes.size(), mFile.get()) == bytes.size() &&
        std::fflush(mFile.get()) == 0;
    if (!isWritten) throw Failure(std::string("cannot be written: ") + std::strerror(errno));
}

void OutputFile::close() {
    if (std::fclose(mFile.release()) != 0)
        throw Failure(std::string("cannot be closed: ") + std::strerror(errno));
}

}  // namespace cabinaudio::tool
