// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Interface of the recorder (`libcabinaudio-recorder.so`): `cabinaudio-run --trace FILE` preloads
/// it into an application, where it writes the application's conversations with the server into a
/// capture. It works with the board stand-in and, on a board, without it.
namespace cabinaudio::recorder {

/// File name and soname of the recorder.
constexpr char LIBRARY_NAME[] = "libcabinaudio-recorder.so";

/// Environment: absolute path of the capture, which the launcher has begun. Programs that the
/// application starts inherit it, and record into the same file.
constexpr char FILE_VARIABLE[] = "CABINAUDIO_TRACE";

/// Environment: not empty: the capture also has the sound that goes through the rings.
constexpr char SOUND_VARIABLE[] = "CABINAUDIO_TRACE_SOUND";

}  // namespace cabinaudio::recorder
