// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <dlfcn.h>

#include <cstdint>

/// Interface of the board stand-in (`libcabinaudio-board.so`), and the names that
/// control it. A program gets the stand-in in one of two ways:
/// - `cabinaudio-run PROGRAM` preloads it into an unmodified program;
/// - the program links the CMake target `cabinaudio-board` (our server and tests).
///
/// The stand-in does nothing until one of the board's own names is used: the two
/// devices, the diagnostics file, the two sockets, a shared-memory object, or a
/// real-time thread that the process may not create.
namespace cabinaudio::board {

/// Version that cabinaudio_board_active() returns; it is incremented when the stand-in covers
/// something more.
constexpr int VERSION = 1;

/// File name and soname of the stand-in.
constexpr char LIBRARY_NAME[] = "libcabinaudio-board.so";

/// Physical addresses are offsets into one sparse file of this many bytes. It is below 2 GiB
/// because a 32-bit program without large-file support cannot open a larger file; every allocated
/// physical address must lie below it.
constexpr std::uint64_t PHYSICAL_MEMORY_SIZE = 0x7f000000;

/// Environment: instance name, 1 to 32 of A-Z a-z 0-9 _ and - ("audio_config" is
/// taken). Processes of one instance share sockets, physical memory, object names
/// and the diagnostics file; processes of two instances share none of them.
/// Unset or empty: the common instance, whose names are the board's own.
///
/// It is read at each use, so a program may set it at the start of main(). With an invalid name
/// each call that needs it fails with EINVAL, and one line on stderr gives the reason: nothing is
/// ever shared by mistake.
///
/// Dots are not allowed, because instance "a" with an object "b.x" and instance "a.b" with an
/// object "x" would give the same name.
constexpr char INSTANCE_VARIABLE[] = "CABINAUDIO_INSTANCE";

/// Environment: directory that holds `audio_config`, instead of
/// `${XDG_CONFIG_HOME:-$HOME/.config}/cabinaudio[/<instance>]`.
constexpr char CONFIG_DIRECTORY_VARIABLE[] = "CABINAUDIO_CONFIG_DIR";

/// Environment: "<descriptor>:<process id>", set by the launcher for one exec. The library answers
/// on the descriptor, closes it and removes the variable before main() is entered.
constexpr char HANDSHAKE_VARIABLE[] = "CABINAUDIO_HANDSHAKE";

/// The board's paths and abstract socket names that the stand-in replaces.
constexpr char MEMORY_DEVICE[] = "/dev/mem";
constexpr char CACHE_DEVICE[] = "/dev/cache";
constexpr char CONFIG_DIRECTORY[] = "/media/flash/nvm/as_server";
constexpr char CONFIG_FILE[] = "/media/flash/nvm/as_server/audio_config";
constexpr char SERVER_SOCKET[] = "/tmp/as_internal_file";
constexpr char CONTROL_SOCKET[] = "/tmp/cabinaudio_control";

/// The two requests that the cache device accepts.
constexpr std::uint32_t CACHE_CLEAN = 0x40084303;
constexpr std::uint32_t CACHE_INVALIDATE = 0x40084304;

}  // namespace cabinaudio::board

extern "C" {

/// @return cabinaudio::board::VERSION. If the symbol resolves, the stand-in is in
///         this process. Any thread, never blocks.
int cabinaudio_board_active(void) noexcept;

/// @return the instance name that this process uses now, "" for the common one,
///         nullptr when the environment holds an invalid name. The text belongs to
///         the environment: it is valid until the variable is changed.
const char* cabinaudio_board_instance(void) noexcept;
}

namespace cabinaudio::board {

/// @return the version of the stand-in in this process, 0 when there is none.
///         For programs that do not link it and must know whether they were started
///         through the launcher.
inline int activeVersion() noexcept {
    using Active = int();
    auto* active = reinterpret_cast<Active*>(dlsym(RTLD_DEFAULT, "cabinaudio_board_active"));
    return active != nullptr ? active() : 0;
}

}  // namespace cabinaudio::board
