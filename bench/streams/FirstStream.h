// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/streams/Kinds.h"
#include "bench/support/Rounds.h"

#include <string>

namespace cabinaudio::bench {

/// Names of the programs that are compared; the last is the library with its log lines formatted.
std::string minimal(const StreamKind& kind);
std::string library(const StreamKind& kind);
std::string logged(const StreamKind& kind);

/// Measures the first stream of a process, each time in a new process: growth of the resident
/// memory when the other libraries are in memory already ("rss", of it "own", KiB) and when the
/// process has done nothing before ("cold rss", "cold own"), threads it brought ("threads") and the
/// time to construct it ("first", ns).
Results measureFirstStreams(int rounds);

/// Whether this process was started by measureFirstStreams(), whose work it then does.
bool isFirstStreamProcess(int argc, char** argv);
/// Prints the figures that were asked for.
void runFirstStreamProcess(const std::string& argument);

}  // namespace cabinaudio::bench
