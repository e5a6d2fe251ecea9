// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/support/Rounds.h"

#include <string>

namespace cabinaudio::bench {

/// The programs that are compared; the last is the library with its log lines formatted.
constexpr char MINIMAL[] = "minimal";
constexpr char TRACK[] = "track";
constexpr char TRACK_LOGGED[] = "track+log";

/// Measures the first track of a process, each time in a new process: growth of the resident memory
/// when the other libraries are in memory already ("rss", of it "own", KiB) and when the process
/// has done nothing before ("cold rss", "cold own"), threads it brought ("threads") and the time to
/// construct it ("first", ns).
Results measureFirstTracks(int rounds);

/// Whether this process was started by measureFirstTracks(), whose work it then does.
bool isFirstTrackProcess(int argc, char** argv);
/// Prints the figures that were asked for.
void runFirstTrackProcess(const std::string& argument);

}  // namespace cabinaudio::bench
