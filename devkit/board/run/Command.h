// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "devkit/board/run/Program.h"

#include <string>
#include <vector>

namespace cabinaudio::run {

/// How a program is executed on this machine, with what is preloaded into it.
class Command {
public:
    /// @throws Refusal when this machine runs no such program
    explicit Command(const Program& program);

    bool isEmulated() const { return !mEmulator.empty(); }

    /// The libraries to preload from now on, in this order.
    void preload(const std::vector<std::string>& libraries);

    /// Replaces this process by the program; the environment passes on.
    /// Returns only on failure, with errno.
    void execute() const;

    /// As execute(), but the loader only lists what it would load and ends.
    void executeDryRun() const;

private:
    void setPreloadVariable() const;
    std::vector<std::string> emulatedWords(bool dryRun) const;

    const Program& mProgram;
    std::string mEmulator;
    std::string mPreload;
};

}  // namespace cabinaudio::run
