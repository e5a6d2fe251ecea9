// SPDX-License-Identifier: Apache-2.0
#include "devkit/server/settings/FileReplacement.h"

#include "devkit/server/base/SystemError.h"
#include "devkit/server/base/UniqueFd.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <vector>

namespace cabinaudio::server {
namespace {

namespace fs = std::filesystem;

constexpr int MOST_LINKS = 40;  // the kernel's limit
constexpr std::size_t MOST_BYTES = 16 << 20;
constexpr mode_t PERMISSIONS = 0777;
constexpr char PREFIX[] = ".cabinaudio-state-";
constexpr std::size_t RANDOM_DIGITS = 16;

struct FilePlace {
    std::string directory;
    std::string name;
};

FilePlace placeOf(const std::string& path) {
    const fs::path whole(path);
    const std::string directory = whole.parent_path();
    return {directory.empty() ? "." : directory, whole.filename()};
}

/// Empty when there is no such file.
std::optional<struct stat> statusOf(int directory, const std::string& name) {
    struct stat status = {};
    if (fstatat(directory, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) return status;
    if (errno == ENOENT) return std::nullopt;
    throw systemError(name);
}

[[noreturn]] void refuse(const std::string& path, const char* why) {
    throw std::runtime_error(path + ": " + why);
}

/// Follows one link of a chain.
std::string targetOf(const std::string& path, uid_t owner) {
    if (owner != geteuid() && owner != 0) refuse(path, "is a link of another user");
    std::error_code error;
    const fs::path target = fs::read_symlink(path, error);
    if (error) throw std::system_error(error, path);
    return fs::path(path).parent_path() / target;
}

void writeAll(int fd, std::string_view content) {
    while (!content.empty()) {
        const ssize_t count = ::write(fd, content.data(), content.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) throw systemError("write");
        content.remove_prefix(static_cast<std::size_t>(count));
    }
}

/// Derived from the file's name, so that different files get different prefixes, as far as the
/// length limit of names allows.
std::string prefixFor(const std::string& name) {
    return PREFIX + name.substr(0, 200) + "-";
}

/// The new content under an unpredictable name, until it is renamed to the file's. The destructor
/// removes it if it was not renamed.
class Temporary {
public:
    Temporary(int directory, const std::string& name, mode_t mode)
        : mDirectory(directory),
          mName(prefixFor(name) + random()),
          mFile(openat(directory, mName.c_str(),
                       O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode)) {
        if (!mFile) throw systemError(mName);
    }
    ~Temporary() {
        if (!mHasMoved) unlinkat(mDirectory, mName.c_str(), 0);
    }
    Temporary(const Temporary&) = delete;
    Temporary& operator=(const Temporary&) = delete;

    [[nodiscard]] int fd() const { return mFile.get(); }

    void moveTo(const std::string& name) {
        if (renameat(mDirectory, mName.c_str(), mDirectory, name.c_str()) != 0)
            throw systemError("rename");
        mHasMoved = true;
    }

private:
    static std::string random() {
        std::uint64_t number = 0;
        if (getrandom(&number, sizeof number, 0) != sizeof number) throw systemError("getrandom");
        std::array<char, RANDOM_DIGITS + 1> digits;
        std::snprintf(digits.data(), digits.size(), "%016" PRIx64, number);
        return digits.data();
    }

    const int mDirectory;
    const std::string mName;
    const UniqueFd mFile;
    bool mHasMoved = false;
};

/// If the group cannot be set, its permissions are dropped; another group must not get them.
void copyOwnership(const struct stat& old, int fd) {
    mode_t mode = old.st_mode & PERMISSIONS;
    if (fchown(fd, old.st_uid, old.st_gid) != 0 &&
        fchown(fd, static_cast<uid_t>(-1), old.st_gid) != 0)
        mode &= ~static_cast<mode_t>(S_IRWXG);
    if (fchmod(fd, mode) != 0) throw systemError("fchmod");
}

bool isLeftover(const std::string& name, const std::string& prefix) {
    return name.size() == prefix.size() + RANDOM_DIGITS && name.starts_with(prefix) &&
           name.find_first_not_of("0123456789abcdef", prefix.size()) == std::string::npos;
}

}  // namespace

std::string regularFileBehind(const std::string& path) {
    std::string file = path;
    for (int links = 0; links <= MOST_LINKS; ++links) {
        const auto status = statusOf(AT_FDCWD, file);
        if (!status || S_ISREG(status->st_mode)) return file;
        if (!S_ISLNK(status->st_mode)) refuse(file, "is not a regular file");
        file = targetOf(file, status->st_uid);
    }
    refuse(path, "leads from link to link");
}

std::optional<std::string> contentOf(const std::string& path) {
    // Non-blocking: the path may have become a FIFO.
    const UniqueFd file(
        open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file && errno == ENOENT) return std::nullopt;
    struct stat status = {};
    if (!file || fstat(file.get(), &status) != 0) throw systemError(path);
    if (!S_ISREG(status.st_mode)) refuse(path, "is not a regular file");
    std::string content;
    std::vector<char> piece(65536);
    while (true) {
        const ssize_t count = read(file.get(), piece.data(), piece.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) throw systemError(path);
        if (count == 0) return content;
        content.append(piece.data(), static_cast<std::size_t>(count));
        if (content.size() > MOST_BYTES) refuse(path, "is longer than 16 MiB");
    }
}

void replaceFile(const std::string& path, std::string_view content) {
    const auto [directoryName, name] = placeOf(path);
    const UniqueFd directory(open(directoryName.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!directory) throw systemError(directoryName);
    const auto old = statusOf(directory.get(), name);
    if (old && !S_ISREG(old->st_mode))
        throw std::system_error(EINVAL, std::generic_category(), "no longer a regular file");
    // Other users cannot read it before it has the old file's owner.
    Temporary temporary(directory.get(), name, old ? S_IRUSR | S_IWUSR : 0644);
    if (old) copyOwnership(*old, temporary.fd());
    writeAll(temporary.fd(), content);
    if (fsync(temporary.fd()) != 0) throw systemError("fsync");
    temporary.moveTo(name);
    // Flushes the new name to the disk before returning. Not all file systems support it.
    fsync(directory.get());
}

void removeLeftovers(const std::string& path) {
    const auto [directoryName, name] = placeOf(path);
    const std::string prefix = prefixFor(name);
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(directoryName, ignored)) {
        struct stat status = {};
        if (isLeftover(entry.path().filename(), prefix) &&
            lstat(entry.path().c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
            status.st_uid == geteuid())
            unlink(entry.path().c_str());
    }
}

}  // namespace cabinaudio::server
