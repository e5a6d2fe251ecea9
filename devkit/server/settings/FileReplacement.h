// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace cabinaudio::server {

/// The file that a path leads to in the end, which need not exist: the path itself unless that is
/// a symbolic link. A link of another user (root's excepted) is not followed: in a directory that
/// others may write to it could lead anywhere.
/// @throws std::runtime_error when it leads to something that is no regular file, or nowhere
[[nodiscard]] std::string regularFileBehind(const std::string& path);

/// The content of a regular file, at most 16 MiB; nothing for a file that does not exist. The path
/// must not be a symbolic link.
/// @throws std::runtime_error
[[nodiscard]] std::optional<std::string> contentOf(const std::string& path);

/// Puts a new file with this content in the place of the old one, which keeps its mode, owner and
/// group as far as this process may give them. A new file gets 0644 without the umask's bits. The
/// file beside it that holds the content until then is removed when something fails.
/// @throws std::system_error
void replaceFile(const std::string& path, std::string_view content);

/// Removes what replaceFile() has left beside the file in a process that was killed.
void removeLeftovers(const std::string& path);

}  // namespace cabinaudio::server
