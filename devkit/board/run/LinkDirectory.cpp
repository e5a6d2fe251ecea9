// SPDX-License-Identifier: Apache-2.0
#include "devkit/board/run/LinkDirectory.h"

#include "devkit/board/run/Descriptor.h"
#include "devkit/board/run/Refusal.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <filesystem>

namespace cabinaudio::run {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t RANDOM_LETTERS = 6;  // as in mkdtemp()

std::string ownPrefix() {
    return "cabinaudio-run-" + std::to_string(geteuid()) + "-";
}

bool isOwnName(const std::string& name) {
    return name.starts_with(ownPrefix()) && name.size() == ownPrefix().size() + RANDOM_LETTERS;
}

/// The root directory's owner has all of root's power; in a container that need not be user 0.
bool isTrusted(uid_t user) {
    struct stat root {};
    return user == 0 || user == geteuid() || (stat("/", &root) == 0 && user == root.st_uid);
}

/// Whether only this user and root can replace a directory that lies in this one.
bool protectsEntries(const fs::path& directory) {
    struct stat status {};
    if (lstat(directory.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) return false;
    const bool isShared = (status.st_mode & (S_IWGRP | S_IWOTH)) != 0;
    return isTrusted(status.st_uid) && (!isShared || (status.st_mode & S_ISVTX) != 0);
}

bool isPathProtected(const fs::path& directory) {
    for (fs::path above = directory; above.has_relative_path();) {
        above = above.parent_path();
        if (!protectsEntries(above)) return false;
    }
    return true;
}

Descriptor openOwn(const fs::path& directory) {
    Descriptor opened(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {};
    const bool isOwn = opened && fstat(opened.get(), &status) == 0 && status.st_uid == geteuid() &&
                       (status.st_mode & 07777) == S_IRWXU;
    return isOwn ? std::move(opened) : Descriptor();
}

bool isPrivate(const fs::path& directory) {
    return openOwn(directory) && isPathProtected(directory) && isLoadable(directory);
}

/// Resolves links, so that the checked directory is the one that the loader opens. Empty if there
/// is none.
fs::path directoryIn(const char* variable) {
    const char* value = std::getenv(variable);
    if (value == nullptr || value[0] != '/') return {};
    std::error_code failed;
    const fs::path path = fs::canonical(value, failed);
    return failed ? fs::path() : path;
}

std::vector<fs::path> temporaryDirectories() {
    std::vector<fs::path> directories;
    for (const fs::path& directory : {directoryIn("TMPDIR"), fs::path("/tmp")}) {
        if (!directory.empty() && isLoadable(directory) && protectsEntries(directory) &&
            isPathProtected(directory)) {
            directories.push_back(directory);
        }
    }
    return directories;
}

std::vector<std::string> ownDirectoriesIn(const fs::path& temporary) {
    std::vector<std::string> found;
    std::error_code failed;
    for (const auto& entry : fs::directory_iterator(temporary, failed)) {
        if (isOwnName(entry.path().filename()) && isPrivate(entry.path()))
            found.push_back(entry.path());
    }
    return found;
}

std::string newDirectoryIn(const fs::path& temporary) {
    std::string path = temporary / (ownPrefix() + std::string(RANDOM_LETTERS, 'X'));
    if (mkdtemp(path.data()) == nullptr) return {};
    if (isPrivate(path)) return path;
    rmdir(path.c_str());
    return {};
}

/// Empty unless it is a link of this user.
std::string targetOf(int directory, const std::string& name) {
    struct stat status {};
    if (fstatat(directory, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 ||
        !S_ISLNK(status.st_mode) || status.st_uid != geteuid()) {
        return {};
    }
    std::string target(PATH_MAX, '\0');
    const ssize_t length = readlinkat(directory, name.c_str(), target.data(), target.size());
    target.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return target;
}

}  // namespace

bool isLoadable(const std::string& path) {
    return path.find_first_of(" \t\n:,$") == std::string::npos;
}

std::string linkDirectory() {
    const fs::path runtime = directoryIn("XDG_RUNTIME_DIR");
    if (!runtime.empty() && isPrivate(runtime)) return runtime;
    for (const fs::path& temporary : temporaryDirectories()) {
        const std::vector<std::string> found = ownDirectoriesIn(temporary);
        const std::string path = found.empty() ? newDirectoryIn(temporary) : found.front();
        if (!path.empty()) return path;
    }
    throw Refusal(
        "there is no private directory for a link to a library whose path the loader would "
        "misread; let TMPDIR name one of your own, without blanks in its path");
}

std::vector<std::string> linkDirectories() {
    std::vector<std::string> directories;
    if (const fs::path runtime = directoryIn("XDG_RUNTIME_DIR");
        !runtime.empty() && isPrivate(runtime)) {
        directories.push_back(runtime);
    }
    for (const fs::path& temporary : temporaryDirectories()) {
        for (const std::string& found : ownDirectoriesIn(temporary))
            directories.push_back(found);
    }
    return directories;
}

bool makeLink(const std::string& directory, const std::string& name, const std::string& target) {
    const std::string link = directory + "/" + name;
    const Descriptor opened = openOwn(directory);
    if (!opened) return false;
    if (symlinkat(target.c_str(), opened.get(), name.c_str()) == 0) return true;
    const int error = errno;
    if (error == ENOENT) return false;
    if (error != EEXIST || targetOf(opened.get(), name) != target) {
        errno = error;
        throw Refusal(withReason("cannot make the link " + link + " to " + target));
    }
    return true;
}

std::vector<std::string> removeDanglingLinks(const std::string& directory,
                                             const std::string& prefix) {
    std::vector<std::string> removed;
    const Descriptor opened = openOwn(directory);
    std::error_code failed;
    for (const auto& entry : fs::directory_iterator(directory, failed)) {
        const std::string name = entry.path().filename();
        const bool isLink = name.starts_with(prefix) && !targetOf(opened.get(), name).empty();
        if (isLink && faccessat(opened.get(), name.c_str(), F_OK, 0) != 0 && errno == ENOENT &&
            unlinkat(opened.get(), name.c_str(), 0) == 0) {
            removed.push_back(entry.path());
        }
    }
    const fs::path path(directory);
    if (isOwnName(path.filename()) && rmdir(path.c_str()) == 0) removed.push_back(path);
    return removed;
}

}  // namespace cabinaudio::run
