// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The server's own messages: one line each on stderr, after the program's name. May be called on
/// any thread. The client library's log lines come here too (see LibraryLog.h).
namespace cabinaudio::server::log {

enum class Level { Error, Warning, Info, Debug };

/// Drops messages less severe than this level. The default is Info.
void setLevel(Level level);

void error(const char* format, ...) __attribute__((format(printf, 1, 2)));
void warning(const char* format, ...) __attribute__((format(printf, 1, 2)));
void info(const char* format, ...) __attribute__((format(printf, 1, 2)));
void debug(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace cabinaudio::server::log
