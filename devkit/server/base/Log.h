// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The server's own messages: one line each on stderr, behind the program's name. Any thread. The
/// lines of the client library's log come here too (see LibraryLog.h).
namespace cabinaudio::server::log {

enum class Level { Error, Warning, Info, Debug };

/// Messages beyond this level are dropped. Info until it is called.
void setLevel(Level level);

void error(const char* format, ...) __attribute__((format(printf, 1, 2)));
void warning(const char* format, ...) __attribute__((format(printf, 1, 2)));
void info(const char* format, ...) __attribute__((format(printf, 1, 2)));
void debug(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace cabinaudio::server::log
