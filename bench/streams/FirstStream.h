// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "bench/streams/Kinds.h"
#include "bench/support/Rounds.h"

#include <string>

namespace cabinaudio::bench {

/// Names of the compared programs; the last is the library with its log lines formatted.
std::string minimal(const StreamKind& kind);
std::string library(const StreamKind& kind);
std::string logged(const StreamKind& kind);

/// Measures the first stream of a process, each time in a new process: growth of the resident
/// memory when the other libraries are already in memory ("rss", of it "own", KiB) and when the
/// process has done nothing before ("cold rss", "cold own"), threads created ("threads") and the
/// time to construct it ("first", ns).
Results measureFirstStreams(int rounds);

/// Whether measureFirstStreams() started this process to make a measurement.
bool isFirstStreamProcess(int argc, char** argv);
/// Makes the measurement and prints the figures.
void runFirstStreamProcess(const std::string& argument);

}  // namespace cabinaudio::bench
