// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/settings/FileWriter.h"

#include "devkit/server/Log.h"
#include "devkit/server/SystemError.h"
#include "devkit/server/UniqueFd.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string_view>
#include <utility>

namespace cabinaudio::server {
namespace {

void writeAll(int fd, std::string_view content) {
    while (!content.empty()) {
        const ssize_t count = ::write(fd, content.data(), content.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) throw systemError("write");
        content.remove_prefix(static_cast<std::size_t>(count));
    }
}

UniqueFd openFile(const std::string& path, int flags) {
    UniqueFd fd(open(path.c_str(), flags | O_CLOEXEC, 0644));
    if (!fd) throw systemError(path);
    return fd;
}

// The new name of the file has reached the disk when this returns. Some file systems cannot tell.
void syncDirectoryOf(const std::string& path) {
    const auto slash = path.rfind('/');
    const std::string directory = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    fsync(openFile(directory, O_RDONLY | O_DIRECTORY).get());
}

void replace(const std::string& path, const std::string& content) {
    const std::string other = path + ".new";
    {
        const UniqueFd file = openFile(other, O_WRONLY | O_CREAT | O_TRUNC);
        writeAll(file.get(), content);
        if (fsync(file.get()) != 0) throw systemError("fsync");
    }
    if (std::rename(other.c_str(), path.c_str()) != 0) throw systemError("rename");
    syncDirectoryOf(path);
}

}  // namespace

FileWriter::FileWriter(std::string path) : mPath(std::move(path)), mThread([this] { work(); }) {}

FileWriter::~FileWriter() {
    {
        const std::lock_guard lock(mLock);
        mIsOver = true;
    }
    mChanged.notify_one();
    mThread.join();
}

void FileWriter::write(Content content) {
    {
        const std::lock_guard lock(mLock);
        mContent = std::move(content);
    }
    mChanged.notify_one();
}

void FileWriter::work() {
    std::unique_lock lock(mLock);
    while (true) {
        mChanged.wait(lock, [this] { return mContent || mIsOver; });
        if (!mContent) return;
        const Content content = std::exchange(mContent, {});
        lock.unlock();
        try {
            replace(mPath, content());
        } catch (const std::system_error& error) {
            log::error("%s cannot be written: %s", mPath.c_str(), error.what());
        }
        lock.lock();
    }
}

}  // namespace cabinaudio::server
