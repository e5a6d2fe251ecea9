// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/contract/Rule.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace cabinaudio::contract {

/// Rules to check. Patterns are those of the shell, on rule names.
struct Choice {
    std::vector<std::string> only;  // empty: all
    std::vector<std::string> skip;
    bool isSafe = false;             // only rules that read
    bool includesWriteOnly = false;  // also rules whose effect lasts
};

enum class Verdict : std::uint8_t { Holds, Broken, NotJudged };

struct Result {
    const Rule* rule;
    Verdict verdict = Verdict::Holds;
    std::string expected;  // of a broken rule
    std::string came;
    std::string reason;  // of a rule that was not judged
    std::chrono::microseconds took{};
};

struct RunOptions {
    Choice choice;
    std::chrono::milliseconds patience{2000};
    int stop = -1;  // readable once the run must end; -1: never
};

struct Report {
    std::vector<Result> results;
    bool isInterrupted = false;            // the remaining rules were not checked
    std::vector<std::string> notRestored;  // settings, with the reason

    [[nodiscard]] std::size_t count(Verdict verdict) const;
};

/// The rules that are checked or, with `isSafe`, reported as not judged.
[[nodiscard]] std::vector<const Rule*> chosenRules(const Choice& choice);

/// Checks the chosen rules against the server that listens on the socket, one after the other.
/// Settings that a rule changes are set back before the next rule begins.
/// @param onResult  called with each result at once
/// @throws NoServer when no server listens at the beginning
[[nodiscard]] Report checkServer(const RunOptions& options,
                                 const std::function<void(const Result&)>& onResult);

}  // namespace cabinaudio::contract
