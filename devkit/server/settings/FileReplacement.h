// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace cabinaudio::server {

/// The file that a path finally refers to, which need not exist: the path itself unless it is a
/// symbolic link. A link of another user (except root) is not followed: in a directory that others
/// may write to, it could lead anywhere.
/// @throws std::runtime_error when the target is not a regular file, or cannot be reached
[[nodiscard]] std::string regularFileBehind(const std::string& path);

/// The content of a regular file of at most 16 MiB; empty for a file that does not exist. The path
/// must not be a symbolic link.
/// @throws std::runtime_error
[[nodiscard]] std::optional<std::string> contentOf(const std::string& path);

/// Replaces a file by a new one with this content, which gets the old mode, owner and group as far
/// as this process may set them. Without an old file the mode is 0644 less the umask. The temporary
/// file beside it is removed on failure.
/// @throws std::system_error
void replaceFile(const std::string& path, std::string_view content);

/// Removes temporary files that replaceFile() left in a process that was killed.
void removeLeftovers(const std::string& path);

}  // namespace cabinaudio::server
